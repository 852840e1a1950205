#version 330
/// Fills the panel with one colour.
uniform vec3 labelColor;

out vec4 color;

void main()
{
    color = vec4(labelColor, 1.0);
}
