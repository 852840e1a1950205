#version 330
/// A plane through a volume as grey values, tinted by the regions of a second volume, which can be picked.
#pragma include "VeltrandGL/ObjectPicking.glh"
#pragma include "VeltrandScene/Region.glh"
#pragma include "VeltrandScene/RegionMap.glh"

uniform sampler3D volume;
/// From panel positions to texture coordinates.
uniform mat4 panelToTexture;
/// The texel values that show black and white.
uniform vec2 window;

in vec2 panelPosition;
layout(location = 0) out vec4 color;

void main()
{
    vec3 position = (panelToTexture * vec4(panelPosition, 0.0, 1.0)).xyz;
    bool inside = all(greaterThanEqual(position, vec3(0.0))) && all(lessThanEqual(position, vec3(1.0)));
    float grey = clamp((texture(volume, position).r - window.x) / (window.y - window.x), 0.0, 1.0);
    // Not too bright, so that names can be read on it.
    color = vec4(vec3(inside ? 0.6 * grey : 0.0), 1.0);

    uint region = regionAt(panelPosition);
    vec2 right = dFdx(panelPosition);
    vec2 up = dFdy(panelPosition);
    bool border = region != regionAt(panelPosition + right) || region != regionAt(panelPosition + up);
    if (region != 0u)
        color.rgb = mix(color.rgb, (0.3 + 0.8 * color.rgb) * regionColor(region), 0.75);
    if (border)
        color.rgb *= 0.5;
    writePickingInfo(region == 0u ? 0xFFFFFFFFu : region);
}
