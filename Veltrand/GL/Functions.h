// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteSize.h>
#include <Veltrand/Core/Flags.h>
#include <Veltrand/Core/Version.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <string>
#include <vector>

/// Free functions that ask and steer the context that is current on the calling thread.
///
/// Unless stated otherwise they need a current context with loaded entry points (after `GL::init`), and none
/// of them throws.
namespace Veltrand::GL {

// Asking the driver

/// Who makes the driver.
enum class GpuVendor { Nvidia, Amd, Intel, Mesa, Microsoft, Apple, Unknown };

/// What the driver says about itself.
struct PlatformInfo {
    GpuVendor vendor = GpuVendor::Unknown;  ///< by the strings below
    std::string vendorString;               ///< GL_VENDOR
    std::string rendererString;             ///< GL_RENDERER
    std::string versionString;              ///< GL_VERSION
    std::string glslVersionString;          ///< GL_SHADING_LANGUAGE_VERSION
    std::vector<std::string> extensionList; ///< one name per extension
};

/// GPU memory; a field that cannot be queried is 0.
struct MemoryInfo {
    ByteSize currentAvailable; ///< free now
    ByteSize dedicated;        ///< of the card itself
    ByteSize totalAvailable;   ///< all that the driver may use
};

/// The version of the current context: major and minor; 4.6.0 reads as 4.6, "OpenGL ES 3.2 ..." as 3.2.
/// Without a current context -1.-1, logged. A version text that is no number throws as `std::stoi` does.
/// GL: glGetString, 1.0
[[nodiscard]] VELTRAND_GL_API Utils::Version versionInfo();

/// Describes the driver. Vendor, renderer and extensions are those of the first context that was asked, for
/// the life of the process.
/// GL: glGetString, glGetStringi, 3.0
[[nodiscard]] VELTRAND_GL_API PlatformInfo platformInfo();

/// GPU memory by GL_NVX_gpu_memory_info or GL_ATI_meminfo; what is missing is logged at each call.
/// GL: glGetIntegerv
[[nodiscard]] VELTRAND_GL_API MemoryInfo memoryInfo();

// Reading state; of a vector or list the first number, of an empty list 0

/// GL: glGetBooleanv, 1.0
[[nodiscard]] VELTRAND_GL_API bool getBool(GLenum name);
/// GL: glGetIntegerv, 1.0
[[nodiscard]] VELTRAND_GL_API int getInt(GLenum name);
/// GL: glGetIntegeri_v, 3.0
[[nodiscard]] VELTRAND_GL_API int getIntIndexed(GLenum name, GLuint index);
/// GL: glGetFloatv, 1.0
[[nodiscard]] VELTRAND_GL_API float getFloat(GLenum name);
/// Empty when OpenGL answers null. GL: glGetString, 1.0
[[nodiscard]] VELTRAND_GL_API std::string getString(GLenum name);
/// GL_NO_ERROR or the kind of reset that the context went through; GL_NO_ERROR where the entry point is
/// missing. GL: glGetGraphicsResetStatus, 4.5
[[nodiscard]] VELTRAND_GL_API GLenum getGraphicsResetStatus();

// Clearing and synchronising

/// The values are the OpenGL barrier bits.
enum class Barrier : GLuint {
    VertexAttribArray = 0x00000001,  // GL_VERTEX_ATTRIB_ARRAY_BARRIER_BIT
    ElementArray = 0x00000002,       // GL_ELEMENT_ARRAY_BARRIER_BIT
    Uniform = 0x00000004,            // GL_UNIFORM_BARRIER_BIT
    TextureFetch = 0x00000008,       // GL_TEXTURE_FETCH_BARRIER_BIT
    ShaderImageAccess = 0x00000020,  // GL_SHADER_IMAGE_ACCESS_BARRIER_BIT
    Command = 0x00000040,            // GL_COMMAND_BARRIER_BIT
    PixelBuffer = 0x00000080,        // GL_PIXEL_BUFFER_BARRIER_BIT
    TextureUpdate = 0x00000100,      // GL_TEXTURE_UPDATE_BARRIER_BIT
    BufferUpdate = 0x00000200,       // GL_BUFFER_UPDATE_BARRIER_BIT
    Framebuffer = 0x00000400,        // GL_FRAMEBUFFER_BARRIER_BIT
    TransformFeedback = 0x00000800,  // GL_TRANSFORM_FEEDBACK_BARRIER_BIT
    AtomicCounter = 0x00001000,      // GL_ATOMIC_COUNTER_BARRIER_BIT
    ShaderStorage = 0x00002000,      // GL_SHADER_STORAGE_BARRIER_BIT
    ClientMappedBuffer = 0x00004000, // GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT
    QueryBuffer = 0x00008000,        // GL_QUERY_BUFFER_BARRIER_BIT
    All = 0xFFFFFFFF,                // GL_ALL_BARRIER_BITS
};
VELTRAND_FLAG_OPERATORS(Barrier)

/// Red, green, blue, alpha. Obeys the scissor test and leaves the clear colour changed.
/// GL: glClearColor, glClear, 1.0
VELTRAND_GL_API void clearColorBuffer(const Eigen::Vector4f& color);
/// Window depth, 0 near to 1 far. Leaves the clear depth changed. GL: glClearDepthf, glClear, 1.0
VELTRAND_GL_API void clearDepthBuffer(double depth);
/// Logged and without effect where the entry point is missing. GL: glMemoryBarrier, 4.2
VELTRAND_GL_API void memoryBarrier(Flags<Barrier> barriers);
/// GL: glFlush, 1.0
VELTRAND_GL_API void flush();
/// GL: glFinish, 1.0
VELTRAND_GL_API void finish();

// Projections and scale; these need no context

/// The orthographic projection onto clip space, as glOrtho defines it.
[[nodiscard]] VELTRAND_GL_API Eigen::Matrix4d createOrtho(double left, double right, double bottom,
                                                          double top, double near, double far);
/// One unit per pixel, origin at the lower left corner, depth from -1 to 1.
[[nodiscard]] VELTRAND_GL_API Eigen::Matrix4d createOrtho2d(int width, int height);
/// The perspective projection as gluPerspective defines it.
/// @param fovy the full vertical opening angle in radians
/// @param aspect width by height
[[nodiscard]] VELTRAND_GL_API Eigen::Matrix4d createPerspective(double fovy, double aspect, double near,
                                                                double far);

/// Pixels per point, for the whole process; 1 at start. Any thread.
VELTRAND_GL_API void setDpiScale(double scale);
/// What `setDpiScale` was last given. Any thread.
[[nodiscard]] VELTRAND_GL_API double dpiScale();

} // namespace Veltrand::GL
