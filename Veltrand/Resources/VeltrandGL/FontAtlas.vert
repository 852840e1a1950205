#version 330
// Places the glyph quads of lines of text, six vertices each: upper left, lower left, lower right and upper left,
// lower right, upper right. They cover the bitmap and one empty texel on its right and below.

layout(location = 0) in vec3 a_position; // text pixels
layout(location = 1) in vec2 a_texCoord;

uniform mat4 u_viewMatrix; // from text pixels to clip space
uniform bool u_shadowing;
uniform vec4 u_color;

const float texel = 1.0 / 768.0; // of the atlas

#ifdef WITH_PERSPECTIVE
out vec2 v_texCoord;
#else
noperspective out vec2 v_texCoord;
#endif
flat out vec4 v_color; // from here: software rasterisers pay for a uniform in each fragment

void main() {
    int corner = gl_VertexID % 6;
    vec2 atMargin = vec2(0x34 >> corner & 1, 0x16 >> corner & 1);
    vec2 shift = vec2(0.0);
    if (u_viewMatrix[0].y != 0.0 || u_viewMatrix[1].x != 0.0)
        shift = 0.5 * (atMargin - 1.0); // turned text fades out on all sides
    else if (!u_shadowing)
        shift = -atMargin; // only a shadow would be seen there
    gl_Position = u_viewMatrix * vec4(a_position + vec3(shift.x, -shift.y, 0.0), 1.0);
    v_texCoord = a_texCoord + shift * texel;
    v_color = u_color;
}
