#version 330
#pragma include "My/light.glh"
#pragma abstract_include "HOLE"
out vec4 color;
void main() {
    color = vec4(light(), 1.0);
#ifdef HOLE
    color *= hole();
#endif
}
