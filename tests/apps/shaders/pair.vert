#version 330
out vec3 normal;
void main() {
    normal = gl_Position.xyz;
}
