#version 330
// Stands between the vertex and the fragment stage of programs that draw lines (WIDE_LINES), with or without
// adjacency (ADJACENCY). Lines pass as they are, one pixel wide.

#ifdef ADJACENCY
layout(lines_adjacency) in;
const int c_first = 1;
#else
layout(lines) in;
const int c_first = 0;
#endif
layout(line_strip, max_vertices = 2) out;

in VertexData {
    vec4 color;
    vec3 texCoord;
} v_in[];

out VertexData {
    vec4 color;
    vec3 texCoord;
} v_out;

void main() {
    for (int i = c_first; i < c_first + 2; ++i) {
        gl_Position = gl_in[i].gl_Position;
        v_out.color = v_in[i].color;
        v_out.texCoord = v_in[i].texCoord;
        EmitVertex();
    }
    EndPrimitive();
}
