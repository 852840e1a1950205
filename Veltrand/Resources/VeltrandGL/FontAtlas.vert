#version 330
// Places the glyph quads of a line of text.

layout(location = 0) in vec3 a_position; // text pixels
layout(location = 1) in vec2 a_texCoord;

uniform mat4 u_viewMatrix = mat4(1.0); // from text pixels to clip space

out vec2 v_texCoord;

void main() {
    gl_Position = u_viewMatrix * vec4(a_position, 1.0);
    v_texCoord = a_texCoord;
}
