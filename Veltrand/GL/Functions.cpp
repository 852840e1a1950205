// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>

#include <Veltrand/Core/String.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <glad/gl.h>
#include <mutex>
#include <optional>

namespace Veltrand::GL {

static_assert(static_cast<GLenum>(Primitive::LineStrip) == GL_LINE_STRIP &&
              static_cast<GLenum>(Primitive::TriangleFan) == GL_TRIANGLE_FAN &&
              static_cast<GLenum>(Primitive::LinesAdjacency) == GL_LINES_ADJACENCY &&
              static_cast<GLenum>(Primitive::LineStripAdjacency) == GL_LINE_STRIP_ADJACENCY &&
              static_cast<GLenum>(Primitive::TrianglesAdjacency) == GL_TRIANGLES_ADJACENCY &&
              static_cast<GLenum>(Primitive::TriangleStripAdjacency) == GL_TRIANGLE_STRIP_ADJACENCY &&
              static_cast<GLenum>(Primitive::Patches) == GL_PATCHES);
static_assert(GLbitfield(Barrier::VertexAttribArray) == GL_VERTEX_ATTRIB_ARRAY_BARRIER_BIT &&
              GLbitfield(Barrier::ElementArray) == GL_ELEMENT_ARRAY_BARRIER_BIT &&
              GLbitfield(Barrier::Uniform) == GL_UNIFORM_BARRIER_BIT &&
              GLbitfield(Barrier::TextureFetch) == GL_TEXTURE_FETCH_BARRIER_BIT &&
              GLbitfield(Barrier::ShaderImageAccess) == GL_SHADER_IMAGE_ACCESS_BARRIER_BIT &&
              GLbitfield(Barrier::Command) == GL_COMMAND_BARRIER_BIT &&
              GLbitfield(Barrier::PixelBuffer) == GL_PIXEL_BUFFER_BARRIER_BIT &&
              GLbitfield(Barrier::TextureUpdate) == GL_TEXTURE_UPDATE_BARRIER_BIT &&
              GLbitfield(Barrier::BufferUpdate) == GL_BUFFER_UPDATE_BARRIER_BIT &&
              GLbitfield(Barrier::Framebuffer) == GL_FRAMEBUFFER_BARRIER_BIT &&
              GLbitfield(Barrier::TransformFeedback) == GL_TRANSFORM_FEEDBACK_BARRIER_BIT &&
              GLbitfield(Barrier::AtomicCounter) == GL_ATOMIC_COUNTER_BARRIER_BIT &&
              GLbitfield(Barrier::ShaderStorage) == GL_SHADER_STORAGE_BARRIER_BIT &&
              GLbitfield(Barrier::ClientMappedBuffer) == GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT &&
              GLbitfield(Barrier::QueryBuffer) == GL_QUERY_BUFFER_BARRIER_BIT &&
              GLbitfield(Barrier::All) == GL_ALL_BARRIER_BITS);

namespace {

constexpr std::string_view category = "GL";

std::atomic<double> g_dpiScale{1.0};

// What stays the same for the life of the process once a context has told it.
struct DriverTexts {
    std::string vendor;
    std::string renderer;
    std::vector<std::string> extensions;
};

DriverTexts readDriverTexts() {
    DriverTexts texts{getString(GL_VENDOR), getString(GL_RENDERER), {}};
    const int count = glGetStringi ? getInt(GL_NUM_EXTENSIONS) : 0;
    texts.extensions.reserve(static_cast<std::size_t>(count));
    for (GLuint i = 0; i < static_cast<GLuint>(count); ++i)
        if (const GLubyte* const name = glGetStringi(GL_EXTENSIONS, i))
            texts.extensions.emplace_back(reinterpret_cast<const char*>(name));
    return texts;
}

DriverTexts driverTexts() {
    static std::mutex mutex;
    static std::optional<DriverTexts> cache;
    {
        const std::lock_guard lock(mutex);
        if (cache)
            return *cache;
    }
    // Asked without the lock: the driver may call back into here with a message.
    DriverTexts texts = readDriverTexts();
    // Without a current context or loaded entry points everything is empty, which must not be remembered.
    if (ContextManager::hasCurrent() && glGetString && glGetStringi) {
        const std::lock_guard lock(mutex);
        if (!cache)
            cache = texts;
    }
    return texts;
}

// The most numbers that a name of fixed length stands for, a matrix.
constexpr std::size_t maximumComponents = 16;

/// How long a list is that a driver may make as long as it likes.
struct ListLength {
    GLenum numEntries; ///< the name to ask; 0 for anything but a list
    std::size_t numbersPerEntry;
};

ListLength listLength(GLenum name) {
    // Of extensions that the loader does not know.
    constexpr GLenum multisampleCoverageModes = 0x8E12;     // GL_MULTISAMPLE_COVERAGE_MODES_NV
    constexpr GLenum numMultisampleCoverageModes = 0x8E11;  // GL_MAX_MULTISAMPLE_COVERAGE_MODES_NV
    constexpr GLenum supportedMultisampleModes = 0x91B7;    // GL_SUPPORTED_MULTISAMPLE_MODES_AMD
    constexpr GLenum numSupportedMultisampleModes = 0x91B6; // GL_NUM_SUPPORTED_MULTISAMPLE_MODES_AMD
    switch (name) {
    case GL_COMPRESSED_TEXTURE_FORMATS:
        return {GL_NUM_COMPRESSED_TEXTURE_FORMATS, 1};
    case GL_PROGRAM_BINARY_FORMATS:
        return {GL_NUM_PROGRAM_BINARY_FORMATS, 1};
    case GL_SHADER_BINARY_FORMATS:
        return {GL_NUM_SHADER_BINARY_FORMATS, 1};
    case multisampleCoverageModes:
        return {numMultisampleCoverageModes, 2};
    case supportedMultisampleModes:
        return {numSupportedMultisampleModes, 3};
    default:
        return {0, 0};
    }
}

/// The first of the numbers that @p get writes for a name; 0 for an empty list.
template<class T>
T firstNumber(void (*get)(GLenum, T*), GLenum name) {
    if (const auto [numEntries, numbersPerEntry] = listLength(name); numEntries != 0) {
        GLint count = 0;
        glGetIntegerv(numEntries, &count);
        std::vector<T> values(static_cast<std::size_t>(std::max(count, 1)) * numbersPerEntry);
        get(name, values.data());
        return values[0];
    }
    std::array<T, maximumComponents> values{};
    get(name, values.data());
    return values[0];
}

GpuVendor vendorOf(const PlatformInfo& info) {
    const auto vendorHas = [&info](std::string_view part) {
        return String::contains(info.vendorString, part);
    };
    if (vendorHas("NVIDIA"))
        return GpuVendor::Nvidia;
    if (vendorHas("ATI") || String::contains(info.rendererString, "Radeon"))
        return GpuVendor::Amd;
    if (vendorHas("INTEL") || vendorHas("Intel"))
        return GpuVendor::Intel;
    if ((vendorHas("X.org") || vendorHas("Mesa")) && String::contains(info.versionString, "Mesa"))
        return GpuVendor::Mesa;
    if (vendorHas("Microsoft Corporation"))
        return GpuVendor::Microsoft;
    if (vendorHas("Apple"))
        return GpuVendor::Apple;
    return GpuVendor::Unknown;
}

ByteSize kilobytes(int count) {
    return ByteSize::fromKB(count > 0 ? static_cast<std::uint64_t>(count) : 0);
}

} // namespace

Utils::Version versionInfo() {
    Utils::Version version{.major = -1, .minor = -1, .patch = 0, .preRelease = {}, .build = {}};
    const std::string text = getString(GL_VERSION);
    if (text.empty()) {
        logMessage(Log::Error, category, "OpenGL returned an empty GL_VERSION string, missing GL context?");
        return version;
    }
    const auto parts = String::split(text, " ", String::SplitOption::SkipEmpty);
    if (parts.empty()) {
        logMessage(Log::Error, category, "Unable to read OpenGl version");
        return version;
    }
    const bool thirdIsVersion =
        (parts.size() > 2 && parts[1] == "ES") || (parts.size() == 3 && parts[0] == "OpenGL");
    const auto numbers = String::split(parts[thirdIsVersion ? 2 : 0], ". ");
    version.major = std::stoi(numbers[0]);
    if (numbers.size() > 1)
        version.minor = std::stoi(numbers[1]);
    return version;
}

PlatformInfo platformInfo() {
    DriverTexts texts = driverTexts();
    PlatformInfo info;
    info.vendorString = std::move(texts.vendor);
    info.rendererString = std::move(texts.renderer);
    info.extensionList = std::move(texts.extensions);
    info.versionString = getString(GL_VERSION);
    info.glslVersionString = getString(GL_SHADING_LANGUAGE_VERSION);
    info.vendor = vendorOf(info);
    return info;
}

MemoryInfo memoryInfo() {
    MemoryInfo info;
    if (GLAD_GL_NVX_gpu_memory_info) {
        info.totalAvailable = kilobytes(getInt(GL_GPU_MEMORY_INFO_TOTAL_AVAILABLE_MEMORY_NVX));
        info.dedicated = kilobytes(getInt(GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX));
        info.currentAvailable = kilobytes(getInt(GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX));
    } else if (GLAD_GL_ATI_meminfo) {
        std::array<GLint, 4> values{};
        glGetIntegerv(GL_TEXTURE_FREE_MEMORY_ATI, values.data());
        info.currentAvailable = kilobytes(values[3]);
        logMessage(
            Log::Warning, category,
            "GL_NVX_gpu_memory_info extension not available, can not query total available GPU memory");
    } else {
        logMessage(Log::Warning, category,
                   "Neither GL_NVX_gpu_memory_info nor GL_ATI_meminfo extensions available, can not query "
                   "total GPU memory information.");
    }
    return info;
}

bool getBool(GLenum name) {
    return firstNumber(glGetBooleanv, name) == GL_TRUE;
}

int getInt(GLenum name) {
    return firstNumber(glGetIntegerv, name);
}

int getIntIndexed(GLenum name, GLuint index) {
    std::array<GLint, maximumComponents> values{};
    glGetIntegeri_v(name, index, values.data());
    return values[0];
}

float getFloat(GLenum name) {
    return firstNumber(glGetFloatv, name);
}

std::string getString(GLenum name) {
    const GLubyte* const text = glGetString ? glGetString(name) : nullptr;
    return text ? reinterpret_cast<const char*>(text) : "";
}

GLenum getGraphicsResetStatus() {
    return glGetGraphicsResetStatus ? glGetGraphicsResetStatus() : GLenum{GL_NO_ERROR};
}

void clearColorBuffer(const Eigen::Vector4f& color) {
    glClearColor(color.x(), color.y(), color.z(), color.w());
    glClear(GL_COLOR_BUFFER_BIT);
}

void clearDepthBuffer(double depth) {
    glClearDepthf(static_cast<GLfloat>(depth));
    glClear(GL_DEPTH_BUFFER_BIT);
}

void memoryBarrier(Flags<Barrier> barriers) {
    if (glMemoryBarrier)
        glMemoryBarrier(barriers.value());
    else
        logMessage(Log::Error, category, "Memory barriers require at least OpenGL 4.2.");
}

void flush() {
    glFlush();
}

void finish() {
    glFinish();
}

Eigen::Matrix4d createOrtho(double left, double right, double bottom, double top, double near, double far) {
    Eigen::Matrix4d m = Eigen::Matrix4d::Zero();
    m(0, 0) = 2 / (right - left);
    m(1, 1) = 2 / (top - bottom);
    m(2, 2) = -2 / (far - near);
    m(0, 3) = -(right + left) / (right - left);
    m(1, 3) = -(top + bottom) / (top - bottom);
    m(2, 3) = -(far + near) / (far - near);
    m(3, 3) = 1;
    return m;
}

Eigen::Matrix4d createOrtho2d(int width, int height) {
    return createOrtho(0, width, 0, height, -1, 1);
}

Eigen::Matrix4d createPerspective(double fovy, double aspect, double near, double far) {
    const double c = 1 / std::tan(fovy / 2);
    Eigen::Matrix4d m = Eigen::Matrix4d::Zero();
    m(0, 0) = c / aspect;
    m(1, 1) = c;
    m(2, 2) = (near + far) / (near - far);
    m(2, 3) = 2 * far * near / (near - far);
    m(3, 2) = -1;
    return m;
}

void setDpiScale(double scale) {
    g_dpiScale = scale;
}

double dpiScale() {
    return g_dpiScale;
}

} // namespace Veltrand::GL
