#version 330
// Draws an offscreen rendering over a full-screen square, for OffscreenRenderHelper. Colours are premultiplied
// with alpha, and a depth of 1 is that of a pixel to which none was written.

#pragma conditional_include WITH_OIT "VeltrandGL/OrderIndependentTransparency.glh"

uniform sampler2D u_colorTex;
uniform sampler2D u_depthTex;
uniform int u_colorProcessing;
uniform int u_depthPart;      // pixels to draw: 0 all, 1 those with depth, 2 those without
uniform vec2 u_windowLevel;   // width and centre of the window
uniform sampler1D u_colorRamp; // not premultiplied
uniform vec4 u_outlineColor;   // premultiplied
uniform int u_outlineWidth;    // texels

in VertexData {
    vec4 color;
    vec3 texCoord;
} v_in;

#ifndef WITH_OIT
layout(location = 0) out vec4 out_color;
#endif

float luminance(vec3 color) {
    return dot(color, vec3(0.2126, 0.7152, 0.0722));
}

// The ramp's ends are at the centres of its first and last texel.
vec4 rampColor(float value) {
    float position = clamp((value - u_windowLevel.y) / max(u_windowLevel.x, 1e-30) + 0.5, 0.0, 1.0);
    float size = float(textureSize(u_colorRamp, 0));
    return texture(u_colorRamp, (position * (size - 1.0) + 0.5) / size);
}

// The least depth of the texels that the filtered colour is made of, which is one unless the picture is scaled.
float depthAt(vec2 position, ivec2 size) {
    const float negligible = 1.0 / 256.0;
    vec2 texel = position * vec2(size) - 0.5;
    ivec2 low = clamp(ivec2(floor(texel + negligible)), ivec2(0), size - 1);
    ivec2 high = clamp(ivec2(ceil(texel - negligible)), ivec2(0), size - 1);
    return min(min(texelFetch(u_depthTex, low, 0).r, texelFetch(u_depthTex, high, 0).r),
               min(texelFetch(u_depthTex, ivec2(low.x, high.y), 0).r,
                   texelFetch(u_depthTex, ivec2(high.x, low.y), 0).r));
}

// The line lies under the picture, as deep as the nearest pixel that it surrounds.
void addOutline(inout vec4 color, inout float depth, ivec2 texel, ivec2 size) {
    float coverage = 0.0;
    float nearest = 1.0;
    float radius = float(u_outlineWidth) + 0.5;
    for (int y = -u_outlineWidth; y <= u_outlineWidth; ++y)
        for (int x = -u_outlineWidth; x <= u_outlineWidth; ++x) {
            ivec2 neighbour = clamp(texel + ivec2(x, y), ivec2(0), size - 1);
            vec2 distance = vec2(neighbour - texel);
            float alpha = texelFetch(u_colorTex, neighbour, 0).a;
            if (alpha > 0.0 && dot(distance, distance) < radius * radius) {
                coverage = max(coverage, alpha);
                nearest = min(nearest, texelFetch(u_depthTex, neighbour, 0).r);
            }
        }
    if (texelFetch(u_colorTex, texel, 0).a == 0.0)
        depth = min(depth, nearest);
    color += (1.0 - color.a) * coverage * u_outlineColor;
}

void main() {
    ivec2 size = textureSize(u_colorTex, 0);
    ivec2 texel = clamp(ivec2(v_in.texCoord.xy * vec2(size)), ivec2(0), size - 1);
    vec4 color = texture(u_colorTex, v_in.texCoord.xy);
    float depth = depthAt(v_in.texCoord.xy, size);

    if (u_colorProcessing == 1) {
        color.rgb = vec3(luminance(color.rgb));
    } else if (u_colorProcessing == 2) {
        vec4 ramp = rampColor(luminance(color.rgb) / (color.a > 0.0 ? color.a : 1.0));
        color = vec4(ramp.rgb * ramp.a, ramp.a) * color.a;
    } else if (u_colorProcessing == 3) {
        addOutline(color, depth, texel, size);
    }

    bool hasDepth = depth < 1.0;
    if ((u_depthPart == 1 && !hasDepth) || (u_depthPart == 2 && hasDepth) ||
        (!hasDepth && color == vec4(0.0)))
        discard;
#ifdef WITH_OIT
    if (color.a > 0.0)
        oit_addFragment(vec4(color.rgb / color.a, color.a), hasDepth ? depth : 0.0);
#else
    gl_FragDepth = depth;
    out_color = color;
#endif
}
