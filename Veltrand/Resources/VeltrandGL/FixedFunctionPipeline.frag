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

// How much of a pixel at this distance from the centre of a disc the disc covers. All that is drawn with this shader
// may pay for it, so it is only right to some hundredths, but the sum over all pixels is the area of the disc.
float coveredByDisc(vec2 distance, float radius) {
    // Two crossed rectangles with the area of the disc do for small ones. A slope along the edge is right for large
    // ones, if it begins a little further in, since it adds more outside of the edge than it takes inside.
    vec2 halfSize = radius * vec2(0.9239, 0.6628);
    vec2 most = min(2.0 * halfSize, 1.0);
    vec2 acrossX = clamp(halfSize + 0.5 - abs(distance.x), vec2(0.0), most);
    vec2 acrossY = clamp(halfSize + 0.5 - abs(distance.y), vec2(0.0), most);
    float small = acrossX.x * acrossY.y + acrossX.y * (acrossY.x - acrossY.y);
    float inwards = 1.0 / (24.0 * radius);
    float large = clamp(radius - inwards + 0.5 - length(distance), 0.0, 1.0);
    return radius < 1.5 ? small : large;
}

float coverage() {
    if (!u_pointSmoothing)
        return 1.0;
    // The slope tells how large the driver has made the point, with its edge; other primitives have none.
    float slope = abs(dFdx(gl_PointCoord.x));
    float size = 1.0 / slope;
    return slope > 0.0 ? coveredByDisc((gl_PointCoord - 0.5) * size, 0.5 * size - 0.5) : 1.0;
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
    discard; // the opaque picture stays as it is
#else
    if (covered == 0.0)
        discard;
    out_color = color;
#endif
}
