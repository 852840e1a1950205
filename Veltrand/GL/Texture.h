// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/ElementTraits.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InternalFormat.h>
#include <Veltrand/GL/Sampler.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <vector>

namespace Veltrand::GL {

/// Owns an OpenGL texture of fixed target, size and internal format.
///
/// Texels run by row, then by image: x fastest, then y upwards, then z; array layers take the place of the
/// last dimension that is used. Everything but the accessors needs a current context that owns or shares the
/// texture. Transfers and settings leave it bound to unit 0, which is then the active one.
///
/// Transfers set the row alignment and leave it at 1. No other pixel storage parameter (GL_UNPACK_*,
/// GL_PACK_*) and no bound pixel buffer of the caller has a say in them, or is changed: rows follow each
/// other in memory. Only `uploadImpl` and `downloadImpl` take their pointer as OpenGL does.
class VELTRAND_GL_API Texture : private Utils::NotCopyable {
public:
    /// What a texture is bound to, which decides on its shape.
    enum class Target : GLenum {
        Texture1D = 0x0DE0,                 // GL_TEXTURE_1D
        Texture2D = 0x0DE1,                 // GL_TEXTURE_2D
        Texture3D = 0x806F,                 // GL_TEXTURE_3D
        TextureRectangle = 0x84F5,          // GL_TEXTURE_RECTANGLE
        TextureCubeMap = 0x8513,            // GL_TEXTURE_CUBE_MAP
        Texture1DArray = 0x8C18,            // GL_TEXTURE_1D_ARRAY
        Texture2DArray = 0x8C1A,            // GL_TEXTURE_2D_ARRAY
        TextureBuffer = 0x8C2A,             // GL_TEXTURE_BUFFER
        TextureCubeMapArray = 0x9009,       // GL_TEXTURE_CUBE_MAP_ARRAY
        Texture2DMultisample = 0x9100,      // GL_TEXTURE_2D_MULTISAMPLE
        Texture2DMultisampleArray = 0x9102, // GL_TEXTURE_2D_MULTISAMPLE_ARRAY
    };

    /// A new texture of undefined content: filters linear (nearest for integer formats), edges clamped; one
    /// channel reads as opaque grey. Storage is allocated for 1D, 2D, 3D and the 1D and 2D array targets, the
    /// other targets get a name only.
    ///
    /// Dimensions that the target has not, beyond the driver's limits or below 1 are logged as warnings and
    /// left to OpenGL. Throws `std::runtime_error` "Could not generate Texture ID." when OpenGL gives no
    /// name.
    /// @param size width, height, depth in texels; height or depth is the number of layers of an array
    /// GL: glTexImage1D, glTexImage2D, glTexImage3D, 3.3
    Texture(Target target, const Eigen::Vector3i& size, InternalFormat internalFormat);
    /// 3D for a depth above 1, otherwise 2D for a height above 1, otherwise 1D.
    Texture(const Eigen::Vector3i& size, InternalFormat internalFormat);
    /// Takes over an existing texture, with the size and format of its level 0.
    /// GL: glGetTexLevelParameteriv, 1.0
    Texture(Target target, GLuint id);
    /// The same, with the format as given.
    Texture(Target target, GLuint id, InternalFormat internalFormat);
    ~Texture();
    /// The source then owns nothing and has id 0 and size 0: transfers, settings and clears leave it so.
    Texture(Texture&& other) noexcept;
    Texture& operator=(Texture&& other) noexcept;

    /// The same on the heap.
    [[nodiscard]] static std::unique_ptr<Texture> createFromExisting(Target target, GLuint id);
    /// The same on the heap, with the format as given.
    [[nodiscard]] static std::unique_ptr<Texture> createFromExisting(Target target, GLuint id,
                                                                     InternalFormat internalFormat);

    /// The OpenGL name, 0 after a move.
    [[nodiscard]] GLuint id() const { return m_id; }
    /// As given or chosen at construction, also after a move.
    [[nodiscard]] Target target() const { return m_target; }
    /// As given at construction, or as found in an existing texture.
    [[nodiscard]] InternalFormat internalFormat() const { return m_internalFormat; }
    /// As given at construction, also where OpenGL has allocated less. Callers include <Eigen/Core>.
    [[nodiscard]] Eigen::Vector3i size() const;
    /// In texels.
    [[nodiscard]] int width() const { return m_size[0]; }
    /// In texels; the layers of a 1D array.
    [[nodiscard]] int height() const { return m_size[1]; }
    /// In texels; the layers of a 2D array.
    [[nodiscard]] int depth() const { return m_size[2]; }
    /// Texels that a transfer of the whole image moves: the product of the dimensions that the target has.
    [[nodiscard]] std::size_t numTexels() const;

    /// GL: glActiveTexture, glBindTexture, 1.3
    void bind(int unit) const;
    /// GL: glActiveTexture, glBindTexture, 1.3
    static void unbind(GLuint unit, Target target);

    // Transfer of the whole image

    /// Replaces the image by a contiguous range of `numTexels()` elements: scalars or fixed-size Eigen
    /// vectors of one to four components, integers for integer formats; depth and stencil formats take
    /// scalars. Integers become [0, 1] or [-1, 1] in normalised formats; channels that the elements lack
    /// become 0, and alpha 1. A range of another size or an unfitting element type is logged as an error,
    /// answered with false, and changes nothing. Formats with depth and stencil take raw texels only. GL:
    /// glTexSubImage1D, glTexSubImage2D, glTexSubImage3D, 1.2
    template<std::ranges::contiguous_range Range>
    requires Element<std::ranges::range_value_t<Range>>
    bool upload(const Range& texels) {
        using Traits = ElementTraits<std::ranges::range_value_t<Range>>;
        return uploadElements(std::ranges::data(texels), std::ranges::size(texels), Traits::components,
                              Traits::type);
    }
    /// Replaces the image by raw texels, for types without an element type, such as `PixelType::HFloat`. The
    /// size must be `transferSize(format, type)`; otherwise as above.
    bool upload(PixelFormat format, PixelType type, std::span<const std::byte> texels);

