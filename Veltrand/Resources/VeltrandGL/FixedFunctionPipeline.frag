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

#ifndef WITH_OIT
layout(location = 0) out vec4 out_color;
#endif

void main() {
    vec4 color = v_in.color;
    if (u_texType == 1)
        color *= texture(u_tex1d, v_in.texCoord.x);
    else if (u_texType == 2)
        color *= texture(u_tex2d, v_in.texCoord.xy);
    else if (u_texType == 3)
        color *= texture(u_tex3d, v_in.texCoord);
#ifdef WITH_OIT
    oit_addFragment(color);
#else
    out_color = color;
#endif
}
