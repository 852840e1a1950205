// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/LegacyScene.h"

#include "scene/VolumeTexture.h"

#include <Veltrand/GL/Functions.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace Veltrand::Apps {

namespace {

using Eigen::Vector2f;
using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector4f;
using GL::Primitive;

// Units that the flat figures are laid out in.
constexpr float Width = 780;
constexpr float Height = 660;

const Vector4f Warm(1, 0.62F, 0.25F, 1);
const Vector4f Cool(0.35F, 0.75F, 1, 1);
const Vector4f Grey(0.75F, 0.75F, 0.75F, 1);

Vector4f mix(const Vector4f& from, const Vector4f& to, float part) {
    return from + part * (to - from);
}

Vector4f fade(const Vector4f& color, float alpha) {
    return {color.x(), color.y(), color.z(), alpha};
}

/// Red and green ramps with a grid of dark lines.
GL::Texture makePattern() {
    constexpr int edge = 64;
    using Texel = Eigen::Matrix<std::uint8_t, 4, 1>;
    std::vector<Texel> texels;
    for (int y = 0; y < edge; ++y)
        for (int x = 0; x < edge; ++x) {
            const int shade = x % 16 < 2 || y % 16 < 2 ? 1 : 4;
            texels.emplace_back(std::uint8_t(x * shade), std::uint8_t(y * shade), std::uint8_t(30 * shade),
                                std::uint8_t(255));
        }
    GL::Texture pattern(Eigen::Vector3i(edge, edge, 1), GL::InternalFormat::RGBA8);
    pattern.upload(texels);
    return pattern;
}

/// The volume in its window, as bright as it is shown: the fixed-function pipeline cannot do this itself.
/// Large volumes are thinned out.
GL::Texture makeShownVolume(const Scene& scene) {
    constexpr int enough = 192;
    const Eigen::Vector3i& size = scene.volume.size;
    const int step = (size.maxCoeff() + enough - 1) / enough;
    const Eigen::Vector3i shown = (size.array() + step - 1) / step;
    std::vector<std::uint8_t> texels;
    texels.reserve(static_cast<std::size_t>(shown.prod()));
    const Window& window = scene.window;
    for (int z = 0; z < size.z(); z += step)
        for (int y = 0; y < size.y(); y += step)
            for (int x = 0; x < size.x(); x += step) {
                const double part = (scene.volume.value(x, y, z) - window.low) / (window.high - window.low);
                texels.push_back(std::uint8_t(std::clamp(part, 0.0, 1.0) * 255));
            }
    GL::Texture texture(GL::Texture::Target::Texture3D, shown, GL::InternalFormat::R8);
    texture.upload(texels);
    return texture;
}

std::vector<LegacyVertex> colored(const std::vector<Vector2f>& points, const Vector4f& first,
                                  const Vector4f& last) {
    std::vector<LegacyVertex> vertices;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const float part = points.size() > 1 ? float(i) / float(points.size() - 1) : 0;
        vertices.push_back({Vector3f(points[i].x(), points[i].y(), 0), mix(first, last, part)});
    }
    return vertices;
}

Vector2f onCircle(const Vector2f& center, float radius, float turns) {
    const float angle = turns * 2 * std::numbers::pi_v<float>;
    return center + radius * Vector2f(std::sin(angle), std::cos(angle));
}

} // namespace

LegacyScene::LegacyScene(const Scene& scene, const Eigen::Vector2i& size)
    : m_scene(scene)
    , m_size(size)
    , m_scale(std::min(float(size.x()) / Width, float(size.y()) / Height))
    , m_pattern(makePattern())
    , m_volume(makeShownVolume(scene)) {
    m_pattern.setWrapping(GL::Sampler::Wrap::MirroredRepeat);
    m_views.push_back(flatView());
    m_views.push_back(spaceView());
}

GL::Viewport LegacyScene::viewportOf(const Vector2f& origin, const Vector2f& size) const {
    const auto pixels = [this](float units) { return int(std::lround(units * m_scale)); };
    const int left = (m_size.x() - pixels(Width)) / 2;
    const int bottom = (m_size.y() - pixels(Height)) / 2;
    return {left + pixels(origin.x()), bottom + pixels(origin.y()), pixels(size.x()), pixels(size.y())};
}

