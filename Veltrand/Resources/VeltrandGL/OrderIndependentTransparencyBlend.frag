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

// A pixel's fragments are composited in batches, nearest batch first, each the nearest of those that are left.
// A batch is a heap with its farthest fragment at the root. Up to sortedSize it is sorted from far to near,
// which is a heap too: insertion is the fastest for the few fragments that most pixels have.
const uint batchSize = 64u;
const uint sortedSize = 16u;
uint batchKeys[batchSize];  // first word of the node: depth, then two bits of opacity
uint batchNodes[batchSize];

// What is left of the light behind the batches done that no longer changes an image of 8 bits.
const float opaque = 1.0 / 8192.0;

// A strict order that depends on what the fragments look like and not on when they were drawn. The node number
// decides only between equal ones.
bool isFarther(uint key, uint node, uint otherKey, uint otherNode) {
    if (key != otherKey)
        return key > otherKey;
    uint word = oit_nodes[3u * node + 1u];
    uint otherWord = oit_nodes[3u * otherNode + 1u];
    if (word != otherWord)
        return word > otherWord;
    word = oit_nodes[3u * node + 2u] >> 28;
    otherWord = oit_nodes[3u * otherNode + 2u] >> 28;
    if (word != otherWord)
        return word > otherWord;
    return node > otherNode;
}

vec4 nodeColor(uint key, uint node) {
    uint word = oit_nodes[3u * node + 1u];
    uint opacity = (key & 3u) | ((word >> 27) << 2) | ((oit_nodes[3u * node + 2u] >> 28) << 7);
    vec4 color = vec4(uvec4(word, word >> 9, word >> 18, opacity) & uvec4(511u, 511u, 511u, 2047u)) /
                 vec4(511.0, 511.0, 511.0, 2047.0);
    return vec4(color.rgb, color.a * color.a);
}

void insertSorted(uint key, uint node, uint size) {
    uint i = size;
    for (; i > 0u && isFarther(key, node, batchKeys[i - 1u], batchNodes[i - 1u]); --i) {
        batchKeys[i] = batchKeys[i - 1u];
        batchNodes[i] = batchNodes[i - 1u];
    }
    batchKeys[i] = key;
    batchNodes[i] = node;
}

void pushHeap(uint key, uint node, uint size) {
    uint i = size;
    while (i > 0u) {
        uint parent = (i - 1u) / 2u;
        if (!isFarther(key, node, batchKeys[parent], batchNodes[parent]))
            break;
        batchKeys[i] = batchKeys[parent];
        batchNodes[i] = batchNodes[parent];
        i = parent;
    }
    batchKeys[i] = key;
    batchNodes[i] = node;
}

// Puts a fragment in the place of the farthest one.
void replaceRoot(uint key, uint node, uint size) {
    uint i = 0u;
    for (uint child = 1u; child < size; child = 2u * i + 1u) {
        if (child + 1u < size && isFarther(batchKeys[child + 1u], batchNodes[child + 1u], batchKeys[child],
                                           batchNodes[child]))
            ++child;
        if (!isFarther(batchKeys[child], batchNodes[child], key, node))
            break;
        batchKeys[i] = batchKeys[child];
        batchNodes[i] = batchNodes[child];
        i = child;
    }
    batchKeys[i] = key;
    batchNodes[i] = node;
}

// The colour of the batch, premultiplied, and in alpha the light that passes it. Uses the batch up.
vec4 compositeBatch(uint size) {
    vec4 result = vec4(0.0, 0.0, 0.0, 1.0);
    bool sorted = size <= sortedSize;
    for (uint i = 0u; i < size; ++i) {
        uint farthest = sorted ? i : 0u;
        vec4 color = nodeColor(batchKeys[farthest], batchNodes[farthest]);
        result = vec4(mix(result.rgb, color.rgb, color.a), result.a * (1.0 - color.a));
        if (!sorted) {
            uint last = size - 1u - i;
            replaceRoot(batchKeys[last], batchNodes[last], last);
        }
    }
    return result;
}

void main() {
    ivec2 pixel = ivec2(gl_FragCoord.xy);
    vec4 background = texelFetch(u_backgroundColor, pixel, 0);
    float backgroundDepth = texelFetch(u_backgroundDepth, pixel, 0).r;

    uint head = 0xFFFFFFFFu;
    if (all(lessThan(pixel, imageSize(oit_nodeIndexImg))))
        head = imageLoad(oit_nodeIndexImg, pixel).r;

    vec4 front = vec4(0.0, 0.0, 0.0, 1.0);
    bool first = true;
    uint doneKey = 0u; // the farthest fragment of the batches done
    uint doneNode = 0u;
    bool more = true;
    while (more) {
        more = false;
        uint size = 0u;
        uint node = head;
        while (node < oit_numNodesAllocated) {
            uint current = node;
            uint key = oit_nodes[3u * node];
            node = ~oit_nodes[3u * node + 2u] & 0x0FFFFFFFu;
            if (uintBitsToFloat(key >> 2) >= backgroundDepth ||
                (!first && !isFarther(key, current, doneKey, doneNode)))
                continue;
            if (size < sortedSize) {
                insertSorted(key, current, size++);
            } else if (size < batchSize) {
                pushHeap(key, current, size++);
            } else {
                more = true;
                if (isFarther(batchKeys[0], batchNodes[0], key, current))
                    replaceRoot(key, current, size);
            }
        }
        if (size == 0u)
            break;
        first = false;
        doneKey = batchKeys[0];
        doneNode = batchNodes[0];
        vec4 batch = compositeBatch(size);
        front = vec4(front.rgb + front.a * batch.rgb, front.a * batch.a);
        more = more && front.a > opaque;
    }
    out_color = vec4(front.rgb + front.a * background.rgb, 1.0 - front.a * (1.0 - background.a));
}
