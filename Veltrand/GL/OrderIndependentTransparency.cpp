// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/OrderIndependentTransparency.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/NodeBudget.h>
#include <Veltrand/GL/detail/PixelStore.h>
#include <Veltrand/GL/detail/ScopedState.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <exception>
#include <glad/gl.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<OrderIndependentTransparency>);

namespace {

using Compilation = Program::Compilation;

constexpr std::string_view category = "GL.OrderIndependentTransparency";
constexpr const char* vertexShader = "VeltrandGL/FixedFunctionPipeline.vert";
constexpr const char* blendShader = "VeltrandGL/OrderIndependentTransparencyBlend.frag";
constexpr GLuint counterBinding = 6;
constexpr GLuint endOfList = 0xFFFFFFFF;
constexpr unsigned surelySorted = 1024; // as many fragments as every driver sorts

/// Lets what a fragment shader writes reach the first draw buffer, and nothing else, unchanged; then puts
/// back what the caller had set.
class PlainOutput : private Utils::NotCopyable {
    // Samples would let a pixel on the square's diagonal be shaded twice, at the same time.
    static constexpr std::array samples = {GLenum{GL_MULTISAMPLE}};

    DrawingBindings m_bindings;
    SquareDrawing m_square;
    UntestedFragments m_tests;
    DisabledCapabilities m_samples{samples};
    DisabledIndices m_blending{GL_BLEND, 1};
    FirstBufferOnly m_buffers{FirstBufferOnly::First::Written};
};

/// How depths that a shader reads are to be compared with those of fragments.
struct DepthSteps {
    float number;    ///< from 0 to 1 in the texture's format
    float read;      ///< the same, as the driver computes what is read
    float tolerance; ///< by how many a depth may be read too high
};

constexpr float stepsOf24Bits = 0x1p24F - 1;

// How many steps of a 24-bit depth lie between 0 and 1 for a shader that reads it. Mesa's software drivers
// multiply by a rounded factor, so that half of the depths come out one step too deep.
float measureReadSteps() {
    constexpr float depth = 0.8125F;
    constexpr double step = 13631487; // that depth, rounded
    constexpr const char* readDepth = "#version 330\n"
                                      "uniform sampler2D u_depth;\n"
                                      "layout(location = 0) out float out_depth;\n"
                                      "void main() { out_depth = texelFetch(u_depth, ivec2(0), 0).r; }\n";
    // The blend program would do, but software drivers generate that for longer than all else here takes.
    const auto program = Program::createVertexFragment(vertexShader, blendShader, "", Compilation::Deferred);
    if (!program->overrideShaderSource(Program::Stage::Fragment, readDepth, Compilation::Immediate))
        return stepsOf24Bits;
    const TextureBinding binding(GL_TEXTURE_2D);
    const ReadFramebuffer reading;
    const Eigen::Vector3i texel(1, 1, 1);
    Texture source(Texture::Target::Texture2D, texel, InternalFormat::DepthComponent24);
    source.clear<float>({depth, 0, 0, 0});
    Texture target(Texture::Target::Texture2D, texel, InternalFormat::R32F);

    const StateGuard guard(StateGuard::SaveFlags::Program | StateGuard::SaveFlags::Framebuffer |
                           StateGuard::SaveFlags::Viewport);
    Framebuffer framebuffer;
    framebuffer.bind();
    framebuffer.attach(target, 0);
    framebuffer.setDrawBuffers();
    Viewport{0, 0, 1, 1}.set();
    program->enable();
    program->setArgument("u_depth", source);
    FullscreenSquare::get()->drawFilled();
    program->unbindImages(true);
    program->disable();
    float read = 0;
    {
        const PlainTransfer plain(TransferDirection::Download);
        glReadPixels(0, 0, 1, 1, GL_RED, GL_FLOAT, &read);
    }
    const auto steps = static_cast<float>(step / double{read});
    const bool isPlausible = std::abs(steps - stepsOf24Bits) < 4;
    return isPlausible ? steps : stepsOf24Bits;
}

/// Of the 2D texture that is bound to the active unit, which may hold depths as colours, too.
DepthSteps boundDepthSteps(float readStepsOf24Bits) {
    constexpr float exact = 0x1p100F;               // so many that floats are not rounded
    constexpr float stepsWithinFloat = 0x1p23F - 1; // of finer formats, which do not fit into what is read
    GLint bits = 0;
    GLint type = GL_NONE;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_DEPTH_SIZE, &bits);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_DEPTH_TYPE, &type);
    if (type != GL_UNSIGNED_NORMALIZED || bits <= 0)
        return {exact, exact, 0};
    if (bits > 24)
        return {stepsWithinFloat, stepsWithinFloat, 1};
    if (bits == 24)
        return {stepsOf24Bits, readStepsOf24Bits, 0};
    const float steps = std::exp2(static_cast<float>(bits)) - 1;
    return {steps, steps, 0};
}

