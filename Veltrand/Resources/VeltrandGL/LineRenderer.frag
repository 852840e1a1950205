#version 330
// Colours the fragments of lines. With WITH_OIT they go to the lists of the transparency pass.

#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

in vec4 v_color;

#ifndef WITH_OIT
layout(location = 0) out vec4 out_color;
#endif

void main() {
#ifdef WITH_OIT
    oit_addFragment(v_color);
#else
    out_color = v_color;
#endif
}