    /// The image as `numTexels()` elements, converted to the element type where it differs; empty when the
    /// element type does not fit the format, which is logged as an error. GL: glGetTexImage, 1.0
    template<class T>
    requires Element<T>
    [[nodiscard]] std::vector<T> download() const {
        std::vector<T> texels;
        if (elementFormat(ElementTraits<T>::components, ElementTraits<T>::type)) {
            texels.resize(numTexels());
            downloadTo(texels);
        }
        return texels;
    }
    /// Reads the image into memory of the caller; false, logged, and nothing written when size or element
    /// type do not fit. GL: glGetTexImage, 1.0
    template<std::ranges::contiguous_range Range>
    requires Element<std::ranges::range_value_t<Range>>
    bool downloadTo(Range&& texels) const {
        using Traits = ElementTraits<std::ranges::range_value_t<Range>>;
        return downloadElements(std::ranges::data(texels), std::ranges::size(texels), Traits::components,
                                Traits::type);
    }
    /// Reads the image as raw texels; the size must be `transferSize(format, type)`, otherwise as above.
    bool downloadTo(PixelFormat format, PixelType type, std::span<std::byte> texels) const;

    /// Bytes of the whole image as client data. Rows follow each other without a gap, except that those of
    /// the packed type `UInt248` begin at multiples of 8 bytes. 0 for a format or type of unknown size.
    /// Targets without a transfer (all but 1D, 2D, 3D and the 1D and 2D arrays) take nothing.
    [[nodiscard]] std::size_t transferSize(PixelFormat format, PixelType type) const;

    /// Unchecked transfer of `transferSize(format, type)` bytes, for what the others do not do: lengths,
    /// skips and byte order are those that the caller has set with `glPixelStorei`, and where a pixel buffer
    /// is bound @p data is an offset in it. GL: glTexSubImage1D, glTexSubImage2D, glTexSubImage3D, 1.2
    void uploadImpl(const void* data, PixelFormat format, PixelType type);
    /// As `uploadImpl`, the other way. GL: glGetTexImage, 1.0
    void downloadImpl(PixelFormat format, PixelType type, void* data) const;

    /// 1 to 4; 0 for a format without a name in `PixelFormat`.
    [[nodiscard]] static int matchingNumChannels(PixelFormat format);

    // Sampling

    /// GL: glGenerateMipmap, 3.0
    void generateMipmaps();
    /// GL: glTexParameteri, 1.0
    void setFiltering(Sampler::MinFilter minFilter, Sampler::MagFilter magFilter);
    /// GL: glTexParameteri, 1.2
    void setWrapping(Sampler::Wrap s, Sampler::Wrap t, Sampler::Wrap r);
    /// The same for all axes.
    void setWrapping(Sampler::Wrap wrap);
    /// What `ClampToBorder` reads outside, as red, green, blue, alpha. GL: glTexParameterfv, 1.0
    void setBorderColor(const Eigen::Vector4f& color);

    // Clearing

    /// Sets every texel of level 0 to one value: red, green, blue, alpha; depth; stencil; or depth and
    /// stencil as the first two components.
    ///
    /// Floats are converted one by one for integer formats, towards zero and clamped to the type. Unsigned
    /// integers are values for integer, depth and stencil formats, so that a depth of 0 is the nearest and
    /// any other the farthest, 1; for colours they are fractions of the largest one. A format that OpenGL
    /// does not draw to is logged as an error before OpenGL 4.4 where its target has no upload. Neither
    /// scissor nor write masks limit it, and apart from what a transfer leaves behind, no state is changed.
    /// GL: glClearTexImage, 4.4; before, through a framebuffer or, where that is impossible, by an upload
    template<class T>
    void clear(const Eigen::Matrix<T, 4, 1, 0, 4, 1>& value);
    /// The same for a value in the given client format and type. @p data points at one texel, with four
    /// components for colours.
    void clearImpl(PixelFormat format, PixelType type, const void* data);

private:
    struct ElementFormat {
        PixelFormat format;
        PixelType type;
    };

    Texture(Target target, const std::array<int, 3>& size, InternalFormat internalFormat, GLuint id);
    void init();
    void allocate();
    /// What OpenGL calls elements of this kind in a transfer; nothing, and logged, when they do not fit.
    [[nodiscard]] std::optional<ElementFormat> elementFormat(int components, PixelType type) const;
    [[nodiscard]] bool checkSize(std::size_t given, std::size_t needed, std::string_view unit) const;
    [[nodiscard]] std::size_t numRows() const;
    [[nodiscard]] PixelFormat clearFormat() const;
    bool uploadElements(const void* data, std::size_t count, int components, PixelType type);
    bool downloadElements(void* data, std::size_t count, int components, PixelType type) const;
    void clearByUpload(PixelFormat format, PixelType type, const void* data);
    bool clearByFramebuffer(PixelFormat format, PixelType type, const void* data);

    GLuint m_id = 0;
    std::array<int, 3> m_size;
    Target m_target;
    InternalFormat m_internalFormat;
};

/// By fractions, or by numbers of integer formats.
template<>
VELTRAND_GL_API void Texture::clear<float>(const Eigen::Vector4f& value);
/// By numbers of integer, depth and stencil formats, or by fractions of the largest one.
template<>
VELTRAND_GL_API void Texture::clear<unsigned int>(const Eigen::Matrix<unsigned int, 4, 1, 0, 4, 1>& value);

} // namespace Veltrand::GL
