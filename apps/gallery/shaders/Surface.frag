#version 330
/// A thin coloured skin, lit from the eye, that is seen from both sides.
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
    float diffuse = max(dot(normal, normalize(vec3(-0.4, 0.5, 0.8))), 0.0);
    float highlight = 0.4 * pow(max(dot(normal, normalize(vec3(-0.2, 0.25, 0.9))), 0.0), 40.0);
    // The more obliquely a skin is looked through, the more of it is in the way.
    float opacity = 1.0 - pow(1.0 - surfaceColor.a, 1.0 / max(normal.z, 0.05));
    vec4 lit = vec4(surfaceColor.rgb * (0.3 + 0.7 * diffuse) + highlight, opacity);
#ifdef WITH_OIT
    oit_addFragment(lit);
#else
    color = lit;
#endif
}
