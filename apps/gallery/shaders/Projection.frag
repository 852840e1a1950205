#version 330
/// One layer of a projection: the volume at one depth, in grey.
uniform sampler3D volume;
/// From the projection's box to texture coordinates.
uniform mat4 boxToTexture;
/// The texel values that show black and white.
uniform vec2 window;

in vec3 texCoord;
out float grey;

void main()
{
    vec3 position = (boxToTexture * vec4(texCoord, 1.0)).xyz;
    bool inside = all(greaterThanEqual(position, vec3(0.0))) && all(lessThanEqual(position, vec3(1.0)));
    float value = (texture(volume, position).r - window.x) / (window.y - window.x);
    grey = inside ? clamp(value, 0.0, 1.0) : 0.0;
}
