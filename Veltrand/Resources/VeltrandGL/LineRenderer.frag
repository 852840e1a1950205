#version 330
// Colours the fragments of wide lines. Opacity carries how much of the pixel is covered. With WITH_OIT they go to the
// lists of the transparency pass.

#pragma include "VeltrandGL/WideLines.glh"
#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

uniform float u_lineWidth = 1.0;
uniform float u_softness = 1.0;

in vec4 v_color;
noperspective in vec3 v_distance;

#if defined(WITH_STIPPLE) || defined(WITH_ACCUMULATION)
#define STIPPLED
uniform int u_stipplePattern = 0xFFFF;
uniform float u_stippleFactor = 1.0;
noperspective in vec3 v_stipple;
#endif

#ifdef WITH_OIT
layout(early_fragment_tests) in;
#else
layout(location = 0) out vec4 out_color;
#endif

void main() {
    // With a hard edge every fragment of the quad is covered.
    float hardness = 1.0 - u_softness;
    float ends = clamp(min(v_distance.y, v_distance.z) + hardness, 0.0, 1.0);
    float coverage = ends * wideLines_coverage(v_distance.x, 0.5 * max(u_lineWidth, hardness));
#ifdef STIPPLED
    // Round an outer corner the line stays where it is in the pattern.
    float position = clamp(v_stipple.x, v_stipple.y, v_stipple.z);
    coverage *= wideLines_stipple(position, 1.0 / max(u_stippleFactor, 1e-3), uint(u_stipplePattern));
#endif
    vec4 color = vec4(v_color.rgb, v_color.a * coverage);
#ifdef WITH_OIT
    if (coverage > 0.0)
        oit_addFragment(color);
#else
#ifdef STIPPLED
    if (coverage == 0.0)
        discard;
#endif
    out_color = color;
#endif
}
