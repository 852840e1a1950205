#version 330
/// A bitmap of dots that fills the panel; what is not set stays as it is.
uniform sampler2D dots;
uniform vec3 labelColor;

in vec2 panelPosition;
out vec4 color;

void main()
{
    if (texture(dots, panelPosition).r < 0.5)
        discard;
    color = vec4(labelColor, 1.0);
}
