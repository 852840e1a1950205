#version 330
/// How fast the volume changes at a voxel, per millimetre: the length of the gradient by central differences.
uniform sampler3D volume;
/// Edge lengths of a voxel in millimetres.
uniform vec3 spacing;

flat in int slice;
out float magnitude;

float difference(ivec3 voxel, ivec3 axis)
{
    ivec3 below = max(voxel - axis, ivec3(0));
    ivec3 above = min(voxel + axis, textureSize(volume, 0) - 1);
    float distance = length(vec3(above - below) * spacing);
    return distance > 0.0 ? (texelFetch(volume, above, 0).r - texelFetch(volume, below, 0).r) / distance : 0.0;
}

void main()
{
    ivec3 voxel = ivec3(gl_FragCoord.xy, slice);
    magnitude = length(vec3(difference(voxel, ivec3(1, 0, 0)), difference(voxel, ivec3(0, 1, 0)),
                            difference(voxel, ivec3(0, 0, 1))));
}
