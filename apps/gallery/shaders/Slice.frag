#version 330
/// A plane through a volume as grey values, with lines where the other two planes cross it.
#pragma include "VeltrandScene/Volume.glh"

/// From panel positions to texture coordinates.
uniform mat4 panelToTexture;

/// Size of the panel, and where the other planes cross it, in pixels.
uniform vec2 panelSize;
uniform vec2 crossing;
uniform float lineWidth;
/// The lines leave this many pixels around the crossing free.
uniform float gap;
uniform vec3 verticalLineColor;
uniform vec3 horizontalLineColor;

in vec2 panelPosition;
out vec4 color;

void main()
{
    vec3 grey = vec3(volumePixel((panelToTexture * vec4(panelPosition, 0.0, 1.0)).xyz, 1.0));

    vec2 beyond = panelPosition * panelSize - crossing;
    bvec2 onLine = bvec2(beyond.x >= 0.0 && beyond.x < lineWidth, beyond.y >= 0.0 && beyond.y < lineWidth);
    if (max(abs(beyond.x), abs(beyond.y)) < gap)
        onLine = bvec2(false);
    if (onLine.x)
        grey = mix(grey, verticalLineColor, 0.7);
    if (onLine.y)
        grey = mix(grey, horizontalLineColor, 0.7);
    color = vec4(grey, 1.0);
}
