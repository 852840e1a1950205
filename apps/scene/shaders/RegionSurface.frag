#version 330
/// The opaque surface of a region, lit from the eye, which can be picked.
#pragma include "VeltrandGL/ObjectPicking.glh"
#pragma include "VeltrandScene/Light.glh"
#pragma include "VeltrandScene/Region.glh"

/// A region that shines; 0 for none.
uniform float highlightedRegion;

in vec3 eyeNormal;
flat in uint regionNumber;
layout(location = 0) out vec4 color;

void main()
{
    color = vec4(lightSurface(regionColor(regionNumber), normalize(eyeNormal), 0.25), 1.0);
    if (regionNumber != 0u && regionNumber == uint(highlightedRegion))
        color.rgb = mix(color.rgb, vec3(1.0), 0.45);
    writePickingInfo(regionNumber);
}