std::int64_t maxStorageBlockSize() {
    GLint64 bytes = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &bytes);
    return bytes;
}

} // namespace

bool OrderIndependentTransparency::m_enabled = true;

bool OrderIndependentTransparency::isSupported() {
    return m_enabled && GLAD_GL_VERSION_4_4;
}

OrderIndependentTransparency::OrderIndependentTransparency() {
    if (!isSupported())
        throw std::runtime_error("GL::OrderIndependentTransparency requires OpenGL 4.4");
    try {
        m_blendProgram =
            Program::createVertexFragment(vertexShader, blendShader, "", Compilation::ImmediateThrow);
    } catch (const std::exception& exception) {
        m_enabled = false;
        logMessage(Log::Warning, category, [&exception] {
            return std::string("The blend program could not be built: ") + exception.what();
        });
        throw std::runtime_error(
            "Order-independent transparency functionality disabled due to driver issues.");
    }
    for (auto& counter : m_nodeCounters)
        counter = std::make_unique<AtomicCounterBuffer>(1, Buffer::Usage::DynamicRead);
    m_incompletePixels = std::make_unique<AtomicCounterBuffer>(1, Buffer::Usage::DynamicRead);
    m_incompletePixels->reset(0);
    AtomicCounterBuffer::unbind();
    m_nodeBuffer = std::make_unique<ShaderStorageBuffer>(Buffer::Usage::DynamicCopy);
    ShaderStorageBuffer::unbind();
    m_sampler = std::make_unique<Sampler>();
    m_sampler->setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
    m_maxNodes = NodeBudget::fromBlockSize(maxStorageBlockSize()).maxNodes;
}

OrderIndependentTransparency::~OrderIndependentTransparency() = default;
OrderIndependentTransparency::OrderIndependentTransparency(OrderIndependentTransparency&&) noexcept = default;
OrderIndependentTransparency&
OrderIndependentTransparency::operator=(OrderIndependentTransparency&&) noexcept = default;

std::int64_t OrderIndependentTransparency::numImagePixels() const {
    if (!m_nodeIndexImage)
        return 0;
    return std::int64_t{m_nodeIndexImage->width()} * m_nodeIndexImage->height();
}

unsigned OrderIndependentTransparency::numNodesTotal() const {
    return NodeBudget{m_maxNodes}.capacity(numImagePixels(), m_nodesPerPixel);
}

// Whether the image was created anew.
bool OrderIndependentTransparency::resize(int width, int height, bool forceRecreate) {
    m_width = width;
    m_height = height;
    if (width == 0 || height == 0)
        return false;
    const bool fits =
        m_nodeIndexImage && m_nodeIndexImage->width() >= width && m_nodeIndexImage->height() >= height;
    if (fits && !forceRecreate)
        return false;
    m_nodeIndexImage = std::make_unique<Texture>(Texture::Target::Texture2D,
                                                 Eigen::Vector3i(width, height, 1), InternalFormat::R32UI);
    return true;
}

// Whether there are more nodes per pixel than before.
bool OrderIndependentTransparency::grow(unsigned demand, std::int64_t framePixels) {
    if (demand <= numNodesTotal())
        return false;
    const int before = m_nodesPerPixel;
    m_nodesPerPixel =
        NodeBudget{m_maxNodes}.grownNodesPerPixel(demand, framePixels, numImagePixels(), before);
    if (m_nodesPerPixel > before)
        logMessage(Log::Debug, category, [this] {
            return "Increasing node buffer size to " + std::to_string(m_nodesPerPixel) + " nodes/pixel";
        });
    return m_nodesPerPixel > before;
}

// Tells once per size what the frame before lacks however often it is drawn; its image may have gone since.
void OrderIndependentTransparency::warnOfLack(unsigned demand, std::int64_t framePixels,
                                              std::int64_t imagePixels) {
    const unsigned most = NodeBudget{m_maxNodes}.largestGrowth(imagePixels, m_nodesPerPixel);
    if (demand > most && framePixels > 0 && !std::exchange(m_hasWarned, true))
        logMessage(Log::Warning, category, [&] {
            return "A frame of " + std::to_string(framePixels) + " pixels has " + std::to_string(demand) +
                   " transparent fragments, but only " + std::to_string(most) +
                   " can be stored; the others are dropped.";
        });
    if (demand <= surelySorted)
        return;
    m_incompletePixels->bind();
    const unsigned incomplete = m_incompletePixels->getData().at(0);
    if (incomplete == 0)
        return;
    m_incompletePixels->reset(0);
    if (!std::exchange(m_hasWarnedOfSorting, true))
        logMessage(Log::Warning, category, [incomplete] {
            return std::to_string(incomplete) + " pixels have more transparent fragments than the driver "
                                                "lets a shader sort; they lack some.";
        });
}

