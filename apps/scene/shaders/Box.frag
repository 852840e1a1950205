#version 330
/// Fills the panel with one colour.
uniform vec4 boxColor;

out vec4 color;

void main()
{
    color = boxColor;
}