LegacyView LegacyScene::flatView() const {
    LegacyView flat{{viewportOf({0, 0}, {Width, Height}),
                     GL::createOrtho(0, double(Width), 0, double(Height), -1, 1),
                     Eigen::Matrix4d::Identity()},
                    {}};
    addPoints(flat.figures);
    addLines(flat.figures);
    addJoins(flat.figures);
    addSurfaces(flat.figures);
    for (LegacyFigure& figure : flat.figures)
        figure.size *= m_scale;
    return flat;
}

void LegacyScene::addPoints(std::vector<LegacyFigure>& figures) const {
    float x = 24;
    for (const float size : {1.F, 2.F, 3.F, 5.F, 8.F, 12.F, 16.F, 20.F, 24.F}) {
        for (const bool smooth : {false, true})
            figures.push_back({Primitive::Points,
                               {{Vector3f(x, smooth ? 590.F : 632.F, 0), mix(Warm, Cool, x / 360)}},
                               size,
                               smooth});
        x += 28 + size * 0.7F;
    }
}

void LegacyScene::addLines(std::vector<LegacyFigure>& figures) const {
    float x = 24;
    for (const float width : {1.F, 2.F, 3.F, 4.F, 6.F, 8.F, 12.F, 16.F}) {
        figures.push_back({Primitive::Lines, colored({{x, 480}, {x + 30, 552}}, Warm, Cool), width});
        x += 32 + width * 0.9F;
    }
    const struct {
        float width;
        int factor;
        unsigned short pattern;
    } stipples[]{{1, 1, 0x5555}, {1, 1, 0x00FF}, {2, 2, 0x0C0F},
                 {3, 2, 0x1C47}, {5, 3, 0xAAAA}, {8, 4, 0x0F33}};
    float y = 452;
    for (const auto& stipple : stipples) {
        LegacyFigure line{Primitive::Lines, colored({{24, y}, {364, y}}, Cool, Warm), stipple.width};
        line.stippleFactor = std::max(1, int(std::lround(float(stipple.factor) * m_scale)));
        line.stipplePattern = stipple.pattern;
        figures.push_back(line);
        y -= 13 + stipple.width * 0.5F;
    }
}

void LegacyScene::addJoins(std::vector<LegacyFigure>& figures) const {
    figures.push_back({Primitive::LineStrip,
                       colored({{30, 232},
                                {50, 335},
                                {110, 335},
                                {150, 240},
                                {185, 335},
                                {213, 240},
                                {236, 335},
                                {255, 240},
                                {270, 335},
                                {281, 240},
                                {290, 335},
                                {360, 280}},
                               fade(Warm, 0.6F), fade(Cool, 0.6F)),
                       11});
    std::vector<Vector2f> star;
    std::vector<Vector2f> hexagon;
    star.reserve(5);
    hexagon.reserve(6);
    for (int i = 0; i < 5; ++i)
        star.push_back(onCircle({110, 100}, 80, float(2 * i) / 5));
    for (int i = 0; i < 6; ++i)
        hexagon.push_back(onCircle({280, 105}, 75, float(i) / 6));
    figures.push_back({Primitive::LineLoop, colored(star, fade(Cool, 0.5F), fade(Cool, 0.5F)), 9});
    LegacyFigure loop{Primitive::LineLoop, colored(hexagon, Warm, Cool), 6};
    loop.stippleFactor = std::max(1, int(std::lround(3 * m_scale)));
    loop.stipplePattern = 0x7F7F;
    figures.push_back(loop);
}