void OrderIndependentTransparency::reset(const Eigen::Vector2i& viewportSize, bool forceRecreate) {
    if (!m_blendProgram)
        return;
    const int width = std::max(viewportSize.x(), 0);
    const int height = std::max(viewportSize.y(), 0);
    const std::int64_t previousImagePixels = numImagePixels();
    const bool resized = width != m_width || height != m_height;
    const bool recreated = resized && resize(width, height, forceRecreate);
    memoryBarrier(Barrier::ShaderImageAccess | Barrier::TextureUpdate | Barrier::BufferUpdate |
                  Barrier::AtomicCounter);

    AtomicCounterBuffer& previous = *m_nodeCounters[m_counterIndex];
    const std::int64_t previousPixels = m_numPixels[m_counterIndex];
    m_counterIndex = (m_counterIndex + 1) % m_nodeCounters.size();
    previous.bind();
    const unsigned demand = previous.getData().at(0);

    const bool grown = grow(demand, previousPixels);
    warnOfLack(demand, previousPixels, previousImagePixels);
    if (resized)
        m_hasWarned = m_hasWarnedOfSorting = false;
    if (grown || recreated) {
        m_nodeBuffer->bind();
        m_nodeBuffer->allocateBuffer(std::int64_t{numNodesTotal()} * NodeBudget::bytesPerNode);
        ShaderStorageBuffer::unbind();
    }

    m_nodeCounters[m_counterIndex]->reset(0);
    AtomicCounterBuffer::unbind();
    m_numPixels[m_counterIndex] = std::int64_t{width} * height;
    if (m_nodeIndexImage)
        m_nodeIndexImage->clearImpl(PixelFormat::RedInteger, PixelType::UInt, &endOfList);
}

void OrderIndependentTransparency::setListArguments(Program& program, bool write) const {
    if (!m_blendProgram) {
        program.setArgument("oit_numNodesAllocated", 0U);
        return;
    }
    memoryBarrier(Barrier::ShaderImageAccess | Barrier::ShaderStorage);
    if (write)
        m_nodeCounters[m_counterIndex]->bindBase(counterBinding);
    // One that another object has bound would keep its binding point for good.
    program.unbindBuffers("oit_nodeBuffer");
    program.bindBuffer("oit_nodeBuffer", *m_nodeBuffer);
    // Without an image there are no nodes either, and the shaders leave the lists alone.
    if (m_nodeIndexImage)
        program.bindImage("oit_nodeIndexImg", *m_nodeIndexImage,
                          write ? Program::ImageAccess::ReadWrite : Program::ImageAccess::ReadOnly);
    program.setArgument("oit_numNodesAllocated", numNodesTotal());
}

void OrderIndependentTransparency::setIncludeArguments(Program& program) const {
    setListArguments(program, true);
}

void OrderIndependentTransparency::renderBlendedFragments(const Texture& backgroundColor,
                                                          const Texture& backgroundDepth) {
    if (!m_blendProgram)
        return;
    const StateGuard guard(StateGuard::SaveFlags::Program);
    const PlainOutput output;
    static const float readSteps = measureReadSteps();
    m_blendProgram->enable();
    setListArguments(*m_blendProgram, false);
    m_incompletePixels->bindBase(counterBinding);
    m_blendProgram->setArgument("u_backgroundColor", backgroundColor, *m_sampler);
    m_blendProgram->setArgument("u_backgroundDepth", backgroundDepth, *m_sampler);
    const DepthSteps steps = boundDepthSteps(readSteps);
    m_blendProgram->setArgument("u_depthSteps", steps.number);
    m_blendProgram->setArgument("u_readSteps", steps.read);
    m_blendProgram->setArgument("u_depthTolerance", steps.tolerance);
    FullscreenSquare::get()->drawFilled();
    m_blendProgram->unbindImages(true);
    m_blendProgram->unbindBuffers();
    m_blendProgram->disable();
    m_nodeCounters[m_counterIndex]->bindBase(counterBinding);
}

} // namespace Veltrand::GL
