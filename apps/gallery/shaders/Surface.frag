#version 330
/// A thin coloured skin, lit from the eye, that is seen from both sides.
#pragma include "VeltrandScene/Light.glh"
#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

in vec3 eyeNormal;
in vec4 surfaceColor;

#ifndef WITH_OIT
out vec4 color;
#endif

void main()
{
    vec3 normal = normalize(eyeNormal);
    normal *= sign(normal.z);
    // The more obliquely a skin is looked through, the more of it is in the way.
    float opacity = 1.0 - pow(1.0 - surfaceColor.a, 1.0 / max(normal.z, 0.05));
    vec4 lit = vec4(lightSurface(surfaceColor.rgb, normal, 0.4), opacity);
#ifdef WITH_OIT
    oit_addFragment(lit);
    discard;
#else
    color = lit;
#endif
}
