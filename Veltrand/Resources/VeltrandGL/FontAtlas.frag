#version 330
// Colours glyphs by the coverage that the atlas texture holds in its red channel.

uniform sampler2D u_fontTexture;

#ifdef WITH_DIVISION
in vec2 v_texCoord;
#else
noperspective in vec2 v_texCoord;
#endif
flat in vec4 v_color;
#ifdef WITH_SHADOW
flat in vec2 v_end;
flat in float v_isFiltered;
in vec2 v_corner;

const float texel = 1.0 / 768.0; // of the atlas

// Coverage at some texels to the right of and below the fragment, which may belong to the next glyph already.
float coverageAt(float right, float below) {
    return texture(u_fontTexture, min(v_texCoord + texel * vec2(right, below), v_end)).r;
}

// Nothing is shaded to the left of the bitmap and above it. Filtered, the shadow fades out there as on the other sides.
float fadeIn() {
    vec2 size = (v_end - v_texCoord) / max(1.0 - v_corner, 1e-4);
    vec2 inside = clamp(v_corner * size / texel, 0.0, 1.0);
    return mix(1.0, inside.x * inside.y, v_isFiltered);
}
#endif

layout(location = 0) out vec4 out_color;

void main() {
    float coverage = texture(u_fontTexture, v_texCoord).r;
#ifdef WITH_SHADOW
    // Dark for bright text and bright for dark text, behind it: around it, and stronger towards the lower right.
    float shadow = textureOffset(u_fontTexture, v_texCoord, ivec2(-1)).r;
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(-1, 0)).r);
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(0, -1)).r);
    shadow = max(shadow, coverageAt(1.0, 0.0));
    shadow = max(shadow, coverageAt(0.0, 1.0));
    shadow *= fadeIn();
    float alpha = coverage + (1.0 - coverage) * shadow;
    float brightness = dot(v_color.rgb, vec3(0.299, 0.587, 0.114));
    vec3 color = mix(vec3(brightness < 0.5), v_color.rgb, coverage / max(alpha, 1e-6));
    out_color = vec4(color, v_color.a * alpha);
#else
    out_color = vec4(v_color.rgb, v_color.a * coverage);
#endif
}
