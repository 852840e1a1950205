#version 330
// Places the glyph quads of lines of text, six vertices each: upper left, lower left, lower right and upper right, upper
// left, lower right. They cover the bitmap and one empty texel on its right and below.

layout(location = 0) in vec3 a_position; // text pixels
layout(location = 1) in vec2 a_texCoord;

uniform mat4 u_viewMatrix; // from text pixels to clip space
uniform bool u_shadowing;
uniform bool u_isFiltered; // texels do not lie on pixels
uniform vec4 u_color;

const float texel = 1.0 / 768.0; // of the atlas

// Linear on the screen, which spares fragments a division, only for text without perspective that stays clear of the
// clipper: some drivers' get such outputs wrong at the corners of the view.
#ifdef WITH_DIVISION
out vec2 v_texCoord;
#else
noperspective out vec2 v_texCoord;
#endif
flat out vec4 v_color; // from here: software rasterisers pay for a uniform in each fragment
#ifdef WITH_SHADOW
flat out vec2 v_end;         // texture coordinates where the free texels end, from the corner that each triangle ends with
flat out float v_isFiltered; // 1 or 0
out vec2 v_corner;           // from (0, 0) in the upper left corner to (1, 1) in the lower right one
#endif

void main() {
    int corner = gl_VertexID % 6;
    vec2 atMargin = vec2(0x2C >> corner & 1, 0x26 >> corner & 1);
    vec2 shift = u_shadowing ? vec2(0.0) : -atMargin; // only a shadow would be seen at the margin
    if (u_isFiltered)
        shift += atMargin - 0.5; // half a texel further on all sides, where text fades out
    gl_Position = u_viewMatrix * vec4(a_position + vec3(shift.x, -shift.y, 0.0), 1.0);
    v_texCoord = a_texCoord + shift * texel;
    v_color = u_color;
#ifdef WITH_SHADOW
    v_end = a_texCoord + 0.5 * texel;
    v_isFiltered = float(u_isFiltered);
    v_corner = atMargin;
#endif
}
