#version 330
#pragma include "My/outer.glh"
void main() {}
