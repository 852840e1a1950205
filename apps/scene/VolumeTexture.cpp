// SPDX-License-Identifier: BSD-3-Clause
#include "scene/VolumeTexture.h"

#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>

#include <span>
#include <stdexcept>
#include <string>

namespace Veltrand::Apps {

namespace {

constexpr GL::GLenum Max3DTextureSize = 0x8073; // GL_MAX_3D_TEXTURE_SIZE

/// How the texture stores a voxel, and what the voxels are in memory.
struct VoxelFormat {
    GL::InternalFormat texture;
    GL::PixelType memory;
};

VoxelFormat voxelFormat(Volume::Storage storage) {
    switch (storage) {
    case Volume::Storage::UInt8:
        return {GL::InternalFormat::R8, GL::PixelType::UByte};
    case Volume::Storage::UInt16:
        return {GL::InternalFormat::R16, GL::PixelType::UShort};
    case Volume::Storage::Float32:
        break;
    }
    return {GL::InternalFormat::R32F, GL::PixelType::Float};
}

} // namespace

GL::Texture uploadVolume(const Volume& volume) {
    const std::string size = std::to_string(volume.size.x()) + "x" + std::to_string(volume.size.y()) + "x" +
                             std::to_string(volume.size.z());
    const int limit = GL::getInt(Max3DTextureSize);
    if (volume.size.maxCoeff() > limit)
        throw std::runtime_error("the driver cannot hold a volume of " + size + " voxels, only " +
                                 std::to_string(limit) + " along an axis.");

    const VoxelFormat format = voxelFormat(volume.storage);
    GL::Texture texture(GL::Texture::Target::Texture3D, volume.size, format.texture);
    const bool uploaded = texture.upload(GL::PixelFormat::Red, format.memory,
                                         std::span(volume.voxels.data(), volume.voxels.size()));
    if (!uploaded || GL::Debug::check() != GL::Debug::Error::NoError)
        throw std::runtime_error("the driver cannot hold a volume of " + size + " voxels.");
    return texture;
}

Window textureWindow(const Volume& volume, const Window& window) {
    double one = 1; // what is stored where the texture reads 1
    if (volume.storage == Volume::Storage::UInt8)
        one = 255;
    else if (volume.storage == Volume::Storage::UInt16)
        one = 65535;
    const double scale = volume.slope * one;
    return {(window.low - volume.intercept) / scale, (window.high - volume.intercept) / scale};
}

Eigen::Affine3d patientToTexture(const Volume& volume) {
    // Texture coordinates run from the outer face of the first voxel to that of the last.
    const Eigen::Vector3d perVoxel = volume.size.cast<double>().cwiseInverse();
    return Eigen::Scaling(perVoxel) * Eigen::Translation3d(Eigen::Vector3d::Constant(0.5)) *
           volume.voxelToPatient.inverse();
}

} // namespace Veltrand::Apps
