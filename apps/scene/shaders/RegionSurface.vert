#version 330
/// A vertex of a region's surface, in patient space.
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in float region;

uniform mat4 modelView; // a rotation and a translation
uniform mat4 projection; // along parallels

out vec3 eyeNormal;
flat out uint regionNumber;

void main()
{
    eyeNormal = mat3(modelView) * normal;
    regionNumber = uint(region);
    gl_Position = projection * (modelView * vec4(position, 1.0));
}
