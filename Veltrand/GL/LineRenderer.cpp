// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/LineRenderer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>
#include <Veltrand/GL/detail/DrawCalls.h>
#include <Veltrand/GL/detail/LineStipple.h>
#include <Veltrand/GL/detail/LineVertices.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <algorithm>
#include <cmath>
#include <glad/gl.h>
#include <string>

namespace Veltrand::GL {

namespace {

constexpr std::uint64_t programCapacity = 10;
constexpr std::uint64_t verticesPerPoint = 4;
constexpr unsigned short solid = 0xFFFF;

bool isLinePrimitive(Primitive primitive) {
    if (primitive == Primitive::Lines || primitive == Primitive::LineLoop ||
        primitive == Primitive::LineStrip)
        return true;
    logMessage(Log::Error, "", "Primitive must be Lines, LineLoop or LineStrip.");
    return false;
}

std::int64_t bytesOfPoints(const VertexBuffer& vertexBuffer) {
    return static_cast<std::int64_t>(vertexBuffer.numVertices() * 3 * sizeof(float));
}

bool canAccumulate(const VertexBuffer& vertexBuffer) {
    if (!GLAD_GL_VERSION_4_3 || getInt(GL_MAX_VERTEX_SHADER_STORAGE_BLOCKS) < 1)
        return false;
    GLint64 largestBlock = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &largestBlock);
    return bytesOfPoints(vertexBuffer) <= largestBlock;
}

// Whether `makeVertexData` has added the neighbours past repeated points.
bool hasRepeatedPoints(const VertexBuffer& vertexBuffer) {
    return vertexBuffer.attributes().size() == 6;
}

int numSegments(const VertexBuffer& vertexBuffer) {
    return static_cast<int>(vertexBuffer.numVertices() / verticesPerPoint) - 1;
}

// What all programs need to place points on the screen, and where a segment ends.
void setPlacement(Program& program, const LineRenderer::Options& options, const ViewState& viewState) {
    const Viewport& viewport = viewState.viewport();
    program.setArgument("u_modelViewProjectionMatrix",
                        Eigen::Matrix4d(viewState.modelViewProjectionMatrix() * options.modelMatrix));
    program.setArgument("u_viewportSize",
                        Eigen::Vector2i(viewport.width, viewport.height).cast<float>().eval());
    program.setArgument("u_viewportOffset", Eigen::Vector2i(viewport.x, viewport.y).cast<float>().eval());
    program.setArgument("u_stippleFactor", options.stippleFactor);
}

std::vector<unsigned long> startsOfSegments(std::uint64_t numVertices) {
    constexpr std::uint64_t verticesPerSegment = 2 * verticesPerPoint;
    std::vector<unsigned long> starts(numVertices / verticesPerSegment);
    for (std::size_t i = 0; i < starts.size(); ++i)
        starts[i] = i * verticesPerSegment;
    return starts;
}

void drawWithLengths(const VertexBuffer& vertexBuffer, const VertexBuffer& lengths) {
    constexpr int location = 6;
    VertexArrayObject& vertexArray = sharedVertexArray();
    vertexArray.bind();
    vertexArray.setAttributes({{&vertexBuffer, {}}, {&lengths, {location}}}, nullptr);
    vertexArray.draw(Primitive::TriangleStrip);
    VertexArrayObject::unbind();
}

} // namespace

LineRenderer::Options::Options(const Eigen::Vector4d& color_, double lineWidth_,
                               const Eigen::Matrix4d& modelMatrix_, unsigned short stipplePattern_,
                               double stippleFactor_)
    : color(color_)
    , lineWidth(lineWidth_)
    , modelMatrix(modelMatrix_)
    , stipplePattern(stipplePattern_)
    , stippleFactor(stippleFactor_) {}

LineRenderer::Options::Options(const Eigen::Vector3d& color_, double lineWidth_,
                               const Eigen::Matrix4d& modelMatrix_, unsigned short stipplePattern_,
                               double stippleFactor_)
    : Options(Eigen::Vector4d(color_.x(), color_.y(), color_.z(), 1), lineWidth_, modelMatrix_,
              stipplePattern_, stippleFactor_) {}

LineRenderer::LineRenderer()
    : m_programs(std::make_unique<ProgramCache>(
          Program::createVertexFragment("VeltrandGL/LineRenderer.vert", "VeltrandGL/LineRenderer.frag", "",
                                        Program::Compilation::Immediate),
          programCapacity))
    , m_vertexBuffer(std::make_unique<VertexBuffer>(Buffer::Usage::DynamicDraw)) {
    VertexBuffer::unbind();
}

LineRenderer::~LineRenderer() = default;

bool LineRenderer::makeVertexData(const std::vector<Eigen::Vector3d>& points, Primitive primitive,
                                  VertexBuffer& vertexBuffer) {
    return makeVertexData(points, {}, primitive, vertexBuffer);
}

