#version 330
// Colours fragments with the vertex colour, times a texture if there is one. With WITH_OIT they go to the
// lists of the transparency pass.

#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

uniform int u_texType = 0; // 0: none, otherwise the texture's number of dimensions
uniform sampler1D u_tex1d;
uniform sampler2D u_tex2d;
uniform sampler3D u_tex3d;

in VertexData {
    vec4 color;
    vec3 texCoord;
} v_in;

#ifdef WITH_OIT
// What is left out below is not stored; there is nothing to discard.
layout(early_fragment_tests) in;
#else
layout(location = 0) out vec4 out_color;
#endif

#ifdef WIDE_LINES
uniform uint u_stipplePattern = 0xFFFFu;
in float v_stippleBits; // bits of the pattern since the line's start, times gl_Position.w

float coverage() {
    float bits = max(v_stippleBits * gl_FragCoord.w, 0.0);
    return (u_stipplePattern >> (uint(bits) & 15u) & 1u) == 1u ? 1.0 : 0.0;
}
#else
uniform bool u_pointSmoothing = false;

float coverage() {
    if (!u_pointSmoothing)
        return 1.0;
    // The slope tells how large the driver has made the point, with its edge; other primitives have none.
    float slope = abs(dFdx(gl_PointCoord.x));
    return slope > 0.0 ? clamp((0.5 - distance(gl_PointCoord, vec2(0.5))) / slope, 0.0, 1.0) : 1.0;
}
#endif

void main() {
    vec4 color = v_in.color;
    if (u_texType == 1)
        color *= texture(u_tex1d, v_in.texCoord.x);
    else if (u_texType == 2)
        color *= texture(u_tex2d, v_in.texCoord.xy);
    else if (u_texType == 3)
        color *= texture(u_tex3d, v_in.texCoord);
    float covered = coverage();
    color.a *= covered;
#ifdef WITH_OIT
    if (covered > 0.0)
        oit_addFragment(color);
#else
    if (covered == 0.0)
        discard;
    out_color = color;
#endif
}
