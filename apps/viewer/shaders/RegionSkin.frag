#version 330
/// The translucent surface of a region, lit from the eye, that is seen from both sides.
#pragma include "VeltrandScene/Light.glh"
#pragma include "VeltrandScene/Region.glh"
#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

/// A region that is hardly translucent; 0 for none.
uniform float chosenRegion;

in vec3 eyeNormal;
flat in uint regionNumber;

#ifndef WITH_OIT
out vec4 color;
#endif

void main()
{
    vec3 normal = normalize(eyeNormal);
    normal *= sign(normal.z);
    bool chosen = regionNumber != 0u && regionNumber == uint(chosenRegion);
    // A chosen region is seen through all the others.
    float skin = chosen ? 0.8 : chosenRegion > 0.0 ? 0.025 : 0.07;
    // The more obliquely a skin is looked through, the more of it is in the way.
    float opacity = 1.0 - pow(1.0 - skin, 1.0 / max(normal.z, 0.05));
    vec4 lit = vec4(lightSurface(regionColor(regionNumber), normal, 0.3), opacity);
#ifdef WITH_OIT
    oit_addFragment(lit);
    discard;
#else
    color = lit;
#endif
}
