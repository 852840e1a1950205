// SPDX-License-Identifier: BSD-3-Clause
// What a program is used with: uniform values, texture units, image units, buffers, decorators.
#include <Veltrand/GL/Program.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ProgramDecorator.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <glad/gl.h>
#include <type_traits>

namespace Veltrand::GL {

static_assert(GLenum(Program::ImageAccess::ReadOnly) == GL_READ_ONLY);
static_assert(GLenum(Program::ImageAccess::WriteOnly) == GL_WRITE_ONLY);
static_assert(GLenum(Program::ImageAccess::ReadWrite) == GL_READ_WRITE);

namespace {

constexpr std::string_view category = "GL.Program";

bool hasImageUnits() {
    return glBindImageTexture != nullptr;
}

bool hasShaderStorageBlocks() {
    return glShaderStorageBlockBinding != nullptr && glGetProgramResourceIndex != nullptr;
}

struct UnitLimits {
    std::size_t textures;
    std::size_t images;
    std::size_t buffers;
};

std::size_t limit(GLenum name) {
    return static_cast<std::size_t>(std::max(getInt(name), 0));
}

// Each is read where there is something to read, which a later context may have and the first one not.
UnitLimits unitLimits() {
    static const std::size_t textures = limit(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS);
    UnitLimits limits{textures, 0, 0};
    if (hasImageUnits()) {
        static const std::size_t images = limit(GL_MAX_IMAGE_UNITS);
        limits.images = images;
    }
    if (hasShaderStorageBlocks()) {
        static const std::size_t buffers = limit(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS);
        limits.buffers = buffers;
    }
    return limits;
}

// The entry points for arrays: of vectors of one component and more, and of matrices of two rows and more.

auto vectorCalls(const int*) {
    return std::array{glUniform1iv, glUniform2iv, glUniform3iv, glUniform4iv};
}
auto vectorCalls(const unsigned int*) {
    return std::array{glUniform1uiv};
}
auto vectorCalls(const float*) {
    return std::array{glUniform1fv, glUniform2fv, glUniform3fv, glUniform4fv};
}
auto matrixCalls() {
    return std::array{glUniformMatrix2fv, glUniformMatrix3fv, glUniformMatrix4fv};
}

template<class T>
requires std::is_arithmetic_v<T>
void setUniform(GLint location, T value) {
    if constexpr (std::is_same_v<T, unsigned int>)
        glUniform1ui(location, value);
    else if constexpr (std::is_floating_point_v<T>)
        glUniform1f(location, static_cast<float>(value));
    else
        glUniform1i(location, static_cast<int>(value));
}

template<class Scalar, int Rows, int Columns>
void setUniforms(GLint location, std::size_t count, const Eigen::Matrix<Scalar, Rows, Columns>* values) {
    // The elements of an array lie close together, so that it can be passed as its components.
    static_assert(sizeof(*values) == sizeof(Scalar) * Rows * Columns);
    const Scalar* const components = count > 0 ? values->data() : nullptr;
    if constexpr (Columns == 1)
        std::get<Rows - 1>(vectorCalls(components))(location, static_cast<GLsizei>(count), components);
    else
        std::get<Rows - 2>(matrixCalls())(location, static_cast<GLsizei>(count), GL_FALSE, components);
}

template<int Rows, int Columns>
void setUniforms(GLint location, std::size_t count, const Eigen::Matrix<double, Rows, Columns>* values) {
    std::vector<Eigen::Matrix<float, Rows, Columns>> converted(count);
    std::transform(values, values + count, converted.begin(),
                   [](const auto& value) { return value.template cast<float>(); });
    setUniforms(location, count, converted.data());
}

template<class Scalar, int Rows, int Columns>
void setUniform(GLint location, const Eigen::Matrix<Scalar, Rows, Columns>& value) {
    if constexpr (std::is_same_v<Scalar, double>) {
        const Eigen::Matrix<float, Rows, Columns> converted = value.template cast<float>();
        setUniforms(location, 1, &converted);
    } else {
        setUniforms(location, 1, &value);
    }
}

template<class Element>
void setUniform(GLint location, const std::vector<Element>& values) {
    if constexpr (std::is_arithmetic_v<Element>)
        std::get<0>(vectorCalls(values.data()))(location, static_cast<GLsizei>(values.size()), values.data());
    else
        setUniforms(location, values.size(), values.data());
}

/// Whether there is more than one layer, which 1D arrays count in their height and cubes have in any case.
bool hasLayers(const Texture& texture) {
    const Texture::Target target = texture.target();
    return texture.depth() > 1 || target == Texture::Target::TextureCubeMap ||
           (target == Texture::Target::Texture1DArray && texture.height() > 1);
}

} // namespace

int Program::loc(const std::string& name) const {
    return m_id != 0 ? glGetUniformLocation(m_id, name.c_str()) : -1;
}

template<ProgramArgument T>
void Program::setArgument(const std::string& name, const T& value) {
    if constexpr (std::is_same_v<T, Texture>)
        bindSampler(name, &value, nullptr, true);
    else if constexpr (std::is_same_v<T, Texture*> || std::is_same_v<T, const Texture*>)
        bindSampler(name, value, nullptr, true);
    else if constexpr (std::is_same_v<T, std::vector<const Texture*>>)
        bindSamplers(name, value, nullptr);
    else if (m_id != 0)
        setUniform(loc(name), value);
}

#define VELTRAND_INSTANTIATE(...)                                                                            \
    template VELTRAND_GL_API void Program::setArgument<__VA_ARGS__>(const std::string&, __VA_ARGS__ const&);
VELTRAND_INSTANTIATE(bool)
VELTRAND_INSTANTIATE(int)
VELTRAND_INSTANTIATE(unsigned int)
VELTRAND_INSTANTIATE(float)
VELTRAND_INSTANTIATE(double)
VELTRAND_INSTANTIATE(std::vector<int>)
VELTRAND_INSTANTIATE(std::vector<unsigned int>)
VELTRAND_INSTANTIATE(std::vector<float>)
VELTRAND_INSTANTIATE(Eigen::Vector2i)
VELTRAND_INSTANTIATE(Eigen::Vector3i)
VELTRAND_INSTANTIATE(Eigen::Vector4i)
VELTRAND_INSTANTIATE(Eigen::Vector2f)
VELTRAND_INSTANTIATE(Eigen::Vector3f)
VELTRAND_INSTANTIATE(Eigen::Vector4f)
VELTRAND_INSTANTIATE(Eigen::Vector2d)
VELTRAND_INSTANTIATE(Eigen::Vector3d)
VELTRAND_INSTANTIATE(Eigen::Vector4d)
VELTRAND_INSTANTIATE(Eigen::Matrix2f)
VELTRAND_INSTANTIATE(Eigen::Matrix3f)
VELTRAND_INSTANTIATE(Eigen::Matrix4f)
VELTRAND_INSTANTIATE(Eigen::Matrix2d)
VELTRAND_INSTANTIATE(Eigen::Matrix3d)
VELTRAND_INSTANTIATE(Eigen::Matrix4d)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector2i>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector3i>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector4i>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector2f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector3f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Vector4f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Matrix2f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Matrix3f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Matrix4f>)
VELTRAND_INSTANTIATE(std::vector<Eigen::Matrix4d>)
VELTRAND_INSTANTIATE(Texture)
VELTRAND_INSTANTIATE(Texture*)
VELTRAND_INSTANTIATE(const Texture*)
VELTRAND_INSTANTIATE(std::vector<const Texture*>)
#undef VELTRAND_INSTANTIATE

