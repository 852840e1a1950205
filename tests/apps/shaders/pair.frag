#version 330 core

in vec4 normal;
out vec4 color;
void main() {
    color = normal;
}
