// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ObjectPicking.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/PixelBlocks.h>
#include <Veltrand/GL/detail/PixelStore.h>
#include <Veltrand/GL/detail/ScopedState.h>
#include <Veltrand/GL/detail/TargetSize.h>

#include <Eigen/Core>
#include <algorithm>
#include <glad/gl.h>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<ObjectPicking>);
static_assert(sizeof(ObjectPicking::PickingInfo) == 8);

namespace {

constexpr std::string_view category = "GL.ObjectPicking";
constexpr std::size_t colorIndex = 1;
constexpr auto attachment = Framebuffer::Attachment::Color1;

/// Makes a framebuffer the one that is drawn to for a scope, and leaves the one that is read alone.
class DrawBinding : private Utils::NotCopyable {
public:
    explicit DrawBinding(const Framebuffer& framebuffer)
        : m_previous(static_cast<GLuint>(getInt(GL_DRAW_FRAMEBUFFER_BINDING))) {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer.id());
    }
    ~DrawBinding() { glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_previous); }

private:
    GLuint m_previous;
};

/// Puts back the alignment of rows in downloads, of which textures leave 1 behind.
class DownloadAlignment : private Utils::NotCopyable {
public:
    DownloadAlignment()
        : m_alignment(getInt(GL_PACK_ALIGNMENT)) {}
    ~DownloadAlignment() { glPixelStorei(GL_PACK_ALIGNMENT, m_alignment); }

private:
    GLint m_alignment;
};

/// Reads from a texture for a scope, and leaves the framebuffer that is drawn to alone.
class ReadBinding : private Utils::NotCopyable {
public:
    explicit ReadBinding(const Texture& texture) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, m_framebuffer.id());
        glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture.id(), 0);
    }

private:
    Framebuffer m_framebuffer; // of the current context, which need not be the one of the pass
    ReadFramebuffer m_previous;
};

void readPixels(const PixelBlocks::Block& block, void* target) {
    const Eigen::Vector2i& corner = block.box.min();
    const Eigen::Vector2i size = block.size();
    glReadPixels(corner.x(), corner.y(), size.x(), size.y(), GL_RG_INTEGER, GL_UNSIGNED_INT, target);
}

/// Reads several blocks of pixels and waits once for all of them. Leaves no buffer bound.
void readThroughBuffer(const PixelBlocks& blocks, std::span<std::byte> target) {
    const std::size_t pixelSize = target.size() / blocks.numPixels();
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(target.size()), nullptr, GL_STREAM_READ);
    for (const auto& [key, block] : blocks.blocks())
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an offset in the buffer, by the interface of OpenGL.
        readPixels(block, reinterpret_cast<void*>(block.first * pixelSize));
    glGetBufferSubData(GL_PIXEL_PACK_BUFFER, 0, static_cast<GLsizeiptr>(target.size()), target.data());
    glDeleteBuffers(1, &buffer);
}

void fillWithNothing(Texture& texture) {
    const UploadAlignment alignment; // before OpenGL 4.4
    texture.clear<unsigned>(Eigen::Matrix<unsigned, 4, 1>::Constant(ObjectPicking::Nothing));
}

} // namespace

ObjectPicking::ObjectPicking() {
    createTexture();
}

ObjectPicking::~ObjectPicking() {
    disable();
}

ObjectPicking::ObjectPicking(ObjectPicking&& other) noexcept
    : m_texture(std::move(other.m_texture))
    , m_objects(std::move(other.m_objects))
    , m_framebuffer(std::exchange(other.m_framebuffer, nullptr))
    , m_width(std::exchange(other.m_width, 0))
    , m_height(std::exchange(other.m_height, 0))
    , m_attached(std::exchange(other.m_attached, false))
    , m_refused(std::exchange(other.m_refused, false)) {}

ObjectPicking& ObjectPicking::operator=(ObjectPicking&& other) noexcept {
    if (this == &other)
        return *this;
    disable();
    m_texture = std::move(other.m_texture);
    m_objects = std::move(other.m_objects);
    m_framebuffer = std::exchange(other.m_framebuffer, nullptr);
    m_width = std::exchange(other.m_width, 0);
    m_height = std::exchange(other.m_height, 0);
    m_attached = std::exchange(other.m_attached, false);
    m_refused = std::exchange(other.m_refused, false);
    return *this;
}

void ObjectPicking::createTexture() {
    m_texture.reset();
    if (m_width < 1 || m_height < 1)
        return;
    const auto [maxWidth, maxHeight] = largestTarget();
    if (m_width > maxWidth || m_height > maxHeight) {
        logMessage(Log::Error, category, [this] {
            return "Cannot pick among " + std::to_string(m_width) + " x " + std::to_string(m_height) +
                   " pixels, more than OpenGL can draw to.";
        });
        return;
    }
    m_texture = std::make_unique<Texture>(Texture::Target::Texture2D, Eigen::Vector3i(m_width, m_height, 1),
                                          InternalFormat::RG32UI);
    fillWithNothing(*m_texture);
}

void ObjectPicking::reset(Framebuffer& framebuffer, const Eigen::Vector2i& size,
                          std::vector<const void*> objects) {
    const bool resized = size.x() != m_width || size.y() != m_height;
    if (resized || &framebuffer != m_framebuffer)
        disable();
    m_framebuffer = &framebuffer;
    m_refused = false;
    m_objects = std::move(objects);
    if (resized) {
        m_width = size.x();
        m_height = size.y();
        createTexture();
    } else if (m_texture) {
        fillWithNothing(*m_texture);
    }
}

