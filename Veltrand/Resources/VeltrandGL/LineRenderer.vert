#version 330
// Places the points of wide lines. Each point comes as four vertices with equal attributes, told apart by the vertex
// index modulo 4: the left and the right end of the segment to the point, then the left and the right start of the
// segment from it. A triangle strip makes of them a quad for each segment, and of each point the area that a bevelled
// join leaves open, which is empty where the join is mitred.
//
// A line ends in a point that is its own previous or next point. Where it is interrupted, the neighbour beyond the gap is
// missing: its coordinates are the largest number that there is.
//
// What is linear on the screen is handed on times gl_Position.w, and the fragment shader multiplies it by
// gl_FragCoord.w: some drivers' clippers get noperspective outputs wrong at the corners of the view.

#pragma include "VeltrandGL/WideLines.glh"
#pragma conditional_include WITH_ACCUMULATION "VeltrandGL/LineLengthAccumulation.glh"

layout(location = 0) in vec3 a_position;
layout(location = 1) in vec3 a_previous;
layout(location = 2) in vec3 a_next;
layout(location = 3) in vec4 a_color;
#ifdef WITH_REPEATED_POINTS
// The neighbours past points that are repeated; the point itself where there are none.
layout(location = 4) in vec3 a_before;
layout(location = 5) in vec3 a_after;
#endif

#ifdef WITH_SUMMED_LENGTHS
layout(location = 6) in float a_bitsBefore; // bits of the pattern up to the segment that the corner belongs to
uniform float u_stippleScale = 1.0;         // by which the pattern is compressed
#endif

uniform mat4 u_modelViewProjectionMatrix = mat4(1.0);
uniform vec2 u_viewportSize = vec2(1.0);
uniform vec2 u_viewportOffset = vec2(0.0);
uniform float u_lineWidth = 1.0; // pixels

out vec4 v_color;

#ifdef HARD_EDGES
const float softness = 0.0; // width of the smooth edge in pixels
#else
const float softness = 1.0;
// Pixels, all linear on the screen: from the axis of the segment, positive on the left; from where the smooth edge
// of its start begins, at least 1 where the line goes straight on or round a mitre; the same for its end.
out vec3 v_distance;
// Of the last vertex of a triangle: the scale of the first of them in the join that the triangle fills, 0 within a
// segment.
flat out float v_joinScale;
#endif

#if defined(WITH_STIPPLE) || defined(WITH_ACCUMULATION)
#define STIPPLED
uniform float u_stippleFactor = 1.0; // pixels for each bit of the pattern
// Bits of the pattern: where the vertex is along the line, where its segment begins and ends; and how far from the join
// its corner is.
out vec4 v_stipple;
// Of the last vertex of a triangle: the position of the join that the triangle fills, below 0 within a segment.
flat out float v_join;
#endif

vec4 toClip(vec3 point) {
    return u_modelViewProjectionMatrix * vec4(point, 1.0);
}

vec2 toPixels(vec4 clip) {
    return wideLines_toPixels(clip, u_viewportSize, u_viewportOffset);
}

bool isMissing(vec3 point) {
    return point.x > 3.4e38;
}

#ifdef WITH_REPEATED_POINTS
// Whether two points have hardly a distance on the screen.
bool isRepeated(vec4 point, vec4 neighbour) {
    return distance(toPixels(wideLines_clip(point, neighbour)), toPixels(wideLines_clip(neighbour, point))) < 0.05;
}
#endif

