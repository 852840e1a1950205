// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace Veltrand::GL {

namespace {

using Eigen::Matrix3d;
using Eigen::Matrix4d;
using Eigen::Vector3d;

// Views as applications have them, of scenes of any size.
ViewState randomView(std::mt19937_64& generator) {
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(generator);
    };
    const double size = std::exp(between(-7, 9));
    const double near = size * between(0.05, 1);
    const double far = near * between(2, 1e4);
    const Viewport viewport{static_cast<int>(between(0, 500)), static_cast<int>(between(0, 500)),
                            static_cast<int>(between(1, 4000)), static_cast<int>(between(1, 4000))};
    const double aspect = static_cast<double>(viewport.width) / viewport.height;
    const Matrix4d projection = between(0, 1) < 0.5
                                    ? createPerspective(between(0.2, 2.5), aspect, near, far)
                                    : createOrtho(-size * aspect, size * aspect, -size, size, near, far);
    Eigen::Isometry3d modelView(
        Eigen::AngleAxisd(between(0, 6.3), Vector3d(between(-1, 1), between(-1, 1), 1).normalized()));
    modelView.pretranslate(size * Vector3d(between(-1, 1), between(-1, 1), between(-1, 1)));
    return {viewport, projection, modelView.matrix()};
}

} // namespace

TEST(ViewState, ProjectsIntoTheViewport) {
    const ViewState view({10, 20, 200, 100}, Matrix4d::Identity(), Matrix4d::Identity());
    bool behind = true;
    EXPECT_EQ(view.project({-1, 1, -1}, &behind), Vector3d(10, 120, 0));
    EXPECT_FALSE(behind);
    EXPECT_EQ(view.unproject({10, 120, 0}), Vector3d(-1, 1, -1));
}

TEST(ViewState, DerivedMatricesFollowTheOthersAlone) {
    const Matrix4d projection = createPerspective(1, 1.5, 1, 100);
    Eigen::Isometry3d modelView(Eigen::AngleAxisd(0.5, Vector3d(1, 2, 3).normalized()));
    modelView.pretranslate(Vector3d(0, 0, -5));

    ViewState view(Matrix4d::Identity(), Matrix4d::Identity());
    view.setProjectionMatrix(projection);
    EXPECT_EQ(view.modelViewProjectionMatrix(), projection);
    view.setModelViewMatrix(modelView.matrix());
    EXPECT_EQ(view.modelViewProjectionMatrix(), projection * modelView.matrix());
    EXPECT_TRUE((view.inverseModelViewProjectionMatrix() * view.modelViewProjectionMatrix())
                    .isApprox(Matrix4d::Identity(), 1e-12));
}

TEST(ViewState, OnlyThePlaneOfTheEyeIsReported) {
    const ViewState view({0, 0, 100, 100}, createPerspective(std::numbers::pi / 2, 1, 1, 100),
                         Matrix4d::Identity());
    bool behind = false;
    EXPECT_EQ(view.project({3, 4, 0}, &behind), Vector3d(0, 0, 0));
    EXPECT_TRUE(behind);

    // Behind the eye the image is mirrored.
    const Vector3d mirrored = view.project({1, 0, 2}, &behind);
    EXPECT_FALSE(behind);
    EXPECT_NEAR(mirrored.x(), 25, 1e-12);
}

TEST(ViewState, UnprojectionInvertsAndPixelIncrementsLeadToTheNeighbouringPixel) {
    std::mt19937_64 random{20240611};
    int parallel = 0;
    for (int i = 0; i < 1000; ++i) {
        const ViewState view = randomView(random);
        const Viewport& port = view.viewport();
        const Vector3d window(port.x + port.width * 0.3, port.y + port.height * 0.6, 0.4);
        const Vector3d world = view.unproject(window);
        const Vector3d size(port.x + port.width, port.y + port.height, 1);
        ASSERT_LT((view.project(world) - window).cwiseQuotient(size).cwiseAbs().maxCoeff(), 1e-9) << i;
        const Matrix3d increment = view.unprojectPixelIncrement(world);
        for (int axis = 0; axis < 2; ++axis) {
            const Vector3d moved = view.project(world + increment.col(axis)) - window;
            ASSERT_LT((moved - Vector3d::Unit(axis)).norm(), 1e-6) << i;
        }
        if (view.projectionMatrix()(3, 3) != 1)
            continue;
        ++parallel;
        // The same everywhere; its depth is that of normalised device coordinates.
        EXPECT_EQ(view.unprojectPixelIncrement(world + Vector3d(1, 2, 3)), increment);
        const Vector3d deeper = view.project(world + increment.col(2)) - window;
        ASSERT_NEAR(deeper.z(), 0.5, 1e-6) << i;
    }
    EXPECT_TRUE(parallel > 100 && parallel < 900) << parallel;
}

TEST(ViewState, DirectionsAreThoseOfTheWindowsAxes) {
    Eigen::Isometry3d modelView(Eigen::AngleAxisd(std::numbers::pi / 2, Vector3d::UnitZ()));
    modelView.pretranslate(Vector3d(7, 8, -9));
    const ViewState view({0, 0, 640, 480}, createOrtho(-2, 2, -1.5, 1.5, 1, 100), modelView.matrix());
    EXPECT_TRUE(view.xDir().isApprox(Vector3d(0, -1, 0), 1e-12));
    EXPECT_TRUE(view.yDir().isApprox(Vector3d(1, 0, 0), 1e-12));
    EXPECT_TRUE(view.zDir().isApprox(Vector3d(0, 0, -1), 1e-12));

    // Exchanging x and w leaves the x axis without a direction.
    Matrix4d exchange = Matrix4d::Identity();
    exchange.col(0).swap(exchange.col(3));
    EXPECT_EQ(ViewState(exchange, Matrix4d::Identity()).xDir(), Vector3d(0, 0, 0));
}

} // namespace Veltrand::GL