void Program::setArgument(const std::string& name, const Texture& texture, const Sampler& sampler) {
    bindSampler(name, &texture, &sampler, true);
}

void Program::setArgument(const std::string& name, const std::vector<const Texture*>& textures,
                          const Sampler& sampler) {
    bindSamplers(name, textures, &sampler);
}

void Program::bindSamplers(const std::string& name, const std::vector<const Texture*>& textures,
                           const Sampler* sampler) {
    if (m_id == 0)
        return;
    unbindSamplers(name);
    std::vector<GLint> units;
    units.reserve(textures.size());
    // A negative unit would make OpenGL refuse the whole array.
    for (const Texture* const texture : textures)
        units.push_back(std::max(bindSampler(name, texture, sampler, false), 0));
    glUniform1iv(loc(name), static_cast<GLsizei>(units.size()), units.data());
}

bool Program::checkForUnititializedUniforms() const {
    return false;
}

void Program::initBindings() {
    const UnitLimits limits = unitLimits();
    m_maxTextureUnits = limits.textures;
    m_maxImageUnits = limits.images;
    m_textureBindings.push_back({nullptr, nullptr, "!reserved", 0});
    m_bufferBindings.resize(limits.buffers);
}

// The index of the entry for a name, or of a free one; -1 if all units are taken.
int Program::takeTextureUnit(const std::string& name, bool reuse) {
    const auto find = [this](std::string_view wanted) {
        return std::find_if(m_textureBindings.begin(), m_textureBindings.end(),
                            [wanted](const TextureBinding& binding) { return binding.name == wanted; });
    };
    auto found = reuse ? find(name) : m_textureBindings.end();
    if (found == m_textureBindings.end())
        found = find({});
    if (found == m_textureBindings.end()) {
        if (m_textureBindings.size() >= m_maxTextureUnits)
            return -1;
        found = m_textureBindings.emplace(found);
    }
    return static_cast<int>(found - m_textureBindings.begin());
}

