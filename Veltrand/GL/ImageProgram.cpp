// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ImageProgram.h>

#include <Veltrand/Core/Timer.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/detail/ImagePlan.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/ScopedState.h>
#include <Veltrand/GL/detail/Texels.h>

#include <Eigen/Core>
#include <algorithm>
#include <chrono>
#include <glad/gl.h>
#include <optional>
#include <thread>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<ImageProgram>);

namespace {

constexpr std::string_view category = "GL.ImageProgram";
constexpr const char* layeredDefine = "_IMGPROG_USE_GS";
constexpr const char* boxDefine = "_IMGPROG_USE_BOX_TEX_COORDS";

// What a program computes through unless it was given a framebuffer.
class SharedFBO final : public InstanceManager<SharedFBO>, public Framebuffer {};

constexpr std::array conversions = {GLenum{GL_FRAMEBUFFER_SRGB}};

std::vector<Program::StageName> stages(const std::string& fragmentShader, bool useGeometryShader) {
    std::vector<Program::StageName> names{{Program::Stage::Vertex, "VeltrandGL/ImageProgram.vert"}};
    if (useGeometryShader)
        names.emplace_back(Program::Stage::Geometry, "VeltrandGL/ImageProgram.geom");
    names.emplace_back(Program::Stage::Fragment, fragmentShader.c_str());
    return names;
}

// Width, height and slices; layers are slices also where the texture counts them in its height.
std::array<int, 3> sizeInSlices(const Texture& texture) {
    if (texture.target() == Texture::Target::Texture1DArray)
        return {texture.width(), 1, texture.height()};
    return {texture.width(), texture.height(), texture.depth()};
}

int numSlices(const Texture& texture) {
    return sizeInSlices(texture)[2];
}

const Texture* firstOutput(const std::vector<Texture*>& outputs) {
    const auto found = std::find_if(outputs.begin(), outputs.end(), [](const Texture* t) { return t; });
    if (found != outputs.end())
        return *found;
    logMessage(Log::Error, category, "compute() not started because no valid output was passed.");
    return nullptr;
}

// Attaches one slice of each output, or all of them without @p slice.
void attach(Framebuffer& framebuffer, const std::vector<Texture*>& outputs, std::optional<int> slice) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (!outputs[i])
            continue;
        Texture& output = *outputs[i];
        const auto attachment = static_cast<Framebuffer::Attachment>(GL_COLOR_ATTACHMENT0 + i);
        const int slices = numSlices(output);
        if (slice && slices > 1 && *slice < slices)
            framebuffer.attachLayer(output, attachment, *slice);
        else
            framebuffer.attach(output, attachment);
    }
    framebuffer.setDrawBuffers();
}

int maxFramebufferLayers() {
    constexpr int leastWithoutQuery = 2048;
    if (!GLAD_GL_VERSION_4_3)
        return leastWithoutQuery;
    static const int limit = getInt(GL_MAX_FRAMEBUFFER_LAYERS);
    return limit;
}

bool fitsLayers(int slices) {
    if (slices <= maxFramebufferLayers())
        return true;
    logMessage(Log::Warning, category,
               "Number of slices in output exceeds GL_MAX_FRAMEBUFFER_LAYERS, falling back to non-Geometry "
               "Shader mode.");
    return false;
}

double milliseconds(const Timer& timer) {
    return timer.elapsedSeconds() * 1000.0;
}

void logPlan(const ChunkPlan& plan, const TimeoutSettings& settings) {
    const auto log = [](auto&& text) { logMessage(Log::Debug, category, text); };
    const auto text = [](auto number) { return std::to_string(number); };
    const std::string limit = text(static_cast<int>(imageTimeLimit));
    log([&] {
        return "Computing a slice took " + text(plan.millisecondsPerSlice) + "ms; limit is: " + limit +
               "ms; computing remaining slices would take " + text(plan.estimate) + "ms";
    });
    if (settings.forceSplit) {
        log("Forcing split of GlImageProgram computation");
    } else if (plan.chunks == 0) {
        log("No need to split the computation; rendering the rest");
        return;
    } else {
        log([&] {
            return "The initial " + text(settings.initialSlices) +
                   " slices were rendered; computing all remaining " + text(plan.remaining) +
                   " slices at once would exceed the OpenGL timeout";
        });
    }
    log([&] {
        return "Splitting computation of GL program in " + text(plan.chunks) + " chunks of " +
               text(plan.slicesPerChunk) + " slices each, and a last chunk of " + text(plan.lastChunk) +
               " slices";
    });
    const double chunkTime = plan.slicesPerChunk * plan.millisecondsPerSlice;
    if (chunkTime < imageTimeLimit)
        log([&] { return "Each chunk should take " + text(chunkTime) + " ms which is below " + limit; });
}

} // namespace

