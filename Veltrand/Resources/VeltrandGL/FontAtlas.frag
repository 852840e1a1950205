#version 330
// Colours glyphs by the coverage that the atlas texture holds in its red channel.

uniform sampler2D u_fontTexture;
uniform vec4 u_color = vec4(1.0);

in vec2 v_texCoord;

layout(location = 0) out vec4 out_color;

void main() {
    out_color = vec4(u_color.rgb, u_color.a * texture(u_fontTexture, v_texCoord).r);
}
