// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/VertexBuffer.h>

#include "support/Canvas.h"
#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <glad/gl.h>
#include <optional>
#include <utility>

namespace Veltrand::GL {

using Testing::Canvas;
using Testing::ScopedEntryPoint;
using Usage = Buffer::Usage;

namespace {

int g_calls = 0;

struct Described {
    bool enabled = false;
    bool integer = false;
    bool normalized = false;
    int size = 0;
    int stride = 0;
    std::uintptr_t offset = 0;
    friend bool operator==(const Described&, const Described&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Described& d) {
        return out << d.enabled << d.integer << d.normalized << ' ' << d.size << ' ' << d.stride << ' '
                   << d.offset;
    }
};

Described described(GLuint location) {
    const auto get = [location](GLenum name) {
        GLint value = 0;
        glGetVertexAttribiv(location, name, &value);
        return value;
    };
    if (get(GL_VERTEX_ATTRIB_ARRAY_ENABLED) == 0)
        return {};
    void* pointer = nullptr;
    glGetVertexAttribPointerv(location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
    return {true,
            get(GL_VERTEX_ATTRIB_ARRAY_INTEGER) != 0,
            get(GL_VERTEX_ATTRIB_ARRAY_NORMALIZED) != 0,
            get(GL_VERTEX_ATTRIB_ARRAY_SIZE),
            get(GL_VERTEX_ATTRIB_ARRAY_STRIDE),
            reinterpret_cast<std::uintptr_t>(pointer)};
}

int elementBinding() {
    GLint id = 0;
    glGetIntegerv(GL_ELEMENT_ARRAY_BUFFER_BINDING, &id);
    return id;
}

class VertexArrayObjectGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        m_buffer.emplace(Usage::StaticDraw);
        m_buffer->setData(std::vector<Eigen::Vector2f>{{0.5F, 0.5F}, {1.5F, 0.5F}, {2.5F, 0.5F}},
                          std::vector<Eigen::Vector4f>(3, {1, 0, 0, 1}));
        m_array.emplace();
    }
    void TearDown() override {
        m_array.reset();
        m_buffer.reset();
        VertexArrayObject::unbind();
        GLFixture::TearDown();
    }

    static constexpr Described positions{true, false, false, 2, 8, 0};

    std::optional<VertexBuffer> m_buffer;
    std::optional<VertexArrayObject> m_array;
};

} // namespace

TEST_F(VertexArrayObjectGL, ArraysGoToTheirLocations) {
    m_array->setAttributes(*m_buffer, nullptr);
    EXPECT_EQ(described(0), positions);
    EXPECT_EQ(described(1), (Described{true, false, false, 4, 16, 24}));

    // Arrays without a location are left out, and what was enabled before is off again.
    m_array->setAttributes({{&*m_buffer, {0}}}, nullptr);
    EXPECT_EQ(described(0), positions);
    EXPECT_EQ(described(1), Described{});

    // The array after a skipped one is described at the skipped one's offset.
    m_array->setAttributes({{&*m_buffer, {-1, 2}}}, nullptr);
    EXPECT_EQ(described(0), Described{});
    EXPECT_EQ(described(2), (Described{true, false, false, 4, 16, 0}));

    VertexBuffer second(Usage::StaticDraw);
    second.setData(std::vector<float>{1, 2, 3});
    m_array->setAttributes({{&*m_buffer, {0, 1}}, {&second, {5}}, {nullptr, {}}, {&second, {6}}}, nullptr);
    EXPECT_EQ(described(5), (Described{true, false, false, 1, 4, 0}));
    EXPECT_EQ(described(6), Described{});
}

TEST_F(VertexArrayObjectGL, LocationsFromSixteenOnAreRefused) {
    m_array->setAttributes({{&*m_buffer, {16, 3}}}, nullptr);
    EXPECT_TRUE(
        log().takeLine({Log::Error, "GL.VertexArrayObject",
                        "Binding of vertex attribute to location 16 is not allowed, must be less than "
                        "16."}));
    EXPECT_EQ(described(3), (Described{true, false, false, 4, 16, 0}));
    m_array->setAttributes({{&*m_buffer, {15}}}, nullptr);
    EXPECT_EQ(described(15), positions);
}

TEST_F(VertexArrayObjectGL, OnlyUnsignedIntReachesTheShaderAsInteger) {
    VertexBuffer buffer(Usage::StaticDraw);
    buffer.setData(std::vector<unsigned int>{1, 2}, std::vector<int>{3, 4}, std::vector<unsigned char>{},
                   std::vector<Eigen::Vector<unsigned char, 4>>(2));
    buffer.setVertexAttribNormalization(3, true);
    m_array->setAttributes(buffer, nullptr);
    EXPECT_EQ(described(0), (Described{true, true, false, 1, 4, 0}));
    EXPECT_EQ(described(1), (Described{true, false, false, 1, 4, 8}));
    EXPECT_EQ(described(2), Described{});
    EXPECT_EQ(described(3), (Described{true, false, true, 4, 4, 16}));
}

TEST_F(VertexArrayObjectGL, AnEmptyListClearsButKeepsTheIndexBinding) {
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{2, 0});
    m_array->setAttributes(*m_buffer, &indices);
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));
    m_array->setAttributes({}, nullptr);
    EXPECT_EQ(described(0), Described{});
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));

    const ScopedEntryPoint arrays(glad_glDrawArrays, [](GLenum, GLint, GLsizei) { ++g_calls; });
    const ScopedEntryPoint elements(glad_glDrawElements,
                                    [](GLenum, GLsizei, GLenum, const void*) { ++g_calls; });
    g_calls = 0;
    m_array->draw(Primitive::Points);
    EXPECT_EQ(g_calls, 0);
    m_array->setAttributes(*m_buffer, nullptr);
    EXPECT_EQ(elementBinding(), 0);
}

TEST_F(VertexArrayObjectGL, DrawsWhatItRemembers) {
    Canvas canvas(3, 1);
    m_array->setAttributes(*m_buffer, nullptr);
    m_array->draw(Primitive::Points);
    EXPECT_EQ(canvas.row(0), "111");
    canvas.clear();
    m_array->drawInstanced(Primitive::Points, 2);
    EXPECT_EQ(canvas.row(0), "111");

    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned short>{0, 9, 2});
    indices.setPrimitiveRestartIndex(9);
    m_array->setAttributes(*m_buffer, &indices);
    canvas.clear();
    m_array->draw(Primitive::Points);
    EXPECT_EQ(canvas.row(0), "101");
    canvas.clear();
    VertexArrayObject moved(std::move(*m_array));
    EXPECT_EQ(m_array->id(), 0U);
    moved.drawInstanced(Primitive::Points, 1);
    EXPECT_EQ(canvas.row(0), "101");
    EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART));

    indices.setPrimitiveRestartIndex(0);
    indices.setData(std::vector<unsigned short>{1});
    const ScopedEntryPoint enable(glad_glEnable, [](GLenum) { ++g_calls; });
    const ScopedEntryPoint disable(glad_glDisable, [](GLenum) { ++g_calls; });
    g_calls = 0;
    moved.draw(Primitive::Points);
    EXPECT_EQ(g_calls, 0);
}

} // namespace Veltrand::GL
