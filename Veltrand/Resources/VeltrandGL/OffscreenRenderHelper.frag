#version 330
// Draws an offscreen rendering, with its depth, over a full-screen square.

#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

uniform sampler2D u_colorTex;
uniform sampler2D u_depthTex;

in VertexData {
    vec4 color;
    vec3 texCoord;
} v_in;

#ifndef WITH_OIT
layout(location = 0) out vec4 out_color;
#endif

void main() {
    vec4 color = texture(u_colorTex, v_in.texCoord.xy);
    float depth = texture(u_depthTex, v_in.texCoord.xy).r;
#ifdef WITH_OIT
    oit_addFragment(color, depth);
#else
    gl_FragDepth = depth;
    out_color = color;
#endif
}
