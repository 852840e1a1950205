// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/VertexArrayObject.h>

namespace Veltrand::GL {

using Usage = Buffer::Usage;

namespace {

// The arrays that are on by their locations: integer, normalised, components, stride and offset.
using Arrays = std::map<GLuint, std::vector<std::intptr_t>>;

Arrays arrays() {
    Arrays described;
    for (GLuint location = 0; location < 16; ++location) {
        const auto read = [location](GLenum name) {
            GLint value = 0;
            glGetVertexAttribiv(location, name, &value);
            return value;
        };
        void* offset = nullptr;
        glGetVertexAttribPointerv(location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &offset);
        if (read(GL_VERTEX_ATTRIB_ARRAY_ENABLED))
            described[location] = {read(GL_VERTEX_ATTRIB_ARRAY_INTEGER),
                                   read(GL_VERTEX_ATTRIB_ARRAY_NORMALIZED), read(GL_VERTEX_ATTRIB_ARRAY_SIZE),
                                   read(GL_VERTEX_ATTRIB_ARRAY_STRIDE),
                                   reinterpret_cast<std::intptr_t>(offset)};
    }
    return described;
}

int elementBinding() {
    return getInt(GL_ELEMENT_ARRAY_BUFFER_BINDING);
}

class VertexArrayObjectGL : public Testing::GLFixture {
protected:
    VertexArrayObjectGL() {
        m_buffer.setData(std::vector<Eigen::Vector2f>{{0.5F, 0.5F}, {1.5F, 0.5F}, {2.5F, 0.5F}},
                         std::vector<Eigen::Vector4f>(3, {1, 0, 0, 1}));
    }

    VertexBuffer m_buffer{Usage::StaticDraw};
    VertexArrayObject m_array;
};

} // namespace

TEST_F(VertexArrayObjectGL, ArraysGoToTheirLocations) {
    VertexBuffer second(Usage::StaticDraw);
    second.setData(std::vector<float>{1, 2, 3});
    m_array.setAttributes(m_buffer, nullptr);
    EXPECT_EQ(arrays(), (Arrays{{0, {0, 0, 2, 8, 0}}, {1, {0, 0, 4, 16, 24}}}));
    m_array.setAttributes({{&m_buffer, {0}}}, nullptr); // arrays without a location are left out
    EXPECT_EQ(arrays(), (Arrays{{0, {0, 0, 2, 8, 0}}}));
    m_array.setAttributes({{&m_buffer, {-1, 2}}}, nullptr); // described at the skipped one's offset
    EXPECT_EQ(arrays(), (Arrays{{2, {0, 0, 4, 16, 0}}}));
    m_array.setAttributes({{&m_buffer, {16, 15}}}, nullptr);
    expectLine(Log::Error, "GL.VertexArrayObject",
               "Binding of vertex attribute to location 16 is not allowed, must be less than 16.");
    EXPECT_EQ(arrays(), (Arrays{{15, {0, 0, 4, 16, 0}}}));
    m_array.setAttributes({{&m_buffer, {0}}, {&second, {5}}, {nullptr, {}}, {&second, {6}}}, nullptr);
    EXPECT_EQ(arrays(), (Arrays{{0, {0, 0, 2, 8, 0}}, {5, {0, 0, 1, 4, 0}}}));
}

TEST_F(VertexArrayObjectGL, OnlyUnsignedIntReachesTheShaderAsInteger) {
    VertexBuffer buffer(Usage::StaticDraw);
    buffer.setData(std::vector<unsigned int>{1, 2}, std::vector<int>{3, 4}, std::vector<unsigned char>{},
                   std::vector<Eigen::Vector<unsigned char, 4>>(2));
    buffer.setVertexAttribNormalization(3, true);
    m_array.setAttributes(buffer, nullptr);
    EXPECT_EQ(arrays(), (Arrays{{0, {1, 0, 1, 4, 0}}, {1, {0, 0, 1, 4, 8}}, {3, {0, 1, 4, 4, 16}}}));
}

TEST_F(VertexArrayObjectGL, AnEmptyListClearsButKeepsTheIndexBinding) {
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{2, 0});
    m_array.setAttributes(m_buffer, &indices);
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));
    m_array.setAttributes({}, nullptr);
    EXPECT_EQ(arrays(), Arrays{});
    EXPECT_EQ(elementBinding(), static_cast<int>(indices.id()));

    Testing::CallCounter<glad_glDrawArrays> fromArrays;
    Testing::CallCounter<glad_glDrawElements> fromElements;
    m_array.draw(Primitive::Points);
    EXPECT_EQ(fromArrays.take() + fromElements.take(), 0);
    m_array.setAttributes(m_buffer, nullptr);
    EXPECT_EQ(elementBinding(), 0);
}

TEST_F(VertexArrayObjectGL, DrawsWhatItRemembers) {
    Canvas canvas(3, 1);
    m_array.setAttributes(m_buffer, nullptr);
    m_array.drawInstanced(Primitive::Points, 2);
    EXPECT_EQ(canvas.row(0), "111");
    canvas.clear();
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned short>{0, 9, 2});
    indices.setPrimitiveRestartIndex(9);
    m_array.setAttributes(m_buffer, &indices);
    VertexArrayObject moved(std::move(m_array));
    EXPECT_EQ(m_array.id(), 0U); // NOLINT(bugprone-use-after-move)
    moved.draw(Primitive::Points);
    EXPECT_EQ(canvas.row(0), "101");
    EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART));
    indices.setPrimitiveRestartIndex(0);
    Testing::CallCounter<glad_glEnable> enables; // of primitive restart, which is the caller's
    moved.draw(Primitive::Points);
    EXPECT_EQ(enables.take(), 0);
    m_array = std::move(moved); // still bound, as before the test
}

} // namespace Veltrand::GL
