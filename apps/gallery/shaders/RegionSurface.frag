#version 330
/// The opaque surface of a region, lit from the eye, which can be picked.
#pragma include "VeltrandGL/ObjectPicking.glh"
#pragma include "VeltrandGallery/Region.glh"

in vec3 eyeNormal;
flat in uint regionNumber;
layout(location = 0) out vec4 color;

void main()
{
    vec3 normal = normalize(eyeNormal);
    float diffuse = max(dot(normal, normalize(vec3(-0.4, 0.5, 0.8))), 0.0);
    float highlight = 0.25 * pow(max(dot(normal, normalize(vec3(-0.2, 0.25, 0.9))), 0.0), 40.0);
    color = vec4(regionColor(regionNumber) * (0.3 + 0.7 * diffuse) + highlight, 1.0);
    writePickingInfo(regionNumber);
}
