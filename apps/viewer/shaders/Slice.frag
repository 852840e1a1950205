#version 330
/// A plane through a volume as grey values, tinted by the regions of a second volume.
#pragma include "VeltrandScene/Volume.glh"
#pragma conditional_include WITH_REGIONS "VeltrandScene/Region.glh"
#pragma conditional_include WITH_REGIONS "VeltrandScene/RegionMap.glh"

/// From panel positions to texture coordinates.
uniform mat4 panelToTexture;
/// A region that is tinted more strongly; 0 for none.
uniform float chosenRegion;

in vec2 panelPosition;
out vec4 color;

void main()
{
    // Between samples less than two voxels apart, none is missed.
    color = vec4(vec3(volumePixel((panelToTexture * vec4(panelPosition, 0.0, 1.0)).xyz, 1.6)), 1.0);

#ifdef WITH_REGIONS
    uint region = regionAt(panelPosition);
    vec2 right = dFdx(panelPosition);
    vec2 up = dFdy(panelPosition);
    bool border = region != regionAt(panelPosition + right) || region != regionAt(panelPosition + up);
    bool chosen = region != 0u && region == uint(chosenRegion);
    if (region != 0u)
        color.rgb = mix(color.rgb, (0.3 + 0.7 * color.rgb) * regionColor(region), chosen ? 0.7 : 0.2);
    if (border)
        color.rgb *= 0.7;
#endif
}