// Binds the framebuffer and holds on to the state of the caller for the length of a computation.
class ImageProgram::Computation : private Utils::NotCopyable {
public:
    explicit Computation(ImageProgram& program)
        : m_program(program)
        , m_guard({StateGuard::SaveFlags::Framebuffer, StateGuard::SaveFlags::Program,
                   StateGuard::SaveFlags::Viewport}) {
        program.ensureFboIsBound();
    }
    ~Computation() {
        VertexBuffer::unbind();
        m_program.m_fbo->clearDrawBuffers();
        m_program.m_fbo->detachAll();
    }

    // Makes framebuffer and program ready to draw.
    [[nodiscard]] bool start(const Outputs& outputs, std::optional<int> slice, int slices) {
        if (!checkNumber(outputs))
            return false;
        attach(*m_program.m_fbo, outputs, slice);
        if (!m_program.m_fbo->isComplete()) {
            logMessage(Log::Error, category,
                       "compute() aborted because the FBO is not complete. Please check that all output "
                       "textures have a format that can be attached to a FBO.");
            return false;
        }
        if (!checkSlices(outputs, slices) || m_program.hasFailedToCompile() ||
            !m_program.compile(Compilation::Immediate))
            return false;
        m_program.enable();
        return true;
    }

private:
    static bool checkNumber(const Outputs& outputs) {
        for (std::size_t i = Framebuffer::maxColorAttachments; i < outputs.size(); ++i) {
            if (!outputs[i])
                continue;
            logMessage(Log::Error, category, [i] {
                return "compute() aborted because there is no colour attachment for output " +
                       std::to_string(i) + ".";
            });
            return false;
        }
        return true;
    }

    static bool checkSlices(const Outputs& outputs, int slices) {
        for (const Texture* output : outputs) {
            if (!output || numSlices(*output) >= slices)
                continue;
            logMessage(Log::Error, category, [output, slices] {
                return "compute() aborted because an output has " + std::to_string(numSlices(*output)) +
                       " slices where " + std::to_string(slices) + " are needed.";
            });
            return false;
        }
        return true;
    }

    ImageProgram& m_program;
    StateGuard m_guard;
    SquareDrawing m_drawing;
    UntestedFragments m_tests;
    AllBuffersWritten m_buffers;
    DisabledCapabilities m_conversions{conversions};
};

ImageProgram::ImageProgram(const std::string& fragmentShader, const std::string& defines,
                           bool useGeometryShader, TexCoordMode texCoordMode, Compilation compilation)
    : Program(stages(fragmentShader, useGeometryShader), "", Compilation::Deferred)
    , m_texCoordMode(texCoordMode)
    , m_useGeometryShader(useGeometryShader)
    , m_timeoutSettings(std::make_unique<TimeoutSettings>())
    , m_fragmentShader(fragmentShader) {
    ImageProgram::setDefines(defines, compilation);
    m_square = VertexBuffer::createFullscreenSquare();
}

ImageProgram::~ImageProgram() = default;
ImageProgram::ImageProgram(ImageProgram&& other) noexcept
    : Program(std::move(other))
    , m_square(std::move(other.m_square))
    , m_fbo(std::exchange(other.m_fbo, nullptr))
    , m_texCoordMode(other.m_texCoordMode)
    , m_clearColor(other.m_clearColor)
    , m_clearOutput(std::exchange(other.m_clearOutput, false))
    , m_useGeometryShader(other.m_useGeometryShader)
    , m_userFbo(std::exchange(other.m_userFbo, false))
    , m_avoidDriverTimeout(std::exchange(other.m_avoidDriverTimeout, false))
    , m_timeoutSettings(std::move(other.m_timeoutSettings))
    , m_fragmentShader(std::move(other.m_fragmentShader)) {}

ImageProgram& ImageProgram::operator=(ImageProgram&& other) noexcept {
    if (this == &other)
        return *this;
    m_square = std::move(other.m_square);
    m_fbo = std::exchange(other.m_fbo, nullptr);
    m_texCoordMode = other.m_texCoordMode;
    m_clearColor = other.m_clearColor;
    m_clearOutput = std::exchange(other.m_clearOutput, false);
    m_useGeometryShader = other.m_useGeometryShader;
    m_userFbo = std::exchange(other.m_userFbo, false);
    m_avoidDriverTimeout = std::exchange(other.m_avoidDriverTimeout, false);
    m_timeoutSettings = std::move(other.m_timeoutSettings);
    m_fragmentShader = std::move(other.m_fragmentShader);
    Program::operator=(std::move(other));
    return *this;
}