bool LineRenderer::makeVertexData(const std::vector<Eigen::Vector3d>& points,
                                  const std::vector<Eigen::Vector4d>& colors, Primitive primitive,
                                  VertexBuffer& vertexBuffer) {
    if (!isLinePrimitive(primitive))
        return false;
    if (!colors.empty() && colors.size() != points.size()) {
        logMessage(Log::Error, "",
                   "The list of colors must be empty or have the same size as the list of vertices");
        return false;
    }
    const LineVertices vertices(points, colors, primitive);
    if (vertices.numDropped() > 0)
        logMessage(Log::Warning, "GL.LineRenderer", [&] {
            return std::to_string(vertices.numDropped()) + " of " + std::to_string(points.size()) +
                   " points are not finite and are left out, with their segments.";
        });
    if (vertices.isEmpty())
        return false;
    vertexBuffer.bind();
    if (vertices.before().empty())
        vertexBuffer.setData(vertices.points(), vertices.previous(), vertices.next(), vertices.colors());
    else
        vertexBuffer.setData(vertices.points(), vertices.previous(), vertices.next(), vertices.colors(),
                             vertices.before(), vertices.after());
    VertexBuffer::unbind();
    return true;
}

void LineRenderer::render(const VertexBuffer& vertexBuffer, Primitive primitive, const Options& options,
                          const ViewState& viewState, const OrderIndependentTransparency* oit) {
    if (!isLinePrimitive(primitive) || numSegments(vertexBuffer) < 1 || !(options.lineWidth > 0))
        return;
    const bool isClosed = primitive == Primitive::LineLoop;
    const bool isStippled = options.stipplePattern < solid;
    const bool runsOn = isStippled && primitive != Primitive::Lines;
    const bool isAccumulated = runsOn && canAccumulate(vertexBuffer);
    const bool isSummedUp = runsOn && !isAccumulated;
    std::string defines = oit ? "#define WITH_OIT\n" : "";
    if (isAccumulated)
        defines += "#define WITH_ACCUMULATION\n";
    else if (isStippled)
        defines += "#define WITH_STIPPLE\n";
    if (isSummedUp)
        defines += "#define WITH_SUMMED_LENGTHS\n";
    if (!oit && glIsEnabledi(GL_BLEND, 0) == GL_FALSE)
        defines += "#define HARD_EDGES\n";
    if (hasRepeatedPoints(vertexBuffer))
        defines += "#define WITH_REPEATED_POINTS\n";
    Program& program = *m_programs->getProgram(defines);
    double stippleScale = 1;
    if (isAccumulated)
        accumulateLengths(vertexBuffer, isClosed, options, viewState);
    else if (isSummedUp)
        stippleScale = sumUpLengths(vertexBuffer, isClosed, options, viewState);
    program.enable();
    // The shaders use the product of the matrices; the single ones, and the number of segments, are for
    // shaders that take their place.
    program.setArgument("u_projectionMatrix", viewState.projectionMatrix());
    program.setArgument("u_viewMatrix", viewState.modelViewMatrix());
    program.setArgument("u_modelMatrix", options.modelMatrix);
    setPlacement(program, options, viewState);
    program.setArgument("u_color", options.color);
    program.setArgument("u_lineWidth", options.lineWidth * dpiScale());
    program.setArgument("u_stipplePattern", int{options.stipplePattern});
    program.setArgument("u_numLineSegments", primitive == Primitive::Lines ? 1 : numSegments(vertexBuffer));
    const Eigen::Vector4f color = options.color.cast<float>();
    glVertexAttrib4f(3, color.x(), color.y(), color.z(), color.w());
    if (oit)
        oit->setIncludeArguments(program);
    if (isAccumulated)
        program.bindBuffer("b_lengthAccumulationBuffer", *m_lengths);
    else if (isSummedUp)
        program.setArgument("u_stippleScale", stippleScale);

    if (isSummedUp)
        drawWithLengths(vertexBuffer, *m_summedLengths);
    else if (primitive == Primitive::Lines)
        vertexBuffer.drawMultiRestart(Primitive::TriangleStrip, startsOfSegments(vertexBuffer.numVertices()));
    else
        vertexBuffer.draw(Primitive::TriangleStrip);
    VertexBuffer::unbind();
    program.disable();
}

void LineRenderer::renderPoints(const std::vector<Eigen::Vector3d>& points, Primitive primitive,
                                const Options& options, const ViewState& viewState,
                                const OrderIndependentTransparency* oit) {
    if (makeVertexData(points, primitive, *m_vertexBuffer))
        render(*m_vertexBuffer, primitive, options, viewState, oit);
}

void LineRenderer::renderLines(const std::vector<Eigen::Vector3d>& points, const Options& options,
                               const ViewState& viewState, const OrderIndependentTransparency* oit) {
    renderPoints(points, Primitive::Lines, options, viewState, oit);
}

