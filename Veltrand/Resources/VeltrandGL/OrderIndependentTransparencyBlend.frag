#version 430
// Composites the fragments that OrderIndependentTransparency.glh has gathered, which also describes the nodes.

layout(binding = 6) uniform atomic_uint oit_numIncompletePixels;
layout(r32ui) uniform readonly restrict uimage2D oit_nodeIndexImg;
layout(std430) restrict buffer oit_nodeBuffer {
    uint oit_nodes[];
};
uniform uint oit_numNodesAllocated;

uniform sampler2D u_backgroundColor;
uniform sampler2D u_backgroundDepth;
uniform float u_depthSteps;     // from 0 to 1 in the format of the background's depth
uniform float u_readSteps;      // the same, as the driver computes what is read
uniform float u_depthTolerance; // steps by which a depth may be read too high

layout(location = 0) out vec4 out_color;

// The nearest fragments of a pixel are composited in batches. A batch is made of runs, each kept sorted from near to
// far by insertion, which is the fastest for the few fragments that most pixels have; it is read by merging the runs.
// Each batch takes a walk along the list, so where light still passes a few of them, or the first one of a long list,
// the list itself is sorted.
const uint runLength = 8u;
const uint batchSize = 4u * runLength;
const uint maxBatches = 4u;
const uint maxLeft = 512u; // fragments beyond a batch for which there is another one
uvec2 batch[batchSize]; // the first two words of the nodes

const uvec2 farthest = uvec2(0xFFFFFFFFu);
const uint none = 0xFFFFFFFFu; // ends a list

// What is left of the light behind the fragments done that no longer changes an image of 8 bits.
const float opaque = 1.0 / 8192.0;

bool isFarther(uvec2 a, uvec2 b) {
    return a.x > b.x || (a.x == b.x && a.y > b.y);
}

// As in the nodes.
uint packDepth(float depth) {
    depth = clamp(depth, 0.0, 1.0);
    uint bits = depth < 0.0078125 ? uint(ceil(depth * 1073741824.0)) : floatBitsToUint(depth) - (119u << 23);
    return max(bits, 1u) - 1u;
}

float unpackDepth(uint depth) {
    uint bits = depth + 1u;
    return bits < 1u << 23 ? float(bits) / 1073741824.0 : uintBitsToFloat(bits + (119u << 23));
}

// The first word of the nearest fragments that the background hides: those that come out as deep in its format.
uint firstHidden(float backgroundDepth) {
    float steps = roundEven(clamp(backgroundDepth, 0.0, 1.0) * u_readSteps) - u_depthTolerance;
    // The quotient is not exact, so its neighbours are tried, too.
    uint depth = max(packDepth((steps - 0.5) / u_depthSteps), 2u) - 2u;
    for (int i = 0; i < 4; ++i)
        depth += uint(roundEven(unpackDepth(depth) * u_depthSteps) < steps);
    return depth << 6;
}

// The fragments that are composited so far.
struct Done {
    uvec2 last;  // the farthest
    uint number; // how many are equal to it
};

// Whether the fragment of a node is in front of the background and still to be composited. Goes on to the next
// node. Of fragments that are equal to the last one done, as many are skipped as are done, whichever they are.
bool takeFragment(inout uint node, inout Done done, uint hidden, out uvec2 fragment) {
    fragment = uvec2(oit_nodes[3u * node], oit_nodes[3u * node + 1u]);
    node = ~oit_nodes[3u * node + 2u];
    bool isDone = fragment == done.last && done.number > 0u;
    done.number -= uint(isDone);
    return fragment.x < hidden && !isDone && !isFarther(done.last, fragment);
}

// Puts a fragment into a sorted part of the batch that begins at `first`, by moving those behind it into the free
// place `end`.
void insert(uvec2 fragment, uint first, uint end) {
    uint i = end;
    for (; i > first; --i) {
        // Read here, because Mesa 22.3 goes wrong over it in the condition of the loop.
        uvec2 before = batch[i - 1u];
        if (!isFarther(before, fragment))
            break;
        batch[i] = before;
    }
    batch[i] = fragment;
}