void main() {
    int pointIndex = gl_VertexID >> 2;
    bool isStart = (gl_VertexID & 2) != 0;
    float side = (gl_VertexID & 1) == 0 ? 1.0 : -1.0;

    // At a gap, the corners that have no segment fall on a neighbour, so that nothing is drawn across it.
    bool previousMissing = isMissing(a_previous);
    bool nextMissing = isMissing(a_next);
    side = isStart ? (nextMissing ? -1.0 : side) : (previousMissing ? 1.0 : side);
    vec4 point = toClip(a_position);
    // The first of repeated points is the corner; the segments to the others are nothing at its end.
    vec3 before = a_previous;
    vec3 after = a_next;
    bool isRepetition = false;
#ifdef WITH_REPEATED_POINTS
    isRepetition = !previousMissing && isRepeated(point, toClip(a_previous));
    if (isRepetition)
        before = a_before;
    if (!nextMissing && isRepeated(point, toClip(a_next)))
        after = a_after;
#endif
    bool hasPrevious = !isMissing(before) && before != a_position;
    bool hasNext = !isMissing(after) && after != a_position;
    // The join at the seam of a closed line is drawn at its end.
    isStart = isStart || isRepetition || pointIndex == 0 ? hasNext : !hasPrevious;

    // The segment that the corner belongs to goes on to `far`, and `beside` is on the other side of the point.
    vec4 far = toClip(isStart ? after : before);
    vec4 beside = toClip(isStart ? before : after);
    vec4 clipped = wideLines_clip(point, far);
    bool isEnd = !(isStart ? hasPrevious : hasNext);
    // A join that is outside of the view is not drawn; its other segment may have no image at all.
    bool isJoined = !isEnd && clipped == point;

    vec2 pixel = toPixels(clipped);
    vec2 own = toPixels(wideLines_clip(far, point)) - pixel;
    vec2 other = isJoined ? pixel - toPixels(wideLines_clip(beside, point)) : vec2(0.0);
    float ownLength = length(own);
    float otherLength = length(other);
    float flip = isStart ? 1.0 : -1.0; // own and other point away from the point and towards it, or the reverse
    vec2 ownDirection = ownLength > 0.0 ? own * (flip / ownLength) : other * (flip / max(otherLength, 1e-20));
    vec2 otherDirection = otherLength > 0.0 ? other * (flip / otherLength) : ownDirection;

    float halfWidth = 0.5 * max(u_lineWidth, 1.0 - softness);
    float halfQuad = halfWidth + 0.5 * softness;
    float shorter = min(ownLength, otherLength);
    vec2 incoming = isStart ? otherDirection : ownDirection;
    vec2 outgoing = isStart ? ownDirection : otherDirection;
    float reach = softness * wideLines_bevelReach(incoming, outgoing, shorter);
    vec2 offset = wideLines_corner(incoming, outgoing, shorter, isStart, side, halfQuad, reach);
    if (isEnd)
        offset -= flip * 0.5 * softness * ownDirection;

    gl_Position = wideLines_shift(clipped, offset, u_viewportSize);
    v_color = a_color;
    float inwards = flip * dot(offset, ownDirection);
#ifndef HARD_EDGES
    v_joinScale = isStart ? wideLines_bevelScale(incoming, outgoing, shorter, halfQuad, reach) : 0.0;
    float here = isEnd ? 0.0 : reach > 0.0 ? inwards + 0.5 : 2.0;
    float there = max(ownLength - inwards, 1.0) + 0.5;
    v_distance = vec3(wideLines_across(offset, ownDirection), isStart ? vec2(here, there) : vec2(there, here));
    v_distance *= gl_Position.w;
#endif

#ifdef STIPPLED
    float bitsPerPixel = 1.0 / max(u_stippleFactor, 1e-3);
    float first = 0.0;
#ifdef WITH_ACCUMULATION
    bitsPerPixel *= lineLength_scale();
    first = lineLength_bitsBefore(uint(isStart ? pointIndex : max(pointIndex - 1, 0)));
#elif defined(WITH_SUMMED_LENGTHS)
    bitsPerPixel *= u_stippleScale;
    first = a_bitsBefore;
#endif
    float along = isStart ? inwards : ownLength - inwards;
    // A join goes on into its outgoing segment. It has a position of its own, because those of the two segments are equal
    // only modulo 16.
    v_stipple = vec4(first + bitsPerPixel * vec3(along, 0.0, ownLength), bitsPerPixel * inwards);
    v_stipple *= gl_Position.w;
    v_join = isStart ? first : -1.0;
#endif
}