int Program::bindSampler(const std::string& name, const Texture* texture, const Sampler* sampler,
                         bool setUniform) {
    if (!texture) {
        logMessage(Log::Error, category,
                   [&] { return "Cannot bind texture to shader: No texture for '" + name + "'."; });
        return -1;
    }
    const int unit = takeTextureUnit(name, setUniform);
    if (unit < 0) {
        logMessage(Log::Error, category, "Cannot bind texture to shader: Out of texture units.");
        return -1;
    }
    const auto index = static_cast<GLuint>(unit);
    m_textureBindings[index] = {texture, sampler, name, static_cast<GLenum>(texture->target())};
    texture->bind(unit);
    if (sampler)
        sampler->bind(index);
    else
        Sampler::unbind(index);
    if (setUniform)
        glUniform1i(loc(name), unit);
    return unit;
}

void Program::releaseTextureUnit(GLuint unit, const TextureBinding& binding) {
    if (binding.texture)
        Texture::unbind(unit, static_cast<Texture::Target>(binding.target));
    if (binding.sampler)
        Sampler::unbind(unit);
}

void Program::unbindSamplers(const std::string& name) {
    for (std::size_t unit = m_textureBindings.size(); unit-- > 1;) {
        if (m_textureBindings[unit].name != name)
            continue;
        releaseTextureUnit(static_cast<GLuint>(unit), m_textureBindings[unit]);
        m_textureBindings[unit] = {};
    }
}

void Program::unbindImages(bool alsoTextures) {
    m_imageBindings.clear();
    if (!alsoTextures)
        return;
    for (std::size_t unit = m_textureBindings.size(); unit-- > 1;)
        releaseTextureUnit(static_cast<GLuint>(unit), m_textureBindings[unit]);
    if (!m_textureBindings.empty())
        m_textureBindings.resize(1);
}

int Program::numImages() const {
    return static_cast<int>(
        std::count_if(m_textureBindings.begin(), m_textureBindings.end(),
                      [](const TextureBinding& binding) { return binding.texture != nullptr; }));
}