// The place of the farthest fragment of a full batch.
uint placeOfFarthest() {
    uint place = runLength - 1u;
    uvec2 found = batch[place];
    for (uint i = place + runLength; i < batchSize; i += runLength) {
        uvec2 candidate = batch[i];
        bool isBetter = isFarther(candidate, found);
        found = isBetter ? candidate : found;
        place = isBetter ? i : place;
    }
    return place;
}

// Fills the batch with the nearest fragments that are not done. Returns how many more there are.
uint fillBatch(uint node, Done done, uint hidden, out uint size) {
    size = 0u;
    uint left = 0u;
    uint place = 0u;        // where the next fragment goes: of a full batch, instead of the farthest
    uvec2 bound = farthest; // beyond which none is kept
    while (true) {
        // Pixels that are shaded together wait here for each other, because to insert is the most expensive.
        uvec2 fragment;
        bool isFound = false;
        while (node < oit_numNodesAllocated) {
            if (takeFragment(node, done, hidden, fragment)) {
                isFound = isFarther(bound, fragment);
                if (isFound)
                    break;
                ++left;
            }
        }
        if (!isFound)
            break;
        if (size == batchSize)
            ++left;
        else
            place = size++;
        insert(fragment, place - place % runLength, place);
        if (size == batchSize) {
            place = placeOfFarthest();
            bound = batch[place];
        }
    }
    return node < oit_numNodesAllocated ? none : left; // the driver may have ended the loop
}

vec4 unpackColor(uvec2 fragment) {
    uint opacity = ((fragment.x & 63u) << 5) | (fragment.y >> 27);
    vec4 color = vec4(uvec4(fragment.y, fragment.y >> 9, fragment.y >> 18, opacity) &
                      uvec4(511u, 511u, 511u, 2047u)) /
                 vec4(511.0, 511.0, 511.0, 2047.0);
    return vec4(color.rgb, color.a * color.a);
}

// Adds a fragment to what lies in front of it: a premultiplied colour, and in alpha the light that passes.
void composite(uvec2 fragment, inout vec4 front) {
    vec4 color = unpackColor(fragment);
    front = vec4(front.rgb + front.a * color.a * color.rgb, front.a * (1.0 - color.a));
}

void compositeBatch(uint size, inout vec4 front, inout Done done) {
    // The nearest fragment of each run that is left, and its place.
    uvec4 places = uvec4(0u, 1u, 2u, 3u) * runLength;
    uvec4 ends = min(places + runLength, uvec4(size));
    uvec4 first = uvec4(batch[0].x, batch[runLength].x, batch[2u * runLength].x, batch[3u * runLength].x);
    uvec4 second = uvec4(batch[0].y, batch[runLength].y, batch[2u * runLength].y, batch[3u * runLength].y);
    bvec4 isEmpty = greaterThanEqual(places, ends);
    first |= -uvec4(isEmpty);
    second |= -uvec4(isEmpty);

    for (uint i = 0u; i < size && front.a > opaque; ++i) {
        uvec2 fragment = uvec2(first.x, second.x);
        uint run = 0u;
        for (uint other = 1u; other < 4u; ++other) {
            uvec2 candidate = uvec2(first[other], second[other]);
            if (isFarther(fragment, candidate)) {
                fragment = candidate;
                run = other;
            }
        }
        uvec4 isRun = -uvec4(equal(uvec4(run), uvec4(0u, 1u, 2u, 3u))); // all bits of one component
        places -= isRun;
        uint place = places[run];
        uvec2 next = place < ends[run] ? batch[min(place, batchSize - 1u)] : farthest;
        first = (first & ~isRun) | (next.xxxx & isRun);
        second = (second & ~isRun) | (next.yyyy & isRun);

        composite(fragment, front);
        done.number = fragment == done.last ? done.number + 1u : 1u;
        done.last = fragment;
    }
}

