#version 330
/// An image that fills the panel, in grey.
uniform sampler2D image;

in vec2 panelPosition;
out vec4 color;

void main()
{
    color = vec4(vec3(texture(image, panelPosition).r), 1.0);
}
