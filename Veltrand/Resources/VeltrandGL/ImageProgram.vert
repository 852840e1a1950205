#version 330
// Places a square over the computed region of an image, in each of its slices.
//
// The fragment shader of an image program may read
//     in vec3 texCoord;   centre of the texel: the image, or in box mode the region, runs from 0 to 1
//     flat in int slice;  which slice is computed, from 0 in the image
// and gl_FragCoord.xy, which is the texel's position in the slice plus 0.5.

layout(location = 0) in vec2 position; // corners of clip space
layout(location = 1) in vec2 corner;   // the same from 0 to 1

uniform int _cp_numSlices;       // of the image
uniform int _cp_numSlicesBox;    // of the region
uniform int _cp_slicesOffsetBox; // first slice of the region
uniform vec2 _cp_scale;          // size and origin of the region, in parts of the image
uniform vec2 _cp_shift;
uniform bool _cp_isInstanced;    // whether each slice is an instance of one draw
uniform int _cp_instanceOffset;  // slice of the first instance
uniform int _cp_currentSlice;    // the slice otherwise

// With a geometry shader behind it, that one hands on to the fragment shader.
#ifdef _IMGPROG_USE_GS
#define texCoord vertexTexCoord
#define slice vertexSlice
#endif
out vec3 texCoord;
flat out int slice;

void main() {
    vec2 inImage = corner * _cp_scale + _cp_shift;
    slice = _cp_isInstanced ? gl_InstanceID + _cp_instanceOffset : _cp_currentSlice;
#ifdef _IMGPROG_USE_BOX_TEX_COORDS
    texCoord = vec3(corner, (float(slice - _cp_slicesOffsetBox) + 0.5) / float(_cp_numSlicesBox));
#else
    texCoord = vec3(inImage, (float(slice) + 0.5) / float(_cp_numSlices));
#endif
    gl_Position = vec4(position * _cp_scale + (2.0 * _cp_shift + _cp_scale - 1.0), 0.0, 1.0);
}