void LineRenderer::renderLineStrip(const std::vector<Eigen::Vector3d>& points, const Options& options,
                                   const ViewState& viewState, const OrderIndependentTransparency* oit) {
    renderPoints(points, Primitive::LineStrip, options, viewState, oit);
}

void LineRenderer::renderLineLoop(const std::vector<Eigen::Vector3d>& points, const Options& options,
                                  const ViewState& viewState, const OrderIndependentTransparency* oit) {
    renderPoints(points, Primitive::LineLoop, options, viewState, oit);
}

// Does the same on the CPU, and returns the factor by which the pattern is compressed.
double LineRenderer::sumUpLengths(const VertexBuffer& vertexBuffer, bool isClosed, const Options& options,
                                  const ViewState& viewState) {
    constexpr double bitsPerPattern = 16;
    std::vector<Eigen::Vector3f> vertices(vertexBuffer.numVertices());
    vertexBuffer.bind();
    Buffer::glGetBufferSubDataImpl(Buffer::Target::Array, 0, bytesOfPoints(vertexBuffer), vertices.data());
    const Eigen::Matrix4f matrix =
        (viewState.modelViewProjectionMatrix() * options.modelMatrix).cast<float>();
    std::vector<Eigen::Vector4f> points(vertices.size() / verticesPerPoint);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = matrix.leftCols<3>() * vertices[verticesPerPoint * i] + matrix.col(3);
    const Viewport& viewport = viewState.viewport();
    const auto lengths = lengthsAlong(points, Eigen::Vector2d(viewport.width, viewport.height));

    const double patterns = lengths.back() / (bitsPerPattern * std::max(options.stippleFactor, 1e-3));
    const double scale = isClosed && patterns > 0 ? std::max(std::round(patterns), 1.0) / patterns : 1;
    // The first two of each four vertices end the segment before.
    std::vector<float> bits(vertices.size());
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const std::size_t point = i / verticesPerPoint;
        const double length = lengths[i % verticesPerPoint < 2 && point > 0 ? point - 1 : point];
        bits[i] = static_cast<float>(
            std::fmod(scale * length / std::max(options.stippleFactor, 1e-3), bitsPerPattern));
    }
    if (!m_summedLengths)
        m_summedLengths = std::make_unique<VertexBuffer>(Buffer::Usage::StreamDraw);
    m_summedLengths->bind();
    m_summedLengths->setData(bits);
    VertexBuffer::unbind();
    return scale;
}

// Fills the storage buffer with the place in the pattern of each point; see the shader.
void LineRenderer::accumulateLengths(const VertexBuffer& vertexBuffer, bool isClosed, const Options& options,
                                     const ViewState& viewState) {
    enum Pass { Measure, Fit, Sum, Offset };
    constexpr int pointsPerGroup = 32 * 128;
    constexpr GLuint pointsBinding = 1;

    if (!m_accumulation)
        m_accumulation = Program::createCompute("VeltrandGL/LineLengthAccumulation.glh", "",
                                                Program::Compilation::ImmediateThrow);
    if (!m_lengths)
        m_lengths = std::make_unique<ShaderStorageBuffer>(Buffer::Usage::DynamicCopy);
    m_lengths->bind();
    const auto numPoints = static_cast<std::int64_t>(vertexBuffer.numVertices() / verticesPerPoint);
    const std::int64_t bytes = numPoints * std::int64_t{sizeof(GLuint)};
    if (bytes > m_lengths->size())
        m_lengths->allocateBuffer(2 * bytes);
    const GLuint zero = 0;
    glClearBufferData(GL_SHADER_STORAGE_BUFFER, GL_R32UI, GL_RED_INTEGER, GL_INT, &zero);

    Program& program = *m_accumulation;
    program.enable();
    setPlacement(program, options, viewState);
    program.setArgument("u_numLineSegments", numSegments(vertexBuffer));
    program.setArgument("u_isClosed", isClosed);
    program.bindBuffer("b_lengthAccumulationBuffer", *m_lengths);
    glBindBufferRange(GL_SHADER_STORAGE_BUFFER, pointsBinding, vertexBuffer.id(), 0,
                      bytesOfPoints(vertexBuffer));
    const auto run = [&program](Pass pass, int numGroups) {
        program.setArgument("u_pass", int{pass});
        program.dispatchCompute(numGroups, 1, 1);
        memoryBarrier(Barrier::ShaderStorage);
    };
    const int numGroups = numSegments(vertexBuffer) / pointsPerGroup + 1;
    if (isClosed) {
        run(Measure, numGroups);
        run(Fit, 1);
    }
    run(Sum, numGroups);
    run(Offset, 1);
    ShaderStorageBuffer::unbind();
}

} // namespace Veltrand::GL