void LegacyScene::addSurfaces(std::vector<LegacyFigure>& figures) const {
    std::vector<LegacyVertex> wheel{{Vector3f(480, 560, 0)}};
    const std::array<Vector4f, 6> rainbow{Vector4f(1, 0, 0, 1), Vector4f(1, 1, 0, 1), Vector4f(0, 1, 0, 1),
                                          Vector4f(0, 1, 1, 1), Vector4f(0, 0, 1, 1), Vector4f(1, 0, 1, 1)};
    for (std::size_t i = 0; i <= rainbow.size(); ++i) {
        const Vector2f rim = onCircle({480, 560}, 80, float(i) / float(rainbow.size()));
        wheel.push_back({Vector3f(rim.x(), rim.y(), 0), rainbow.at(i % rainbow.size())});
    }
    figures.push_back({Primitive::TriangleFan, wheel});

    LegacyFigure square{Primitive::TriangleFan, {}};
    square.texture = &m_pattern;
    for (int i = 0; i < 4; ++i) {
        const Vector2f corner = onCircle({670, 560}, 92, float(i) / 4 + 0.08F);
        square.vertices.push_back({Vector3f(corner.x(), corner.y(), 0), Vector4f::Ones(),
                                   Vector3f(i == 1 || i == 2 ? 1.6F : 0, i >= 2 ? 1.6F : 0, 0)});
    }
    figures.push_back(square);
}

// The volume in its box, from the front and above; two lines run below the eye and end behind it.
LegacyView LegacyScene::spaceView() const {
    const Eigen::AlignedBox3d bounds = m_scene.volume.bounds();
    const double diagonal = bounds.diagonal().norm();
    Eigen::Affine3d camera = Eigen::Affine3d::Identity();
    camera.translate(Vector3d(0, 0, -1.75 * diagonal))
        .rotate(Eigen::AngleAxisd(-1.1, Vector3d::UnitX()))
        .rotate(Eigen::AngleAxisd(2.6, Vector3d::UnitZ()))
        .translate(-bounds.center());
    const GL::Viewport viewport = viewportOf({385, 5}, {390, 450});
    LegacyView space{
        {viewport,
         GL::createPerspective(0.62, double(viewport.width) / viewport.height, 0.2 * diagonal, 4 * diagonal),
         camera.matrix()},
        {}};

    const double height = m_scene.point.z();
    const auto corner = [&bounds](int i, double z) {
        const Vector3d& low = bounds.min();
        const Vector3d& high = bounds.max();
        const bool right = i % 4 == 1 || i % 4 == 2;
        const bool back = i % 4 >= 2;
        return Vector3d(right ? high.x() : low.x(), back ? high.y() : low.y(), z);
    };
    const auto frame = [&](double z) {
        LegacyFigure loop{Primitive::LineLoop, {}, 3 * m_scale};
        for (int i = 0; i < 4; ++i)
            loop.vertices.push_back({corner(i, z).cast<float>(), Grey});
        return loop;
    };
    const auto posts = [&](double from, double to) {
        LegacyFigure lines{Primitive::Lines, {}, 3 * m_scale};
        for (int i = 0; i < 4; ++i)
            for (const double z : {from, to})
                lines.vertices.push_back({corner(i, z).cast<float>(), Grey});
        return lines;
    };
    LegacyFigure slice{Primitive::TriangleFan, {}};
    slice.texture = &m_volume;
    const Eigen::Affine3d toTexture = patientToTexture(m_scene.volume);
    for (int i = 0; i < 4; ++i) {
        const Vector3d position = corner(i, height);
        slice.vertices.push_back(
            {position.cast<float>(), Vector4f::Ones(), (toTexture * position).cast<float>()});
    }
    const Eigen::Affine3d fromEye = camera.inverse();
    LegacyFigure rails{Primitive::Lines, {}, 5 * m_scale};
    for (const double side : {-0.3, 0.3})
        for (const double depth : {-2.6, 0.5}) {
            const Vector3d point = fromEye * Vector3d(side * diagonal, -0.42 * diagonal, depth * diagonal);
            rails.vertices.push_back({point.cast<float>(), depth > 0 ? Warm : Cool});
        }
    // From far to near: what the slice hides comes before it.
    space.figures = {rails, frame(bounds.min().z()),         posts(bounds.min().z(), height),
                     slice, posts(height, bounds.max().z()), frame(bounds.max().z())};
    return space;
}

} // namespace Veltrand::Apps
