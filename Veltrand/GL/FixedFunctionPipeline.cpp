// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/FixedFunctionPipeline.h>

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/ViewState.h>
#include <Veltrand/GL/detail/DrawCalls.h>
#include <Veltrand/GL/detail/LineStipple.h>

#include <Eigen/Core>
#include <algorithm>
#include <glad/gl.h>
#include <string>

namespace Veltrand::GL {

namespace {

using Selection = FixedFunctionPipeline::ShaderSelection;

constexpr GLuint colorAttribute = 2;
constexpr GLenum pointSprite = 0x8861; // GL_POINT_SPRITE, which core contexts do not have

// The targets that can be sampled, by their number of dimensions less one.
constexpr std::array targets = {Texture::Target::Texture1D, Texture::Target::Texture2D,
                                Texture::Target::Texture3D};
constexpr std::array samplerNames = {"u_tex1d", "u_tex2d", "u_tex3d"};

std::size_t programIndex(Selection selection, bool withTransparency) {
    return static_cast<std::size_t>(selection) * 2 + (withTransparency ? 1 : 0);
}

std::unique_ptr<Program> createProgram(Selection selection, bool withTransparency) {
    std::string defines;
    if (selection == Selection::WideLinesAdjacency)
        defines += "#define ADJACENCY\n";
    if (selection != Selection::Plain)
        defines += "#define WIDE_LINES\n";
    if (withTransparency)
        defines += "#define WITH_OIT\n";
    const std::string vertex = "VeltrandGL/FixedFunctionPipeline.vert";
    const std::string fragment = "VeltrandGL/FixedFunctionPipeline.frag";
    if (selection == Selection::Plain)
        return Program::createVertexFragment(vertex, fragment, defines, Program::Compilation::ImmediateThrow);
    return Program::createVertexGeometryFragment(vertex, "VeltrandGL/FixedFunctionPipeline.geom", fragment,
                                                 defines, Program::Compilation::ImmediateThrow);
}

} // namespace

FixedFunctionPipeline::FixedFunctionPipeline()
    : m_program(&program(Selection::Plain, false))
    , m_stipple(std::make_shared<LineStipple>()) {
    (void)program(Selection::WideLines, false);
    for (std::size_t i = 0; i < targets.size(); ++i) {
        m_placeholders[i] =
            std::make_unique<Texture>(targets[i], Eigen::Vector3i::Ones(), InternalFormat::R8);
        // Software drivers read all three for every fragment, so they had better be cheap.
        m_placeholders[i]->setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
        Texture::unbind(0, targets[i]);
    }
}

FixedFunctionPipeline::~FixedFunctionPipeline() = default;

Program& FixedFunctionPipeline::program(Selection selection, bool withTransparency) {
    std::unique_ptr<Program>& slot = m_programs.at(programIndex(selection, withTransparency));
    if (!slot)
        slot = createProgram(selection, withTransparency);
    return *slot;
}

void FixedFunctionPipeline::enable(const ViewState& viewState, Selection selection,
                                   const OrderIndependentTransparency* transparency) {
    enableWithoutReset(selection, transparency);
    reset(viewState);
}

void FixedFunctionPipeline::enableWithoutReset(Selection selection,
                                               const OrderIndependentTransparency* transparency) {
    m_program = &program(selection, transparency != nullptr);
    m_program->enable();
    m_stipple->chooseProgram(programIndex(selection, transparency != nullptr));
    observeDraws(drawsWideLines());
    // Samplers of different types must not read from one unit, which they do at first.
    if (m_program->numImages() == 0)
        setTextures(nullptr, nullptr);
    if (transparency)
        transparency->setIncludeArguments(*m_program);
}

void FixedFunctionPipeline::observeDraws(bool observes) {
    if (m_observesDraws == observes)
        return;
    m_observesDraws = observes;
    sharedVertexArray().observer = observes ? m_stipple : nullptr;
}

bool FixedFunctionPipeline::drawsWideLines() const {
    return m_program != m_programs[programIndex(Selection::Plain, false)].get() &&
           m_program != m_programs[programIndex(Selection::Plain, true)].get();
}

void FixedFunctionPipeline::reset(const ViewState& viewState) {
    m_program->unbindImages(true);
    m_program->setArgument("u_pointSize", 1.0);
    setProjectionMatrix(viewState.projectionMatrix());
    setViewMatrix(viewState.modelViewMatrix());
    m_program->setArgument<Eigen::Matrix4f>("u_modelMatrix", Eigen::Matrix4f::Identity());
    m_stipple->placement().modelMatrix.setIdentity();
    setTextures(nullptr, nullptr);
    m_program->setArgument<Eigen::Vector3f>("u_texCoordScaling", Eigen::Vector3f::Ones());
    m_program->setArgument<Eigen::Vector3f>("u_texCoordOffset", Eigen::Vector3f::Zero());
    disablePointSmoothing();
    if (drawsWideLines()) {
        const Viewport& viewport = viewState.viewport();
        m_stipple->placement().windowSize = Eigen::Vector2d(viewport.width, viewport.height);
        m_program->setArgument("u_windowSize",
                               Eigen::Vector2i(viewport.width, viewport.height).cast<float>().eval());
        m_program->setArgument("u_lineWidth", 1.0F);
        m_program->setArgument("u_stippleFactor", 1.0F);
        m_stipple->placement().pixelsPerBit = 1;
        setStipplePattern(0xFFFF);
    }
    glVertexAttrib4f(colorAttribute, 0, 0, 0, 1);
    glEnable(GL_PROGRAM_POINT_SIZE);
}

void FixedFunctionPipeline::disable() {
    observeDraws(false);
    m_program->unbindImages(true);
    m_program->disable();
}

void FixedFunctionPipeline::setProjectionMatrix(const Eigen::Matrix4d& matrix) {
    m_program->setArgument("u_projectionMatrix", matrix);
    m_stipple->placement().projectionMatrix = matrix;
}

void FixedFunctionPipeline::setViewMatrix(const Eigen::Matrix4d& matrix) {
    m_program->setArgument("u_viewMatrix", matrix);
    m_stipple->placement().viewMatrix = matrix;
}

void FixedFunctionPipeline::setModelMatrix(const Eigen::Matrix4d& matrix) {
    m_program->setArgument("u_modelMatrix", matrix);
    m_stipple->placement().modelMatrix = matrix;
}

void FixedFunctionPipeline::setDefaultColor(const Eigen::Vector4d& color) {
    const Eigen::Vector4f components = color.cast<float>();
    glVertexAttrib4fv(colorAttribute, components.data());
}

void FixedFunctionPipeline::setDefaultColor(const Eigen::Vector3d& color) {
    setDefaultColor(Eigen::Vector4d(color.x(), color.y(), color.z(), 1));
}

// Always all three, so that each sampler has a unit of its own and something of its own type to read.
void FixedFunctionPipeline::setTextures(const Texture* texture, const Sampler* sampler) {
    int texType = 0;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const bool used = texture && texture->target() == targets[i];
        if (used)
            texType = static_cast<int>(i) + 1;
        (void)m_program->bindSampler(samplerNames[i], used ? texture : m_placeholders[i].get(),
                                     used ? sampler : nullptr, true);
    }
    m_program->setArgument("u_texType", texType);
}

