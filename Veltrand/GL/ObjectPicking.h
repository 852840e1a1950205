// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <array>
#include <compare>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace Veltrand::GL {

class PixelBlocks;

/// Tells which objects, and which parts of them, are seen at given pixels of a framebuffer.
///
///     picking.reset(framebuffer, size, {&liver, &vessel});
///     program.enable(); // its fragment shader calls writePickingInfo(part)
///     picking.enable(program, &liver);
///     ... // draw the liver
///     picking.enable(program, &vessel);
///     ... // draw the vessel
///     picking.disable();
///     for (const auto& info : picking.getPickingInfo({pixel}, nullptr))
///         select(picking.objectWithId(info.objectId), info.secondId);
///
/// Ask `getPickingInfoPerPosition` about one pixel of a large framebuffer, or about each of many.
///
/// Fragment shaders that include "VeltrandGL/ObjectPicking.glh" write the object's id, and a second id of
/// their choice, such as that of a primitive, to colour attachment 1 beside the picture. An object's id is
/// its position in the list that the pass starts with.
///
/// Programs that write no ids, such as those of lines and text, leave undefined ones where they draw between
/// `enable` and `disable`. Call `disable` before them; the next `enable` takes the pass up again.
///
/// Pixels count from the framebuffer's lower left corner. Window systems count from the upper left one, and
/// on a dense screen in points of several pixels each, so that a click at `point` is at
///
///     const double scale = GL::dpiScale(); // pixels per point
///     const Eigen::Vector2i pixel(int(point.x() * scale), height - 1 - int(point.y() * scale));
///
/// where `height` is that of the framebuffer in pixels.
///
/// A pass lasts from `reset` to `disable`; the framebuffer lives as long. It needs one sample per pixel: one
/// with more is refused by `enable`. Draw the pass for picking once more then, into a buffer lent by
/// `OffscreenRenderHelper` of the same size, which is needed only where the user clicks.
///
/// Use it on the thread whose context is current, and the framebuffer's. OpenGL state that is changed:
/// - `enable` and `disable`: attachment 1 and the draw buffers of the pass's framebuffer.
/// - Construction, `getPickingInfo`, and `reset` where it makes a new texture or OpenGL is older than 4.4:
///   the texture is bound to unit 0, which is active.
class VELTRAND_GL_API ObjectPicking : private Utils::NotCopyable {
public:
    /// What is seen at a pixel. Ordered by object, then by the second id.
    struct PickingInfo {
        unsigned objectId; ///< position in the list of the pass, or `Nothing`
        unsigned secondId; ///< as the shader has written it
        [[nodiscard]] friend bool operator==(const PickingInfo&, const PickingInfo&) = default;
        /// By object, then by the second id, as numbers: `Nothing` comes last.
        [[nodiscard]] friend std::strong_ordering operator<=>(const PickingInfo& a, const PickingInfo& b) {
            const auto byObject = a.objectId <=> b.objectId;
            return std::is_eq(byObject) ? a.secondId <=> b.secondId : byObject;
        }
    };

    /// In place of either id: no object, or a pixel that none covers.
    static constexpr unsigned Nothing = 0xFFFFFFFF;

    /// GL: glTexImage2D, 3.3
    ObjectPicking();
    /// Ends the pass.
    ~ObjectPicking();
    /// The source then has no objects and no texture, and picks nothing until it is reset.
    ObjectPicking(ObjectPicking&& other) noexcept;
    ObjectPicking& operator=(ObjectPicking&& other) noexcept;

    /// Starts a pass without a trace of earlier ones. Ends the one before where framebuffer or size differ.
    ///
    /// A size without pixels, such as that of a minimised window, is picked in without result; one that the
    /// driver cannot draw to is logged as an error and treated the same.
    /// @param size of the framebuffer, in pixels
    /// @param objects position is id; they are compared, never looked into
    /// GL: glClearTexImage, 4.4; before, an upload
    void reset(Framebuffer& framebuffer, const Eigen::Vector2i& size, std::vector<const void*> objects);
    /// Appends an object unless it is there already.
    void registerObject(const void* object);

    /// The first position of an object in the list, otherwise `Nothing`. Searches the list; callers with
    /// thousands of objects know their ids.
    [[nodiscard]] unsigned objectId(const void* object) const;
    /// Null for an id without object.
    [[nodiscard]] const void* objectWithId(unsigned id) const;

    /// Lets an enabled program draw an object that can be picked, until it is told another one. `Nothing`
    /// draws what cannot be picked and hides what is behind it.
    ///
    /// The first call of a pass attaches the picking texture, whichever framebuffer is bound; the log has a
    /// warning if that takes the place of another texture. A framebuffer with several samples per pixel is
    /// logged as an error, once per pass, and drawn to without picking.
    /// GL: glFramebufferTexture, 3.2
    void enable(Program& program, unsigned id) const;
    /// By object; one that is not in the list is drawn as `Nothing`.
    void enable(Program& program, const void* object) const;
    /// Detaches the picking texture, if it is attached. GL: glFramebufferTexture, 3.2
    void disable() const;

    /// What was drawn, in format RG32UI; null for a size without pixels.
    [[nodiscard]] const Texture* pickingTexture() const { return m_texture.get(); }

    /// What is seen at some pixels, sorted, each combination once. Pixels outside see nothing.
    ///
    /// Waits for the drawing and downloads the whole texture, at the cost of one call for any number of
    /// positions; none of them inside, or an object that is not in the list, costs nothing.
    /// @param object only this one; null for all
    /// GL: glGetTexImage, 3.0
    [[nodiscard]] std::vector<PickingInfo> getPickingInfo(const std::vector<Eigen::Vector2i>& positions,
                                                          const void* object) const;
    /// What is seen at each of some pixels, in their order: nothing where no object is, or another one than
    /// @p object, and outside.
    ///
    /// Waits for the drawing once and reads no more than small blocks of pixels around the positions: one
    /// position costs about as much as one `glReadPixels` of its pixel.
    /// @param object only this one; null for all
    /// GL: glReadPixels, glFramebufferTexture2D, glGetBufferSubData, 3.0
    [[nodiscard]] std::vector<std::optional<PickingInfo>>
    getPickingInfoPerPosition(const std::vector<Eigen::Vector2i>& positions, const void* object) const;

private:
    using Ids = std::array<unsigned, 2>;

    [[nodiscard]] bool isAttached() const;
    [[nodiscard]] static std::optional<PickingInfo> seen(const Ids& ids);
    [[nodiscard]] bool isInside(const Eigen::Vector2i& position) const;
    void createTexture();
    void attach() const;
    [[nodiscard]] std::unique_ptr<Ids[]> download() const;
    [[nodiscard]] std::vector<Ids> read(const PixelBlocks& blocks) const;

    std::unique_ptr<Texture> m_texture;
    std::vector<const void*> m_objects;
    Framebuffer* m_framebuffer = nullptr;
    int m_width = 2;
    int m_height = 2;
    mutable bool m_attached = false;
    mutable bool m_refused = false; ///< the framebuffer, for the rest of the pass
};

} // namespace Veltrand::GL
