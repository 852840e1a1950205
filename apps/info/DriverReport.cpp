// SPDX-License-Identifier: BSD-3-Clause
#include "info/Report.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>

#include <algorithm>

namespace Veltrand::Apps {

namespace {

constexpr GL::GLenum ContextFlags = 0x821E;              // GL_CONTEXT_FLAGS
constexpr GL::GLenum ContextProfileMask = 0x9126;        // GL_CONTEXT_PROFILE_MASK
constexpr GL::GLenum ResetNotificationStrategy = 0x8256; // GL_RESET_NOTIFICATION_STRATEGY
constexpr int CoreProfileBit = 1;                        // GL_CONTEXT_CORE_PROFILE_BIT
constexpr int DebugFlag = 2;                             // GL_CONTEXT_FLAG_DEBUG_BIT
constexpr int LoseContextOnReset = 0x8252;               // GL_LOSE_CONTEXT_ON_RESET

/// Ten times the major version, plus the minor one.
int version() {
    const auto info = GL::versionInfo();
    return 10 * info.major + info.minor;
}

std::string versionText(int number) {
    return std::to_string(number / 10) + "." + std::to_string(number % 10);
}

bool hasExtension(std::string_view name) {
    const auto extensions = GL::platformInfo().extensionList;
    return std::find(extensions.begin(), extensions.end(), name) != extensions.end();
}

/// What a feature of the library needs of OpenGL, and what happens where that is missing.
struct Feature {
    const char* name;
    int version;
    const char* extension; ///< that serves as well; may be null
    const char* otherwise;
};

constexpr Feature features[] = {
    {"image units, memory barriers", 42, nullptr, "refused and logged"},
    {"atomic counter buffers", 42, nullptr, "refused and logged"},
    {"compute programs", 43, nullptr, "refused and logged"},
    {"shader storage buffers", 43, nullptr, "refused and logged"},
    {"driver messages in the log", 43, "GL_KHR_debug", "only errors that are asked for"},
    {"clearing textures in one call", 44, nullptr, "done through a framebuffer or an upload"},
    {"detecting GPU resets", 45, nullptr, "no reset is ever reported"},
};

} // namespace

Section driverSection() {
    Section section{"OpenGL"};
    const GL::PlatformInfo platform = GL::platformInfo();
    section.add("version", platform.versionString);
    section.add("GLSL", platform.glslVersionString);
    section.add("vendor", platform.vendorString);
    section.add("renderer", platform.rendererString);
    section.add("profile", (GL::getInt(ContextProfileMask) & CoreProfileBit) != 0 ? "core" : "compatibility");
    section.add("debug context", (GL::getInt(ContextFlags) & DebugFlag) != 0 ? "yes" : "no");
    if (version() >= 45)
        section.add("lost on a GPU reset",
                    GL::getInt(ResetNotificationStrategy) == LoseContextOnReset ? "yes" : "no");
    return section;
}

Section memorySection() {
    Section section{"GPU memory"};
    const GL::MemoryInfo memory = GL::memoryInfo();
    const auto add = [&section](const char* name, ByteSize size) {
        section.add(name, size > ByteSize() ? size.toString() : "not told by the driver");
    };
    add("available now", memory.currentAvailable);
    add("available in all", memory.totalAvailable);
    add("dedicated", memory.dedicated);
    return section;
}

Section limitsSection() {
    static constexpr struct {
        const char* name;
        GL::GLenum value;
        int version = 33;
    } limits[] = {
        {"texture width and height", 0x0D33},                // GL_MAX_TEXTURE_SIZE
        {"volume width, height and depth", 0x8073},          // GL_MAX_3D_TEXTURE_SIZE
        {"texture layers", 0x88FF},                          // GL_MAX_ARRAY_TEXTURE_LAYERS
        {"texture units", 0x8B4D},                           // GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS
        {"framebuffer layers", 0x9317, 43},                  // GL_MAX_FRAMEBUFFER_LAYERS
        {"colour attachments", 0x8CDF},                      // GL_MAX_COLOR_ATTACHMENTS
        {"draw buffers", 0x8824},                            // GL_MAX_DRAW_BUFFERS
        {"samples per pixel", 0x8D57},                       // GL_MAX_SAMPLES
        {"viewport width", 0x0D3A},                          // GL_MAX_VIEWPORT_DIMS
        {"vertex attributes", 0x8869},                       // GL_MAX_VERTEX_ATTRIBS
        {"uniform block bytes", 0x8A30},                     // GL_MAX_UNIFORM_BLOCK_SIZE
        {"image units", 0x8F38, 42},                         // GL_MAX_IMAGE_UNITS
        {"atomic counter buffers", 0x92DC, 42},              // GL_MAX_ATOMIC_COUNTER_BUFFER_BINDINGS
        {"shader storage buffers", 0x90DD, 43},              // GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS
        {"shader storage block bytes", 0x90DE, 43},          // GL_MAX_SHADER_STORAGE_BLOCK_SIZE
        {"compute invocations in a work group", 0x90EB, 43}, // GL_MAX_COMPUTE_WORK_GROUP_INVOCATIONS
    };
    Section section{"Limits"};
    for (const auto& limit : limits)
        if (version() >= limit.version)
            section.add(limit.name, std::to_string(GL::getInt(limit.value)));
    return section;
}

Section featuresSection() {
    Section section{"Features of the library"};
    for (const Feature& feature : features) {
        const bool works =
            version() >= feature.version || (feature.extension && hasExtension(feature.extension));
        std::string answer = "yes";
        if (!works) {
            answer = "no, needs OpenGL " + versionText(feature.version);
            if (feature.extension)
                answer.append(" or ").append(feature.extension);
            answer.append("; ").append(feature.otherwise);
        }
        section.add(feature.name, answer);
    }
    section.add("order-independent transparency",
                GL::OrderIndependentTransparency::isSupported()
                    ? "yes"
                    : "no, needs OpenGL 4.4; callers fall back to ordinary blending");
    return section;
}

Section extensionsSection() {
    Section section{"Extensions"};
    for (const std::string& name : GL::platformInfo().extensionList)
        section.add(name, "");
    return section;
}

} // namespace Veltrand::Apps