bool Program::bindImage(const std::string& name, const Texture& texture, ImageAccess access) {
    auto entry = std::find_if(m_imageBindings.begin(), m_imageBindings.end(),
                              [&](const ImageBinding& binding) { return binding.name == name; });
    if (entry == m_imageBindings.end()) {
        if (m_imageBindings.size() >= m_maxImageUnits) {
            logMessage(Log::Error, category, "Cannot bind image to shader: Out of image units.");
            return false;
        }
        entry = m_imageBindings.emplace(entry);
    }
    const auto unit = static_cast<GLint>(entry - m_imageBindings.begin());
    const GLboolean layered = hasLayers(texture) ? GL_TRUE : GL_FALSE;
    glBindImageTexture(static_cast<GLuint>(unit), texture.id(), 0, layered, 0, static_cast<GLenum>(access),
                       texture.internalFormat().value());
    glUniform1i(loc(name), unit);
    *entry = {&texture, name};
    return true;
}

bool Program::bindBuffer(const std::string& name, ShaderStorageBuffer& buffer) {
    auto entry =
        std::find_if(m_bufferBindings.begin(), m_bufferBindings.end(), [&](const BufferBinding& binding) {
            return binding.buffer == &buffer && binding.name == name;
        });
    const bool known = entry != m_bufferBindings.end();
    if (!known)
        entry = std::find_if(m_bufferBindings.begin(), m_bufferBindings.end(),
                             [](const BufferBinding& binding) { return !binding.buffer; });
    if (entry == m_bufferBindings.end()) {
        logMessage(Log::Error, category, "Cannot bind buffer to shader: Out of binding points.");
        return false;
    }
    const auto point = static_cast<GLuint>(entry - m_bufferBindings.begin());
    if (!known) {
        const GLuint block = glGetProgramResourceIndex(m_id, GL_SHADER_STORAGE_BLOCK, name.c_str());
        if (block == GL_INVALID_INDEX) {
            logMessage(Log::Error, category,
                       [&] { return "Could not locate GLSL resource with name '" + name + "'."; });
            return false;
        }
        *entry = {&buffer, static_cast<int>(block), name};
    }
    // Also for a known buffer: the block may have been bound to another one meanwhile.
    glShaderStorageBlockBinding(m_id, static_cast<GLuint>(entry->blockIndex), point);
    buffer.bind();
    buffer.bindBase(point);
    return true;
}

void Program::unbindBuffers() {
    std::fill(m_bufferBindings.begin(), m_bufferBindings.end(), BufferBinding{});
}

void Program::unbindBuffers(const std::string& name) {
    for (BufferBinding& binding : m_bufferBindings)
        if (binding.name == name)
            binding = {};
}

void Program::enable() {
    if (m_needsCompilation)
        logMessage(Log::Warning, category,
                   "Enabled program was marked as 'needs compilation' and may be out of date/unavailable.");
    glUseProgram(m_id);
    // By index: a decorator may add further ones.
    for (std::size_t i = 0; i < m_decorators.size(); ++i)
        m_decorators[i]->decorate(*this);
}

void Program::disable() {
    glUseProgram(0);
}

void Program::dispatchCompute(int x, int y, int z) {
    if (m_id == 0)
        return;
    if (!glDispatchCompute) {
        logMessage(Log::Error, category, "Cannot dispatch compute shader: OpenGL 4.3 is needed.");
        return;
    }
    glDispatchCompute(static_cast<GLuint>(x), static_cast<GLuint>(y), static_cast<GLuint>(z));
}

void Program::dispatchCompute(const Eigen::Vector3i& groups) {
    dispatchCompute(groups.x(), groups.y(), groups.z());
}

void Program::addDecorator(ProgramDecorator* decorator) {
    if (decorator && std::find(m_decorators.begin(), m_decorators.end(), decorator) == m_decorators.end())
        m_decorators.push_back(decorator);
}

void Program::removeDecorator(ProgramDecorator* decorator) {
    std::erase(m_decorators, decorator);
}

} // namespace Veltrand::GL
