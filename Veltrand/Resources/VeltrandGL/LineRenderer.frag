#version 330
// Colours the fragments of wide lines. Opacity carries how much of the pixel is covered. With WITH_OIT they go to the
// lists of the transparency pass.

#pragma include "VeltrandGL/WideLines.glh"
#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

in vec4 v_color;

#ifndef HARD_EDGES
uniform float u_lineWidth = 1.0;
in vec3 v_distance;
flat in float v_joinScale;
#endif

#if defined(WITH_STIPPLE) || defined(WITH_ACCUMULATION)
#define STIPPLED
uniform int u_stipplePattern = 0xFFFF;
uniform float u_stippleFactor = 1.0;
in vec4 v_stipple;
flat in float v_join;
#endif

#ifdef WITH_OIT
layout(early_fragment_tests) in;
#else
layout(location = 0) out vec4 out_color;
#endif

void main() {
    float coverage = 1.0;
#ifndef HARD_EDGES
    vec3 distance = v_distance * gl_FragCoord.w;
    bool isJoin = v_joinScale > 0.0;
    coverage = wideLines_coverage(distance.x, 0.5 * u_lineWidth, isJoin ? v_joinScale : 1.0);
    coverage *= isJoin ? 1.0 : clamp(min(distance.y, distance.z), 0.0, 1.0);
#endif
#ifdef STIPPLED
    // Round an outer corner the line stays where it is in the pattern.
    vec4 stipple = v_stipple * gl_FragCoord.w;
    float position = v_join < 0.0 ? clamp(stipple.x, stipple.y, stipple.z) : v_join + max(stipple.w, 0.0);
    coverage *= wideLines_stipple(position, 1.0 / max(u_stippleFactor, 1e-3), uint(u_stipplePattern));
#endif
    vec4 color = vec4(v_color.rgb, v_color.a * coverage);
#ifdef WITH_OIT
    if (coverage > 0.0)
        oit_addFragment(color);
    discard; // the opaque picture stays as it is
#else
#if defined(STIPPLED) || !defined(HARD_EDGES)
    if (coverage == 0.0)
        discard; // depth and stencil stay as they are, too
#endif
    out_color = color;
#endif
}
