#version 330
/// An image that fills the panel.
uniform sampler2D image;

in vec2 panelPosition;
out vec4 color;

void main()
{
    color = vec4(texture(image, panelPosition).rgb, 1.0);
}
