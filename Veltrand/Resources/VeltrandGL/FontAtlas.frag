#version 330
// Colours glyphs by the coverage that the atlas texture holds in its red channel.

uniform sampler2D u_fontTexture;

#ifdef WITH_PERSPECTIVE
in vec2 v_texCoord;
#else
noperspective in vec2 v_texCoord;
#endif
flat in vec4 v_color;

layout(location = 0) out vec4 out_color;

void main() {
    float coverage = texture(u_fontTexture, v_texCoord).r;
#ifdef WITH_SHADOW
    // Dark for bright text and bright for dark text, behind it: around it, and stronger towards the lower right.
    float shadow = textureOffset(u_fontTexture, v_texCoord, ivec2(-1)).r;
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(-1, 0)).r);
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(0, -1)).r);
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(1, 0)).r);
    shadow = max(shadow, textureOffset(u_fontTexture, v_texCoord, ivec2(0, 1)).r);
    float alpha = coverage + (1.0 - coverage) * shadow;
    float brightness = dot(v_color.rgb, vec3(0.299, 0.587, 0.114));
    vec3 color = mix(vec3(brightness < 0.5), v_color.rgb, coverage / max(alpha, 1e-6));
    out_color = vec4(color, v_color.a * alpha);
#else
    out_color = vec4(v_color.rgb, v_color.a * coverage);
#endif
}
