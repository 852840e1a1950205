// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/OrderIndependentTransparency.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/NodeBudget.h>
#include <Veltrand/GL/detail/ScopedState.h>

#include <Eigen/Core>
#include <algorithm>
#include <exception>
#include <glad/gl.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<OrderIndependentTransparency>);

namespace {

constexpr std::string_view category = "GL.OrderIndependentTransparency";
constexpr GLuint counterBinding = 6;
constexpr GLuint endOfList = 0xFFFFFFFF;

/// Lets what a fragment shader writes reach the first draw buffer, and nothing else, unchanged; then puts
/// back what the caller had set.
class PlainOutput : private Utils::NotCopyable {
    DrawingBindings m_bindings;
    SquareDrawing m_square;
    UntestedFragments m_tests;
    DisabledIndices m_blending{GL_BLEND, 1};
    FirstBufferOnly m_buffers{FirstBufferOnly::First::Written};
};

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
        m_blendProgram = Program::createVertexFragment("VeltrandGL/FixedFunctionPipeline.vert",
                                                       "VeltrandGL/OrderIndependentTransparencyBlend.frag",
                                                       "", Program::Compilation::ImmediateThrow);
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

// Tells once per size what the frame before must lack however often it is drawn. Its image may have gone
// since.
void OrderIndependentTransparency::warnOfLack(unsigned demand, std::int64_t framePixels,
                                              std::int64_t imagePixels) {
    const unsigned most = NodeBudget{m_maxNodes}.largestGrowth(imagePixels, m_nodesPerPixel);
    if (demand > most && framePixels > 0 && !std::exchange(m_hasWarned, true))
        logMessage(Log::Warning, category, [&] {
            return "A frame of " + std::to_string(framePixels) + " pixels has " + std::to_string(demand) +
                   " transparent fragments, but only " + std::to_string(most) +
                   " can be stored; the others are dropped.";
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
        m_hasWarned = false;
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
    m_blendProgram->enable();
    setListArguments(*m_blendProgram, false);
    m_blendProgram->setArgument("u_backgroundColor", backgroundColor, *m_sampler);
    m_blendProgram->setArgument("u_backgroundDepth", backgroundDepth, *m_sampler);
    FullscreenSquare::get()->drawFilled();
    m_blendProgram->unbindImages(true);
    m_blendProgram->unbindBuffers();
    m_blendProgram->disable();
}

} // namespace Veltrand::GL
