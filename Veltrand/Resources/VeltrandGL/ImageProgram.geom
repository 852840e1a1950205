#version 330
// Routes each slice of an image program's square to its layer of the outputs.

layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;

uniform bool _cp_assignLayer;

in vec3 vertexTexCoord[];
flat in int vertexSlice[];
out vec3 texCoord;
flat out int slice;

void main() {
    for (int i = 0; i < 3; ++i) {
        // Each output has to be set again for each vertex; an output that is not layered takes layer 0.
        gl_Layer = _cp_assignLayer ? vertexSlice[i] : 0;
        gl_Position = gl_in[i].gl_Position;
        texCoord = vertexTexCoord[i];
        slice = vertexSlice[i];
        EmitVertex();
    }
    EndPrimitive();
}