bool ImageProgram::setDefines(const std::string& defines, Compilation compilation) {
    std::string all = defines;
    if (m_useGeometryShader)
        all = withDefine(std::move(all), layeredDefine);
    if (m_texCoordMode == TexCoordMode::Box)
        all = withDefine(std::move(all), boxDefine);
    return Program::setDefines(all, compilation);
}

std::string ImageProgram::genericSamplerDefine(bool is3D) {
    return is3D ? "#define SAMPLER_TYPE sampler3D\n#define SAMPLER_COORDS xyz\n#define SAMPLER_3D\n"
                : "#define SAMPLER_TYPE sampler2D\n#define SAMPLER_COORDS xy\n#define SAMPLER_2D\n";
}

std::unique_ptr<ImageProgram> ImageProgram::clone(Flags<Cloning> flags, Compilation compilation) const {
    // Program::clone makes what cloneImpl makes.
    return std::unique_ptr<ImageProgram>(
        static_cast<ImageProgram*>(Program::clone(flags, compilation).release()));
}

std::unique_ptr<Program> ImageProgram::cloneImpl() const {
    auto copy = std::make_unique<ImageProgram>(m_fragmentShader, defines(), m_useGeometryShader,
                                               m_texCoordMode, Compilation::Deferred);
    copy->m_clearColor = m_clearColor;
    copy->m_clearOutput = m_clearOutput;
    copy->m_avoidDriverTimeout = m_avoidDriverTimeout;
    *copy->m_timeoutSettings = *m_timeoutSettings;
    if (m_userFbo)
        copy->setFBO(m_fbo);
    return copy;
}

void ImageProgram::setFBO(Framebuffer* framebuffer) {
    m_fbo = framebuffer;
    m_userFbo = framebuffer != nullptr;
}

void ImageProgram::setClearOutputEnabled(bool enabled, const Eigen::Vector4f& color) {
    m_clearOutput = enabled;
    std::copy_n(color.data(), m_clearColor.size(), m_clearColor.begin());
}

void ImageProgram::ensureFboIsBound() {
    if (m_userFbo) {
        m_fbo->bind();
        return;
    }
    m_fbo = SharedFBO::get();
    m_fbo->bind();
    m_fbo->detachAll();
    // Drivers before 4.1 want an attachment to read from unless told otherwise, and the first may be skipped.
    glReadBuffer(GL_NONE);
}

void ImageProgram::compute(Texture& output, const Cuboid& cuboid) {
    compute(Outputs{&output}, cuboid);
}

void ImageProgram::compute(const Outputs& outputs, const Cuboid& cuboid) {
    const Texture* const first = firstOutput(outputs);
    if (!first || id() == 0)
        return;
    const std::array<int, 3> size = sizeInSlices(*first);
    const ImageRegion region = planRegion(size, cuboid.box());
    if (region.isEmpty())
        return;
    const bool layered = m_useGeometryShader && fitsLayers(size[2]);

    Computation computation(*this);
    const DisabledIndices blending(GL_BLEND, Framebuffer::maxColorAttachments);
    if (!computation.start(outputs, layered ? std::nullopt : std::optional(region.firstSlice), size[2]))
        return;
    setUniforms(size, region, layered, layered);
    if (m_clearOutput)
        clearOutputs(outputs);
    m_square->bind();
    if (size[2] == 1) {
        static_cast<void>(checkForUnititializedUniforms());
        m_square->draw(Primitive::TriangleFan);
    } else if (layered) {
        computeLayered(region);
    } else {
        computeSliceBySlice(outputs, region);
    }
}

void ImageProgram::computeReduceZ(Texture& output, int outputLayer, int numSlices, const Cuboid& cuboid) {
    computeReduceZ(Outputs{&output}, outputLayer, numSlices, cuboid);
}

void ImageProgram::computeReduceZ(const Outputs& outputs, int outputLayer, int numSlices,
                                  const Cuboid& cuboid) {
    const Texture* const first = firstOutput(outputs);
    if (!first || id() == 0)
        return;
    if (outputLayer < 0 || numSlices < 1) {
        logMessage(Log::Error, category, [outputLayer, numSlices] {
            return "computeReduceZ() not started: it cannot reduce " + std::to_string(numSlices) +
                   " slices to slice " + std::to_string(outputLayer) + ".";
        });
        return;
    }
    const auto [width, height, depth] = sizeInSlices(*first);
    const std::array<int, 3> size{width, height, numSlices};
    const ImageRegion region = planRegion(size, cuboid.box());
    if (region.isEmpty())
        return;

    Computation computation(*this);
    if (!computation.start(outputs, outputLayer, outputLayer + 1))
        return;
    setUniforms(size, region, false, true);
    static_cast<void>(checkForUnititializedUniforms());
    if (m_clearOutput)
        clearOutputs(outputs);
    m_square->bind();
    m_square->drawInstanced(Primitive::TriangleFan, region.slices);
}

