#version 330
/// A plane through a volume as grey values, with lines where the other two planes cross it.
uniform sampler3D volume;
/// From panel positions to texture coordinates.
uniform mat4 panelToTexture;
/// The texel values that show black and white.
uniform vec2 window;

/// Size of the panel, and where the other planes cross it, in pixels.
uniform vec2 panelSize;
uniform vec2 crossing;
uniform float lineWidth;
/// The lines leave this many pixels around the crossing free.
uniform float gap;
uniform vec3 verticalLineColor;
uniform vec3 horizontalLineColor;

in vec2 panelPosition;
out vec4 color;

float texel(vec3 position)
{
    bool inside = all(greaterThanEqual(position, vec3(0.0))) && all(lessThanEqual(position, vec3(1.0)));
    float grey = (texture(volume, position).r - window.x) / (window.y - window.x);
    return inside ? clamp(grey, 0.0, 1.0) : 0.0;
}

/// The mean over the pixel, sampled at least once per voxel so that no detail falls through.
float pixel(vec3 position)
{
    vec3 right = dFdx(position);
    vec3 up = dFdy(position);
    vec3 voxels = vec3(textureSize(volume, 0));
    int count = clamp(int(ceil(max(length(right * voxels), length(up * voxels)) - 0.01)), 1, 8);
    float sum = 0.0;
    for (int j = 0; j < count; ++j)
        for (int i = 0; i < count; ++i) {
            vec2 offset = (vec2(i, j) + 0.5) / float(count) - 0.5;
            sum += texel(position + offset.x * right + offset.y * up);
        }
    return sum / float(count * count);
}

void main()
{
    vec3 grey = vec3(pixel((panelToTexture * vec4(panelPosition, 0.0, 1.0)).xyz));

    vec2 beyond = panelPosition * panelSize - crossing;
    bvec2 onLine = bvec2(beyond.x >= 0.0 && beyond.x < lineWidth, beyond.y >= 0.0 && beyond.y < lineWidth);
    if (max(abs(beyond.x), abs(beyond.y)) < gap)
        onLine = bvec2(false);
    if (onLine.x)
        grey = mix(grey, verticalLineColor, 0.7);
    if (onLine.y)
        grey = mix(grey, horizontalLineColor, 0.7);
    color = vec4(grey, 1.0);
}
