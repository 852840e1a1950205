#version 330
layout(location = 0) in vec2 position;
layout(location = 1) in vec2 textureCoordinate;

/// (0, 0) at the panel's lower left corner, (1, 1) at its upper right one.
out vec2 panelPosition;

void main()
{
    panelPosition = textureCoordinate;
    gl_Position = vec4(position, 0.0, 1.0);
}
