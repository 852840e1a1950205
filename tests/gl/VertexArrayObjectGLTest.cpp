// SPDX-License-Identifier: BSD-3-Clause
#include "support/Canvas.h"
#include "support/GLTest.h"

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/VertexBuffer.h>

namespace Veltrand::GL {

using Testing::Canvas;
using Usage = Buffer::Usage;

namespace {

// Whether an array is on, integer and normalised, its components, stride and offset; empty when it is off.
using Described = std::vector<std::intptr_t>;

Described described(GLuint location) {
    Described values;
    for (const int name :
         {GL_VERTEX_ATTRIB_ARRAY_ENABLED, GL_VERTEX_ATTRIB_ARRAY_INTEGER, GL_VERTEX_ATTRIB_ARRAY_NORMALIZED,
          GL_VERTEX_ATTRIB_ARRAY_SIZE, GL_VERTEX_ATTRIB_ARRAY_STRIDE}) {
        GLint value = 0;
        glGetVertexAttribiv(location, static_cast<GLenum>(name), &value);
        values.push_back(value);
    }
    void* offset = nullptr;
    glGetVertexAttribPointerv(location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &offset);
    values.push_back(reinterpret_cast<std::intptr_t>(offset));
    return values.front() != 0 ? values : Described{};
}

int elementBinding() {
    return getInt(GL_ELEMENT_ARRAY_BUFFER_BINDING);
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

    inline static const Described positions{1, 0, 0, 2, 8, 0};

    std::optional<VertexBuffer> m_buffer;
    std::optional<VertexArrayObject> m_array;
};

} // namespace

TEST_F(VertexArrayObjectGL, ArraysGoToTheirLocations) {
    m_array->setAttributes(*m_buffer, nullptr);
    EXPECT_EQ(described(0), positions);
    EXPECT_EQ(described(1), (Described{1, 0, 0, 4, 16, 24}));

    // Arrays without a location are left out, and what was enabled before is off again.
    m_array->setAttributes({{&*m_buffer, {0}}}, nullptr);
    EXPECT_EQ(described(0), positions);
    EXPECT_EQ(described(1), Described{});

    // The array after a skipped one is described at the skipped one's offset.
    m_array->setAttributes({{&*m_buffer, {-1, 2}}}, nullptr);
    EXPECT_EQ(described(0), Described{});
    EXPECT_EQ(described(2), (Described{1, 0, 0, 4, 16, 0}));

    m_array->setAttributes({{&*m_buffer, {16, 15}}}, nullptr);
    EXPECT_TRUE(
        log().takeLine({Log::Error, "GL.VertexArrayObject",
                        "Binding of vertex attribute to location 16 is not allowed, must be less than 16."}));
    EXPECT_EQ(described(15), (Described{1, 0, 0, 4, 16, 0}));

    VertexBuffer second(Usage::StaticDraw);
    second.setData(std::vector<float>{1, 2, 3});
    m_array->setAttributes({{&*m_buffer, {0, 1}}, {&second, {5}}, {nullptr, {}}, {&second, {6}}}, nullptr);
    EXPECT_EQ(described(5), (Described{1, 0, 0, 1, 4, 0}));
    EXPECT_EQ(described(6), Described{});
}

TEST_F(VertexArrayObjectGL, OnlyUnsignedIntReachesTheShaderAsInteger) {
    VertexBuffer buffer(Usage::StaticDraw);
    buffer.setData(std::vector<unsigned int>{1, 2}, std::vector<int>{3, 4}, std::vector<unsigned char>{},
                   std::vector<Eigen::Vector<unsigned char, 4>>(2));
    buffer.setVertexAttribNormalization(3, true);
    m_array->setAttributes(buffer, nullptr);
    EXPECT_EQ(described(0), (Described{1, 1, 0, 1, 4, 0}));
    EXPECT_EQ(described(1), (Described{1, 0, 0, 1, 4, 8}));
    EXPECT_EQ(described(2), Described{});
    EXPECT_EQ(described(3), (Described{1, 0, 1, 4, 4, 16}));
}

TEST_F(VertexArrayObjectGL, AnEmptyListClearsButKeepsTheIndexBinding) {
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{2, 0});
    m_array->setAttributes(*m_buffer, &indices);
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));
    m_array->setAttributes({}, nullptr);
    EXPECT_EQ(described(0), Described{});
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));

    Testing::CallCounter<glad_glDrawArrays> arrays;
    Testing::CallCounter<glad_glDrawElements> elements;
    m_array->draw(Primitive::Points);
    EXPECT_EQ(arrays.take() + elements.take(), 0);
    m_array->setAttributes(*m_buffer, nullptr);
    EXPECT_EQ(elementBinding(), 0);
}

TEST_F(VertexArrayObjectGL, DrawsWhatItRemembers) {
    Canvas canvas(3, 1);
    m_array->setAttributes(*m_buffer, nullptr);
    m_array->drawInstanced(Primitive::Points, 2);
    EXPECT_EQ(canvas.row(0), "111");
    canvas.clear();
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned short>{0, 9, 2});
    indices.setPrimitiveRestartIndex(9);
    m_array->setAttributes(*m_buffer, &indices);
    VertexArrayObject moved(std::move(*m_array));
    EXPECT_EQ(m_array->id(), 0U);
    moved.draw(Primitive::Points);
    EXPECT_EQ(canvas.row(0), "101");
    EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART));
    indices.setPrimitiveRestartIndex(0);
    Testing::CallCounter<glad_glEnable> enables; // of primitive restart, which is the caller's
    moved.draw(Primitive::Points);
    EXPECT_EQ(enables.take(), 0);
}

} // namespace Veltrand::GL