void FixedFunctionPipeline::enableTexturing(const Texture& texture) {
    m_program->unbindImages(false);
    setTextures(&texture, nullptr);
}

void FixedFunctionPipeline::enableTexturing(const Texture& texture, const Sampler& sampler) {
    m_program->unbindImages(false);
    setTextures(&texture, &sampler);
}

void FixedFunctionPipeline::disableTexturing() {
    m_program->setArgument("u_texType", 0);
    m_program->unbindImages(true);
}

void FixedFunctionPipeline::setTexCoordTransform(const Eigen::Vector3d& scaling,
                                                 const Eigen::Vector3d& offset) {
    m_program->setArgument("u_texCoordScaling", scaling);
    m_program->setArgument("u_texCoordOffset", offset);
}

void FixedFunctionPipeline::setPointSize(double size) {
    m_program->setArgument("u_pointSize", size * dpiScale());
}

void FixedFunctionPipeline::enablePointSmoothing() {
    if (!ContextManager::useCoreContext())
        glEnable(pointSprite);
    m_program->setArgument("u_pointSmoothing", true);
}

void FixedFunctionPipeline::disablePointSmoothing() {
    m_program->setArgument("u_pointSmoothing", false);
}

void FixedFunctionPipeline::setLineWidth(double width) {
    m_program->setArgument("u_lineWidth", width * dpiScale());
}

void FixedFunctionPipeline::setStippleFactor(double factor) {
    m_program->setArgument("u_stippleFactor", factor * dpiScale());
    m_stipple->placement().pixelsPerBit = factor * dpiScale();
}

void FixedFunctionPipeline::setStipplePattern(unsigned short pattern) {
    m_program->setArgument("u_stipplePattern", static_cast<unsigned>(pattern));
    m_stipple->placement().pattern = pattern;
}

} // namespace Veltrand::GL
