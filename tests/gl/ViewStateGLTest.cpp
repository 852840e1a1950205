// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

namespace Veltrand::GL {

using ViewStateGL = GLFixture;

// Run in the core profile and, with an environment of its own, in the compatibility profile.
TEST_F(ViewStateGL, TheMatrixStackIsSetWhereThereIsOne) {
    constexpr GLenum modelViewMatrix = 0x0BA6;  // GL_MODELVIEW_MATRIX
    constexpr GLenum projectionMatrix = 0x0BA7; // GL_PROJECTION_MATRIX
    Matrix4d projection = Matrix4d::Identity();
    projection(1, 3) = 0.25;
    Matrix4d modelView = Matrix4d::Identity();
    modelView(2, 0) = -3;
    const ViewState view({0, 0, 8, 8}, projection, modelView);

    EXPECT_EQ(view.setLegacyGlMatrixStack(), !ContextManager::useCoreContext());
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    if (ContextManager::useCoreContext())
        return;
    Matrix4d loaded;
    glGetDoublev(projectionMatrix, loaded.data());
    EXPECT_EQ(loaded, projection);
    glGetDoublev(modelViewMatrix, loaded.data());
    EXPECT_EQ(loaded, modelView);
}

} // namespace Veltrand::GL
