// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Sampler.h>

#include <Veltrand/GL/detail/MoveOnly.h>

#include <Eigen/Core>
#include <glad/gl.h>
#include <stdexcept>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<Sampler>);
static_assert(GLenum(Sampler::MinFilter::Nearest) == GL_NEAREST &&
              GLenum(Sampler::MinFilter::Linear) == GL_LINEAR &&
              GLenum(Sampler::MinFilter::NearestMipmapNearest) == GL_NEAREST_MIPMAP_NEAREST &&
              GLenum(Sampler::MinFilter::LinearMipmapNearest) == GL_LINEAR_MIPMAP_NEAREST &&
              GLenum(Sampler::MinFilter::NearestMipmapLinear) == GL_NEAREST_MIPMAP_LINEAR &&
              GLenum(Sampler::MinFilter::LinearMipmapLinear) == GL_LINEAR_MIPMAP_LINEAR &&
              GLenum(Sampler::MagFilter::Nearest) == GL_NEAREST &&
              GLenum(Sampler::MagFilter::Linear) == GL_LINEAR);
static_assert(GLenum(Sampler::Wrap::Repeat) == GL_REPEAT &&
              GLenum(Sampler::Wrap::ClampToBorder) == GL_CLAMP_TO_BORDER &&
              GLenum(Sampler::Wrap::ClampToEdge) == GL_CLAMP_TO_EDGE &&
              GLenum(Sampler::Wrap::MirroredRepeat) == GL_MIRRORED_REPEAT &&
              GLenum(Sampler::Wrap::MirrorClampToEdge) == GL_MIRROR_CLAMP_TO_EDGE);
static_assert(GLenum(Sampler::CompareMode::Off) == GL_NONE &&
              GLenum(Sampler::CompareMode::CompareRefToTexture) == GL_COMPARE_REF_TO_TEXTURE &&
              GLenum(Sampler::CompareFunc::Never) == GL_NEVER &&
              GLenum(Sampler::CompareFunc::Less) == GL_LESS &&
              GLenum(Sampler::CompareFunc::Equal) == GL_EQUAL &&
              GLenum(Sampler::CompareFunc::LEqual) == GL_LEQUAL &&
              GLenum(Sampler::CompareFunc::Greater) == GL_GREATER &&
              GLenum(Sampler::CompareFunc::NotEqual) == GL_NOTEQUAL &&
              GLenum(Sampler::CompareFunc::GEqual) == GL_GEQUAL &&
              GLenum(Sampler::CompareFunc::AlwaysPass) == GL_ALWAYS);

Sampler::Sampler() {
    glGenSamplers(1, &m_id);
    if (m_id == 0)
        throw std::runtime_error("Could not create OpenGL Sampler object");
    setFiltering(MinFilter::Linear, MagFilter::Linear);
    setWrapping(Wrap::ClampToEdge);
    setLOD(-1000.0F, 1000.0F, 0.0F);
}

Sampler::~Sampler() {
    if (m_id != 0)
        glDeleteSamplers(1, &m_id);
}

Sampler::Sampler(Sampler&& other) noexcept
    : m_id(std::exchange(other.m_id, 0)) {}

Sampler& Sampler::operator=(Sampler&& other) noexcept {
    Sampler taken(std::move(other));
    std::swap(m_id, taken.m_id);
    return *this;
}

void Sampler::setFiltering(MinFilter minFilter, MagFilter magFilter) {
    if (m_id == 0)
        return;
    glSamplerParameteri(m_id, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(minFilter));
    glSamplerParameteri(m_id, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(magFilter));
}

void Sampler::setWrapping(Wrap s, Wrap t, Wrap r) {
    if (m_id == 0)
        return;
    glSamplerParameteri(m_id, GL_TEXTURE_WRAP_S, static_cast<GLint>(s));
    glSamplerParameteri(m_id, GL_TEXTURE_WRAP_T, static_cast<GLint>(t));
    glSamplerParameteri(m_id, GL_TEXTURE_WRAP_R, static_cast<GLint>(r));
}

void Sampler::setWrapping(Wrap wrap) {
    setWrapping(wrap, wrap, wrap);
}

void Sampler::setCompareMode(CompareMode mode, CompareFunc function) {
    if (m_id == 0)
        return;
    glSamplerParameteri(m_id, GL_TEXTURE_COMPARE_MODE, static_cast<GLint>(mode));
    glSamplerParameteri(m_id, GL_TEXTURE_COMPARE_FUNC, static_cast<GLint>(function));
}

void Sampler::setLOD(float minLod, float maxLod, float bias) {
    if (m_id == 0)
        return;
    glSamplerParameterf(m_id, GL_TEXTURE_MIN_LOD, minLod);
    glSamplerParameterf(m_id, GL_TEXTURE_MAX_LOD, maxLod);
    glSamplerParameterf(m_id, GL_TEXTURE_LOD_BIAS, bias);
}

void Sampler::setBorderColor(const Eigen::Vector4f& color) {
    if (m_id == 0)
        return;
    glSamplerParameterfv(m_id, GL_TEXTURE_BORDER_COLOR, color.data());
}

void Sampler::bind(GLuint unit) const {
    glBindSampler(unit, m_id);
}

void Sampler::unbind(GLuint unit) {
    glBindSampler(unit, 0);
}

} // namespace Veltrand::GL
