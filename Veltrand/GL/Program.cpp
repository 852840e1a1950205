// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Program.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ProgramDecorator.h>
#include <Veltrand/GL/ShaderSource.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <glad/gl.h>
#include <stdexcept>

namespace Veltrand::GL {

static_assert(MoveOnly<Program>);

static_assert(GLenum(Program::Stage::Fragment) == GL_FRAGMENT_SHADER);
static_assert(GLenum(Program::Stage::Vertex) == GL_VERTEX_SHADER);
static_assert(GLenum(Program::Stage::Geometry) == GL_GEOMETRY_SHADER);
static_assert(GLenum(Program::Stage::TessellationEvaluation) == GL_TESS_EVALUATION_SHADER);
static_assert(GLenum(Program::Stage::TessellationControl) == GL_TESS_CONTROL_SHADER);
static_assert(GLenum(Program::Stage::Compute) == GL_COMPUTE_SHADER);

namespace {

constexpr std::string_view category = "GL.Program";

// The log of a shader or program object, up to its terminating zero; empty if there is none.
std::string infoLog(GLuint id, PFNGLGETSHADERIVPROC getParameter, PFNGLGETSHADERINFOLOGPROC getLog) {
    GLint length = 0;
    getParameter(id, GL_INFO_LOG_LENGTH, &length);
    if (length <= 1)
        return {};
    std::string log(static_cast<std::size_t>(length), '\0');
    getLog(id, length, nullptr, log.data());
    log.resize(std::min(log.find('\0'), log.size()));
    return log;
}

// What some drivers say although nothing is worth saying.
bool isChatter(const std::string& log) {
    constexpr std::array<std::string_view, 4> chatter{
        "Fragment shader was successfully compiled to run on hardware.\n",
        "Vertex shader was successfully compiled to run on hardware.\n", "No errors.\n", "No errors."};
    return std::find(chatter.begin(), chatter.end(), log) != chatter.end();
}

} // namespace

// The program is complete once this returns, so that the destructor cleans up if building the stages throws.
Program::Program(const std::string& defines)
    : m_defines(defines) {
    initBindings();
    m_id = glCreateProgram();
    if (m_id == 0)
        throw std::runtime_error("Could not create OpenGL Program object.");
}

Program::Program(const std::vector<StageName>& stages, const std::string& defines, Compilation compilation)
    : Program(defines) {
    for (const auto& [stage, name] : stages) {
        ShaderInfo& shader = m_shaders.emplace_back();
        shader.stage = stage;
        shader.name = name ? name : "";
        shader.id = glCreateShader(static_cast<GLenum>(stage));
        if (shader.id == 0)
            throw std::runtime_error("Could not create OpenGL Shader object.");
    }
    if (!initProgram(compilation))
        logMessage(Log::Warning, category,
                   "Requested shader compilation during GL::Program construction failed.");
}

Program::Program(Program&& other) noexcept {
    swap(other);
}

Program& Program::operator=(Program&& other) noexcept {
    if (this != &other) {
        const Program released(std::move(*this));
        swap(other);
    }
    return *this;
}

Program::~Program() {
    if (m_id == 0)
        return;
    if (static_cast<GLuint>(getInt(GL_CURRENT_PROGRAM)) == m_id)
        disable();
    for (const ShaderInfo& shader : m_shaders) {
        if (shader.attached)
            glDetachShader(m_id, shader.id);
        glDeleteShader(shader.id);
    }
    glDeleteProgram(m_id);
}

void Program::swap(Program& other) noexcept {
    std::swap(m_id, other.m_id);
    m_shaders.swap(other.m_shaders);
    m_defines.swap(other.m_defines);
    m_textureBindings.swap(other.m_textureBindings);
    m_bufferBindings.swap(other.m_bufferBindings);
    m_imageBindings.swap(other.m_imageBindings);
    std::swap(m_maxTextureUnits, other.m_maxTextureUnits);
    std::swap(m_maxImageUnits, other.m_maxImageUnits);
    m_decorators.swap(other.m_decorators);
    std::swap(m_expandDefines, other.m_expandDefines);
    m_abstractIncludes.swap(other.m_abstractIncludes);
    m_requiredExtensions.swap(other.m_requiredExtensions);
    std::swap(m_needsCompilation, other.m_needsCompilation);
    std::swap(m_failedToCompile, other.m_failedToCompile);
}

std::unique_ptr<Program> Program::createVertexFragment(const std::string& vertexName,
                                                       const std::string& fragmentName,
                                                       const std::string& defines, Compilation compilation) {
    return std::make_unique<Program>(
        std::vector<StageName>{{Stage::Vertex, vertexName.c_str()}, {Stage::Fragment, fragmentName.c_str()}},
        defines, compilation);
}

std::unique_ptr<Program> Program::createVertexGeometryFragment(const std::string& vertexName,
                                                               const std::string& geometryName,
                                                               const std::string& fragmentName,
                                                               const std::string& defines,
                                                               Compilation compilation) {
    return std::make_unique<Program>(std::vector<StageName>{{Stage::Vertex, vertexName.c_str()},
                                                            {Stage::Geometry, geometryName.c_str()},
                                                            {Stage::Fragment, fragmentName.c_str()}},
                                     defines, compilation);
}

std::unique_ptr<Program> Program::createCompute(const std::string& computeName, const std::string& defines,
                                                Compilation compilation) {
    return std::make_unique<Program>(std::vector<StageName>{{Stage::Compute, computeName.c_str()}}, defines,
                                     compilation);
}

std::vector<Program::StageName> Program::stageNames() const {
    std::vector<StageName> stages;
    stages.reserve(m_shaders.size());
    for (const ShaderInfo& shader : m_shaders)
        stages.emplace_back(shader.stage, shader.name.c_str());
    return stages;
}

std::unique_ptr<Program> Program::cloneImpl() const {
    return std::make_unique<Program>(stageNames(), m_defines, Compilation::Deferred);
}

// What the constructor does not take.
void Program::copySettings(const Program& other, Flags<Cloning> flags) {
    if (!flags.test(Cloning::SkipDecorators))
        m_decorators = other.m_decorators;
    if (!flags.test(Cloning::SkipAbstractIncludes))
        m_abstractIncludes = other.m_abstractIncludes;
    m_expandDefines = other.m_expandDefines;
    m_requiredExtensions = other.m_requiredExtensions;
}

std::unique_ptr<Program> Program::clone(Flags<Cloning> flags, Compilation compilation) const {
    if (m_id == 0)
        return nullptr;
    try {
        std::unique_ptr<Program> copy = cloneImpl();
        if (!copy)
            return nullptr;
        copy->copySettings(*this, flags);
        if (!copy->changed(compilation))
            return nullptr;
        return copy;
    } catch (const std::exception& exception) {
        if (compilation == Compilation::ImmediateThrow)
            throw;
        logMessage(Log::Error, category,
                   [&] { return std::string("Could not clone shader: ") + exception.what(); });
        return nullptr;
    }
}

bool Program::compile(Compilation compilation) {
    return initProgram(compilation);
}

// In objects of its own, since a program object whose last link has failed cannot be made current any more.
bool Program::reload() {
    if (m_id == 0)
        return false;
    try {
        Program fresh(stageNames(), m_defines, Compilation::Deferred);
        fresh.copySettings(*this, Cloning::SkipDecorators);
        for (std::size_t i = 0; i < m_shaders.size(); ++i)
            fresh.m_shaders[i].overrideSource = m_shaders[i].overrideSource;
        if (!fresh.compile(Compilation::Immediate))
            return false;
        unbindImages(false);
        unbindBuffers();
        if (static_cast<GLuint>(getInt(GL_CURRENT_PROGRAM)) == m_id)
            glUseProgram(fresh.m_id);
        std::swap(m_id, fresh.m_id);
        m_shaders.swap(fresh.m_shaders);
        m_needsCompilation = false;
        m_failedToCompile = false;
        return true;
    } catch (const std::exception& exception) {
        logMessage(Log::Error, category, [&] { return exception.what(); });
        return false;
    }
}

bool Program::changed(Compilation compilation) {
    m_needsCompilation = true;
    m_failedToCompile = false;
    return initProgram(compilation);
}

bool Program::setDefines(const std::string& defines, Compilation compilation) {
    if (defines == m_defines && (!m_needsCompilation || compilation == Compilation::Deferred))
        return true;
    m_defines = defines;
    return changed(compilation);
}

bool Program::setExpandDefines(bool expand, Compilation compilation) {
    m_expandDefines = expand;
    return changed(compilation);
}

bool Program::addRequiredExtension(const std::string& name, Compilation compilation) {
    m_requiredExtensions.push_back(name);
    return changed(compilation);
}

bool Program::overrideShaderSource(Stage stage, const std::string& source, Compilation compilation) {
    for (ShaderInfo& shader : m_shaders)
        if (shader.stage == stage)
            shader.overrideSource = source;
    return changed(compilation);
}

bool Program::addAbstractIncludeDefinition(const AbstractInclude* include, Compilation compilation) {
    if (!include)
        return true;
    std::vector<AbstractIncludeStruct> definitions;
    collectDefinitions(*include, {}, definitions);
    for (AbstractIncludeStruct& definition : definitions) {
        logMessage(Log::Trace, category, [&] {
            return "Adding abstract include: " + definition.name + " " + definition.includePath;
        });
        m_abstractIncludes.insert_or_assign(definition.keyPrefix + definition.name, std::move(definition));
    }
    return definitions.empty() ? initProgram(compilation) : changed(compilation);
}

// Appends what is new or different of an include and its dependents.
void Program::collectDefinitions(const AbstractInclude& include, const std::string& keyPrefix,
                                 std::vector<AbstractIncludeStruct>& definitions) const {
    const std::string key = keyPrefix + include.defineName();
    AbstractInclude::Fingerprint fingerprint = include.fingerprint();
    const auto found = m_abstractIncludes.find(key);
    if (found == m_abstractIncludes.end() || found->second.includePath != include.includePath() ||
        found->second.fingerprint != fingerprint)
        definitions.push_back({include.defineName(), keyPrefix, include.includePath(), std::move(fingerprint),
                               include.includeCodeSubstitution()});
    for (const AbstractInclude* const dependent : include.dependentIncludes())
        if (dependent)
            collectDefinitions(*dependent, key, definitions);
}

bool Program::removeAbstractIncludeDefinition(const std::string& defineName, Compilation compilation) {
    const auto found = m_abstractIncludes.find(defineName);
    if (found == m_abstractIncludes.end())
        return true;
    logMessage(Log::Trace, category, [&] { return "Removing abstract include: " + defineName; });
    m_abstractIncludes.erase(found);
    return changed(compilation);
}

bool Program::removeAbstractIncludeDefinition(const AbstractInclude* include, Compilation compilation) {
    return !include || removeAbstractIncludeDefinition(include->defineName(), compilation);
}

bool Program::initProgram(Compilation compilation) {
    if (!m_needsCompilation || compilation == Compilation::Deferred)
        return true;
    if (m_id == 0)
        return false;
    m_failedToCompile = true;
    try {
        compileAndLink();
    } catch (const std::exception& exception) {
        if (compilation == Compilation::ImmediateThrow)
            throw;
        logMessage(Log::Error, category, [&] { return exception.what(); });
        return false;
    }
    logMessage(Log::Debug, category,
               [this] { return "Initialized GLSL program (" + joinShaderNames() + ")"; });
    m_needsCompilation = false;
    m_failedToCompile = false;
    return true;
}

void Program::compileAndLink() {
    unbindImages(false);
    unbindBuffers();
    for (ShaderInfo& shader : m_shaders) {
        // The flag is true to the object also if the stage's source turns out to be missing.
        if (std::exchange(shader.attached, false))
            glDetachShader(m_id, shader.id);
        initShader(shader);
        glAttachShader(m_id, shader.id);
        shader.attached = true;
    }
    glLinkProgram(m_id);
    GLint linked = GL_FALSE;
    glGetProgramiv(m_id, GL_LINK_STATUS, &linked);
    if (linked != GL_FALSE)
        return;
    logMessage(Log::Error, category,
               [this] { return "Error linking GLSL program! (" + joinShaderNames() + ")"; });
    if (const std::string log = infoLog(m_id, glGetProgramiv, glGetProgramInfoLog); !log.empty())
        logMessage(Log::Info, category, [&] { return "Program Info Log: " + log; });
    throw std::runtime_error("Error creating shader program");
}

void Program::initShader(const ShaderInfo& shaderInfo) const {
    const bool isOverridden = !shaderInfo.overrideSource.empty();
    const ShaderSource source = isOverridden ? ShaderSource{shaderInfo.overrideSource, {}, {}}
                                             : assembleShader(shaderInfo, m_expandDefines, m_abstractIncludes,
                                                              m_defines, m_requiredExtensions);
    const std::string driverText = isOverridden ? source.text : source.driverText();
    const char* const text = driverText.c_str();
    glShaderSource(shaderInfo.id, 1, &text, nullptr);
    glCompileShader(shaderInfo.id);
    GLint compiled = GL_FALSE;
    glGetShaderiv(shaderInfo.id, GL_COMPILE_STATUS, &compiled);
    // Not thrown: linking fails in turn, and the logs of the other stages are wanted as well.
    if (compiled == GL_FALSE)
        logMessage(Log::Error, category, [&] { return "Error compiling shader " + shaderInfo.name; });
    const std::string log = infoLog(shaderInfo.id, glGetShaderiv, glGetShaderInfoLog);
    if (log.empty() || isChatter(log) || !Log::isAccepted(Log::Info, category))
        return;
    // An overridden source has no map, but may have been made from a text with markers.
    Log::log(Log::Info, category,
             isOverridden ? reformatShaderErrorLog(log, source.text) : reformatShaderErrorLog(log, source));
    for (const std::string& message :
         isOverridden ? placeShaderMessages(log, source.text) : placeShaderMessages(log, source.lines))
        Log::log(Log::Info, category, message);
}

} // namespace Veltrand::GL
