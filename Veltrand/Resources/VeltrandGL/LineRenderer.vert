#version 330
// Places the points of lines. Each point comes as four vertices with equal attributes, told apart by the vertex
// index modulo 4.

#pragma include "VeltrandGL/WideLines.glh"
#pragma conditional_include WITH_ACCUMULATION "VeltrandGL/LineLengthAccumulation.glh"

layout(location = 0) in vec3 a_position;
layout(location = 1) in vec3 a_previous;
layout(location = 2) in vec3 a_next;
layout(location = 3) in vec4 a_color;

uniform mat4 u_projectionMatrix = mat4(1.0);
uniform mat4 u_viewMatrix = mat4(1.0);
uniform mat4 u_modelMatrix = mat4(1.0);

out vec4 v_color;

void main() {
    gl_Position = u_projectionMatrix * (u_viewMatrix * (u_modelMatrix * vec4(a_position, 1.0)));
    v_color = a_color;
}