void ImageProgram::setUniforms(const std::array<int, 3>& size, const ImageRegion& region, bool layered,
                               bool instanced) {
    const auto [width, height, slices] = size;
    const auto ratio = [](int part, int whole) {
        return static_cast<float>(static_cast<double>(part) / whole);
    };
    setArgument("_cp_numSlices", slices);
    setArgument("_cp_numSlicesBox", region.slices);
    setArgument("_cp_slicesOffsetBox", region.firstSlice);
    setArgument("_cp_assignLayer", layered);
    setArgument("_cp_scale", Eigen::Vector2f(ratio(region.width, width), ratio(region.height, height)));
    setArgument("_cp_shift", Eigen::Vector2f(ratio(region.x, width), ratio(region.y, height)));
    setArgument("_cp_instanceOffset", region.firstSlice);
    setArgument("_cp_currentSlice", region.firstSlice);
    setArgument("_cp_isInstanced", instanced);
    glViewport(0, 0, width, height);
}

// One output at a time, because only then integer formats can be cleared; the clear colour stays as it is.
void ImageProgram::clearOutputs(const Outputs& outputs) const {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (!outputs[i])
            continue;
        const auto buffer = static_cast<GLint>(i);
        const InternalFormat format = outputs[i]->internalFormat();
        if (format.isSignedIntegerFormat()) {
            std::array<GLint, 4> color{};
            std::transform(m_clearColor.begin(), m_clearColor.end(), color.begin(), toInt);
            glClearBufferiv(GL_COLOR, buffer, color.data());
        } else if (format.isUnsignedIntegerFormat()) {
            std::array<GLuint, 4> color{};
            std::transform(m_clearColor.begin(), m_clearColor.end(), color.begin(), toUInt);
            glClearBufferuiv(GL_COLOR, buffer, color.data());
        } else {
            glClearBufferfv(GL_COLOR, buffer, m_clearColor.data());
        }
    }
}

void ImageProgram::drawInstances(int firstSlice, int slices) {
    if (slices == 0)
        return;
    setArgument("_cp_instanceOffset", firstSlice);
    m_square->drawInstanced(Primitive::TriangleFan, slices);
}

void ImageProgram::computeLayered(const ImageRegion& region) {
    using namespace std::chrono_literals;
    static_cast<void>(checkForUnititializedUniforms());
    const int initial = m_timeoutSettings->initialSlices;
    if (!m_avoidDriverTimeout || initial > region.slices) {
        drawInstances(region.firstSlice, region.slices);
        return;
    }
    const Timer timer;
    drawInstances(region.firstSlice, initial);
    finish();
    const ChunkPlan plan = planChunks(region.slices, milliseconds(timer), *m_timeoutSettings);
    logPlan(plan, *m_timeoutSettings);

    int done = initial;
    for (int chunk = 1; chunk <= plan.chunks; ++chunk) {
        drawInstances(region.firstSlice + done, plan.slicesPerChunk);
        finish();
        done += plan.slicesPerChunk;
        logMessage(Log::Debug, category, [&] {
            return "Rendered chunk " + std::to_string(chunk) + " out of " + std::to_string(plan.chunks) +
                   "; " + std::to_string(plan.slicesPerChunk) + " slices for a total of " +
                   std::to_string(done) + " slices";
        });
        std::this_thread::sleep_for(100ms);
    }
    drawInstances(region.firstSlice + done, plan.lastChunk);
    if (plan.chunks > 0)
        finish();
}

void ImageProgram::computeSliceBySlice(const Outputs& outputs, const ImageRegion& region) {
    const int initial = m_timeoutSettings->initialSlices;
    const Timer timer;
    int interval = region.slices;
    for (int i = 0; i < region.slices; ++i) {
        const int slice = region.firstSlice + i;
        setArgument("_cp_currentSlice", slice);
        if (i > 0) {
            attach(*m_fbo, outputs, slice);
            if (m_clearOutput)
                clearOutputs(outputs);
        }
        static_cast<void>(checkForUnititializedUniforms());
        m_square->draw(Primitive::TriangleFan);

        const int done = i + 1;
        if (!m_avoidDriverTimeout || done < initial)
            continue;
        if (done == initial) {
            finish();
            const ChunkPlan plan = planChunks(region.slices, milliseconds(timer), *m_timeoutSettings);
            logPlan(plan, *m_timeoutSettings);
            interval = plan.finishInterval;
        } else if ((done - initial) % interval == 0) {
            finish();
        }
    }
}

} // namespace Veltrand::GL
