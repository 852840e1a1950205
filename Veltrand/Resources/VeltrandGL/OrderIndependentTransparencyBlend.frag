#version 430
// Composites the fragments that OrderIndependentTransparency.glh has gathered, which also describes the nodes.

layout(r32ui) uniform readonly restrict uimage2D oit_nodeIndexImg;
layout(std430) readonly restrict buffer oit_nodeBuffer {
    uint oit_nodes[];
};
uniform uint oit_numNodesAllocated;

uniform sampler2D u_backgroundColor;
uniform sampler2D u_backgroundDepth;

layout(location = 0) out vec4 out_color;

// A pixel's fragments are composited in batches, nearest batch first. A batch is made of runs, each kept sorted
// from near to far by insertion, which is the fastest for the few fragments that most pixels have; it is read by
// merging the runs.
const uint runLength = 8u;
const uint batchSize = 4u * runLength;
uvec2 batch[batchSize]; // the first two words of the nodes

const uvec2 farthest = uvec2(0xFFFFFFFFu);

// What is left of the light behind the fragments done that no longer changes an image of 8 bits.
const float opaque = 1.0 / 8192.0;

bool isFarther(uvec2 a, uvec2 b) {
    return a.x > b.x || (a.x == b.x && a.y > b.y);
}

// The fragments that are composited so far.
struct Done {
    uvec2 last;  // the farthest
    uint number; // how many are equal to it
};

// Whether the fragment of a node is in front of the background and still to be composited. Goes on to the next
// node. Of fragments that are equal to the last one done, as many are skipped as are done, whichever they are.
bool takeFragment(inout uint node, inout Done done, uint background, out uvec2 fragment) {
    fragment = uvec2(oit_nodes[3u * node], oit_nodes[3u * node + 1u]);
    node = ~oit_nodes[3u * node + 2u];
    bool isDone = fragment == done.last && done.number > 0u;
    done.number -= uint(isDone);
    return fragment.x < background && !isDone && !isFarther(done.last, fragment);
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

// Puts a fragment into a full batch in place of the farthest, unless it is itself farther.
void replaceFarthest(uvec2 fragment) {
    uint last = runLength - 1u;
    uvec2 replaced = batch[last];
    for (uint i = 2u * runLength - 1u; i < batchSize; i += runLength) {
        uvec2 candidate = batch[i];
        if (isFarther(candidate, replaced)) {
            replaced = candidate;
            last = i;
        }
    }
    if (isFarther(replaced, fragment))
        insert(fragment, last + 1u - runLength, last);
}

vec4 unpackColor(uvec2 fragment) {
    uint opacity = ((fragment.x & 63u) << 5) | (fragment.y >> 27);
    vec4 color = vec4(uvec4(fragment.y, fragment.y >> 9, fragment.y >> 18, opacity) &
                      uvec4(511u, 511u, 511u, 2047u)) /
                 vec4(511.0, 511.0, 511.0, 2047.0);
    return vec4(color.rgb, color.a * color.a);
}

// Adds the batch to what lies in front of it: a premultiplied colour, and in alpha the light that passes.
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

        vec4 color = unpackColor(fragment);
        front = vec4(front.rgb + front.a * color.a * color.rgb, front.a * (1.0 - color.a));
        done.number = fragment == done.last ? done.number + 1u : 1u;
        done.last = fragment;
    }
}

void main() {
    ivec2 pixel = ivec2(gl_FragCoord.xy);
    vec4 background = texelFetch(u_backgroundColor, pixel, 0);
    float backgroundDepth = texelFetch(u_backgroundDepth, pixel, 0).r;
    uint fixedDepth = min(uint(clamp(backgroundDepth, 0.0, 1.0) * 67108864.0), 67108863u);

    uint head = 0xFFFFFFFFu;
    if (all(lessThan(pixel, imageSize(oit_nodeIndexImg))))
        head = imageLoad(oit_nodeIndexImg, pixel).r;

    vec4 front = vec4(0.0, 0.0, 0.0, 1.0);
    Done done = Done(uvec2(0u), 0u);
    bool more = true;
    while (more) {
        more = false;
        uint node = head;
        uint size = 0u;
        Done skipped = done;
        uvec2 fragment;
        while (node < oit_numNodesAllocated && size < batchSize) {
            if (takeFragment(node, skipped, fixedDepth << 6, fragment)) {
                insert(fragment, size - size % runLength, size);
                ++size;
            }
        }
        while (node < oit_numNodesAllocated) {
            if (takeFragment(node, skipped, fixedDepth << 6, fragment)) {
                replaceFarthest(fragment);
                more = true;
            }
        }
        compositeBatch(size, front, done);
        more = more && front.a > opaque;
    }
    out_color = vec4(front.rgb + front.a * background.rgb, 1.0 - front.a * (1.0 - background.a));
}