void ObjectPicking::registerObject(const void* object) {
    if (std::ranges::find(m_objects, object) == m_objects.end())
        m_objects.push_back(object);
}

unsigned ObjectPicking::objectId(const void* object) const {
    const auto found = std::ranges::find(m_objects, object);
    return found == m_objects.end() ? Nothing : static_cast<unsigned>(found - m_objects.begin());
}

const void* ObjectPicking::objectWithId(unsigned id) const {
    return id < m_objects.size() ? m_objects[id] : nullptr;
}

// The framebuffer's record is asked too, because its owner may have detached everything.
bool ObjectPicking::isAttached() const {
    if (!m_attached)
        return false;
    const auto& attachments = m_framebuffer->colorAttachments();
    return attachments.size() > colorIndex && attachments[colorIndex] != GL_NONE;
}

void ObjectPicking::attach() const {
    const DrawBinding binding(*m_framebuffer);
    if (const int samples = getInt(GL_SAMPLES); samples > 0) {
        m_refused = true;
        logMessage(Log::Error, category, [samples] {
            return "Cannot pick in a framebuffer with " + std::to_string(samples) +
                   " samples per pixel. Draw the pass for picking into one without multisampling.";
        });
        return;
    }
    const auto& attachments = m_framebuffer->colorAttachments();
    if (attachments.size() > colorIndex && attachments[colorIndex] != GL_NONE)
        logMessage(Log::Warning, category,
                   "The picking texture takes the place of another one at color attachment 1.");
    m_framebuffer->attach(*m_texture, attachment);
    m_framebuffer->setDrawBuffers();
    m_attached = true;
}

void ObjectPicking::enable(Program& program, unsigned id) const {
    if (m_framebuffer && m_texture && !m_refused && !isAttached())
        attach();
    program.setArgument("picking_objectId", id);
}

void ObjectPicking::enable(Program& program, const void* object) const {
    enable(program, objectId(object));
}

void ObjectPicking::disable() const {
    if (isAttached()) {
        const DrawBinding binding(*m_framebuffer);
        m_framebuffer->detach(attachment);
        m_framebuffer->setDrawBuffers();
    }
    m_attached = false;
}

std::optional<ObjectPicking::PickingInfo> ObjectPicking::seen(const Ids& ids) {
    if (ids[0] == Nothing || ids[1] == Nothing)
        return std::nullopt;
    return PickingInfo{ids[0], ids[1]};
}

bool ObjectPicking::isInside(const Eigen::Vector2i& position) const {
    return position.x() >= 0 && position.x() < m_width && position.y() >= 0 && position.y() < m_height;
}

std::unique_ptr<ObjectPicking::Ids[]> ObjectPicking::download() const {
    const std::size_t expected = static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
    auto ids = std::make_unique_for_overwrite<Ids[]>(expected);
    const DownloadAlignment alignment;
    if (m_texture->downloadTo(PixelFormat::RGInteger, PixelType::UInt,
                              std::as_writable_bytes(std::span(ids.get(), expected))))
        return ids;
    logMessage(Log::Error, "", "Unexpected number of elements returned during picking buffer download.");
    return nullptr;
}

std::vector<ObjectPicking::Ids> ObjectPicking::read(const PixelBlocks& blocks) const {
    std::vector<Ids> ids(blocks.numPixels(), {Nothing, Nothing});
    if (ids.empty())
        return ids;
    const PlainTransfer plain(TransferDirection::Download); // whose rows are aligned, whatever is asked for
    const ReadBinding binding(*m_texture);
    if (blocks.blocks().size() == 1)
        readPixels(blocks.blocks().begin()->second, ids.data());
    else
        readThroughBuffer(blocks, std::as_writable_bytes(std::span(ids)));
    return ids;
}

std::vector<ObjectPicking::PickingInfo>
ObjectPicking::getPickingInfo(const std::vector<Eigen::Vector2i>& positions, const void* object) const {
    if (!m_texture)
        return {};
    const unsigned filter = objectId(object);
    if (object && filter == Nothing)
        return {};
    if (std::ranges::none_of(positions, [this](const auto& position) { return isInside(position); }))
        return {};
    const auto ids = download();
    if (!ids)
        return {};

    std::vector<PickingInfo> result;
    result.reserve(positions.size());
    for (const Eigen::Vector2i& position : positions) {
        if (!isInside(position))
            continue;
        const auto index = static_cast<std::size_t>(position.x()) +
                           static_cast<std::size_t>(position.y()) * static_cast<std::size_t>(m_width);
        if (const auto info = seen(ids[index]); info && (!object || info->objectId == filter))
            result.push_back(*info);
    }
    std::ranges::sort(result);
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

std::vector<std::optional<ObjectPicking::PickingInfo>>
ObjectPicking::getPickingInfoPerPosition(const std::vector<Eigen::Vector2i>& positions,
                                         const void* object) const {
    std::vector<std::optional<PickingInfo>> result(positions.size());
    const unsigned filter = objectId(object);
    if (!m_texture || (object && filter == Nothing))
        return result;
    std::vector<Eigen::Vector2i> inside;
    inside.reserve(positions.size());
    std::ranges::copy_if(positions, std::back_inserter(inside),
                         [this](const Eigen::Vector2i& position) { return isInside(position); });
    const PixelBlocks blocks(inside);
    const std::vector<Ids> ids = read(blocks);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (!isInside(positions[i]))
            continue;
        const auto info = seen(ids[blocks.indexOf(positions[i])]);
        if (info && (!object || info->objectId == filter))
            result[i] = info;
    }
    return result;
}

} // namespace Veltrand::GL
