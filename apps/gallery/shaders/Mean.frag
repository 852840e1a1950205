#version 330
/// The mean of a voxel and its 26 neighbours; beyond the border the outermost voxels are repeated.
uniform sampler3D volume;

flat in int slice;
out float mean;

void main()
{
    ivec3 voxel = ivec3(gl_FragCoord.xy, slice);
    ivec3 last = textureSize(volume, 0) - 1;
    float sum = 0.0;
    for (int z = -1; z <= 1; ++z)
        for (int y = -1; y <= 1; ++y)
            for (int x = -1; x <= 1; ++x)
                sum += texelFetch(volume, clamp(voxel + ivec3(x, y, z), ivec3(0), last), 0).r;
    mean = sum / 27.0;
}
