#version 330
// Widens lines (WIDE_LINES) to quads. With ADJACENCY each segment is joined to its neighbours: all segments end
// where the next one starts, and a bevel belongs to the segment before it.
//
// Edges are hard, like those of fixed-function lines without smoothing.

#pragma include "VeltrandGL/WideLines.glh"

#ifdef ADJACENCY
layout(lines_adjacency) in;
const int c_start = 1;
#else
layout(lines) in;
const int c_start = 0;
#endif
layout(triangle_strip, max_vertices = 6) out;

uniform vec2 u_windowSize; // of the viewport; pixels, like the following
uniform float u_lineWidth = 1.0;
uniform float u_stippleFactor = 1.0; // per bit of the pattern

in VertexData {
    vec4 color;
    vec3 texCoord;
} v_in[];
in float v_firstBits[]; // bits of the pattern up to the vertex

out VertexData {
    vec4 color;
    vec3 texCoord;
} v_out;
// Bits of the pattern since the line's start, times gl_Position.w: linear on the screen, as noperspective outputs are
// where the driver's clipper gets them right.
out float v_stippleBits;

struct End {
    vec4 clip;
    vec2 pixel;
    vec4 color;
    vec3 texCoord;
    float bits;
};

vec2 toPixels(vec4 clip) {
    return wideLines_toPixels(clip, u_windowSize, vec2(0.0));
}

// One end of the segment, moved into the view if it lies behind the eye.
End visibleEnd(int index, int other) {
    vec4 from = gl_in[index].gl_Position;
    vec4 line = gl_in[other].gl_Position - from;
    End end;
    end.clip = wideLines_clip(from, gl_in[other].gl_Position);
    end.pixel = toPixels(end.clip);
    float part = end.clip == from ? 0.0 : dot(end.clip - from, line) / dot(line, line);
    end.color = mix(v_in[index].color, v_in[other].color, part);
    end.texCoord = mix(v_in[index].texCoord, v_in[other].texCoord, part);
    end.bits = 0.0;
    return end;
}

// Where the line comes from, or goes on to, at an end: the end itself where there is nothing to join.
vec2 neighbour(int index, int endIndex, End end) {
#ifdef ADJACENCY
    if (end.clip == gl_in[endIndex].gl_Position)
        return toPixels(wideLines_clip(gl_in[index].gl_Position, end.clip));
#endif
    return end.pixel;
}

void emit(End end, vec2 corner, vec2 direction, float bitLength) {
    gl_Position = wideLines_shift(end.clip, corner, u_windowSize);
    v_out.color = end.color;
    v_out.texCoord = end.texCoord;
    v_stippleBits = (end.bits + dot(corner, direction) / bitLength) * gl_Position.w;
    EmitVertex();
}

void main() {
    const int last = c_start + 1;
    End start = visibleEnd(c_start, last);
    End end = visibleEnd(last, c_start);
    vec2 line = end.pixel - start.pixel;
    float lineLength = length(line);
    vec2 direction = lineLength > 0.0 ? line / lineLength : vec2(0.0);
    float bitLength = max(u_stippleFactor, 1.0);
    start.bits = v_firstBits[c_start];
    end.bits = start.bits + lineLength / bitLength;

    vec2 before = neighbour(c_start - 1, c_start, start);
    vec2 after = neighbour(last + 1, last, end);
    float halfWidth = 0.5 * max(floor(u_lineWidth + 0.5), 1.0);
    for (float side = 1.0; side >= -1.0; side -= 2.0)
        emit(start, wideLines_corner(before, start.pixel, end.pixel, true, side, halfWidth), direction, bitLength);
    for (float side = 1.0; side >= -1.0; side -= 2.0)
        emit(end, wideLines_corner(start.pixel, end.pixel, after, false, side, halfWidth), direction, bitLength);
#ifdef ADJACENCY
    // Where the next segment starts: a triangle where the join is bevelled, otherwise nothing.
    for (float side = 1.0; side >= -1.0; side -= 2.0)
        emit(end, wideLines_corner(start.pixel, end.pixel, after, true, side, halfWidth), direction, bitLength);
#endif
    EndPrimitive();
}