// The words of a node; farther than any other where there is none.
uvec3 readNode(uint node) {
    if (node >= oit_numNodesAllocated)
        return uvec3(farthest, none);
    return uvec3(oit_nodes[3u * node], oit_nodes[3u * node + 1u], ~oit_nodes[3u * node + 2u]);
}

void link(uint node, uint next) {
    oit_nodes[3u * node + 2u] = ~next;
}

// Links two sorted lists to one.
uint merge(uint a, uint b) {
    uvec3 nodeA = readNode(a);
    uvec3 nodeB = readNode(b);
    uint merged = none;
    uint last = none;
    while (a != none || b != none) {
        bool takesB = a == none || isFarther(nodeA.xy, nodeB.xy);
        uint taken = takesB ? b : a;
        if (last == none)
            merged = taken;
        else
            link(last, taken);
        last = taken;
        uint next = takesB ? nodeB.z : nodeA.z;
        uvec3 node = readNode(next);
        a = takesB ? a : next;
        b = takesB ? next : b;
        nodeA = takesB ? nodeA : node;
        nodeB = takesB ? node : nodeB;
    }
    return merged;
}

// Sorts a list from near to far by linking its nodes anew, in n log n steps.
uint sortList(uint node) {
    uint runs[32]; // a sorted part of 2^i nodes for each bit i that is set in their number
    uint number = 0u;
    while (true) {
        bool isEnd = node >= oit_numNodesAllocated;
        uint run = isEnd ? none : node;
        if (!isEnd) {
            node = ~oit_nodes[3u * run + 2u];
            link(run, none);
        }
        // What one more node carries over; in the end everything.
        uint i = 0u;
        for (; isEnd ? number >> i != 0u : (number >> i & 1u) != 0u; ++i) {
            if ((number >> i & 1u) != 0u)
                run = merge(runs[i], run);
        }
        if (isEnd)
            return run;
        runs[i] = run;
        ++number;
    }
}

// Composites a list of any length. Its first node stays in front, where the image has it, whatever its depth.
vec4 compositeList(uint head, uint hidden) {
    uvec3 first = readNode(head);
    uint sorted = sortList(first.z);
    link(head, sorted);
    uvec3 node = readNode(sorted);
    vec4 front = vec4(0.0, 0.0, 0.0, 1.0);
    bool isEnd = false;
    while (!isEnd && front.a > opaque) {
        bool takesFirst = isFarther(node.xy, first.xy);
        uvec2 fragment = takesFirst ? first.xy : node.xy;
        if (takesFirst)
            first.xy = farthest;
        else
            node = readNode(node.z);
        isEnd = fragment.x >= hidden;
        if (!isEnd)
            composite(fragment, front);
    }
    // Drivers end loops that run for long: Mesa's software drivers after 65,535 turns of all loops together.
    if (!isEnd && front.a > opaque)
        atomicCounterIncrement(oit_numIncompletePixels);
    return front;
}

void main() {
    ivec2 pixel = ivec2(gl_FragCoord.xy);
    vec4 background = texelFetch(u_backgroundColor, pixel, 0);
    uint hidden = firstHidden(texelFetch(u_backgroundDepth, pixel, 0).r);

    // Pixels that are only shaded along with others must not link nodes.
    uint head = none;
    if (gl_SampleMaskIn[0] != 0 && all(lessThan(pixel, imageSize(oit_nodeIndexImg))))
        head = imageLoad(oit_nodeIndexImg, pixel).r;

    vec4 front = vec4(0.0, 0.0, 0.0, 1.0);
    Done done = Done(uvec2(0u), 0u);
    uint left = 1u;
    for (uint i = 0u; i < maxBatches && left != 0u && left <= maxLeft && front.a > opaque; ++i) {
        uint size;
        left = fillBatch(head, done, hidden, size);
        compositeBatch(size, front, done);
    }
    if (left != 0u && front.a > opaque) {
        // A driver that has ended a loop may have composited less than the batches are.
        vec4 all = compositeList(head, hidden);
        front = all.a < front.a ? all : front;
    }
    out_color = vec4(front.rgb + front.a * background.rgb, 1.0 - front.a * (1.0 - background.a));
}
