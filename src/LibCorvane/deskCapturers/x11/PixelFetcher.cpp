#include "PixelFetcher_p.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace corvane {
namespace {

constexpr uint32_t kAllPlanes = ~0u;
constexpr int kOwnerOnly = 0600;

} // namespace

PixelFetcher::PixelFetcher(const XDisplay &display, std::size_t capacity)
    : m_connection(display.connection())
{
    if (display.hasShm())
        share(capacity);
}

PixelFetcher::~PixelFetcher()
{
    if (m_segment != 0)
        xcb_shm_detach(m_connection, m_segment);
    if (m_memory)
        shmdt(m_memory);
}

void PixelFetcher::share(std::size_t capacity)
{
    const int id = shmget(IPC_PRIVATE, capacity, IPC_CREAT | kOwnerOnly);
    if (id < 0)
        return;
    void *const memory = shmat(id, nullptr, 0);
    if (memory != reinterpret_cast<void *>(-1)) {
        if (attach(id))
            m_memory = memory;
        else
            shmdt(memory);
    }
    // The segment vanishes with its last user, however that ends.
    shmctl(id, IPC_RMID, nullptr);
}

// A server on another machine refuses.
bool PixelFetcher::attach(int sharedMemory)
{
    const auto segment = xcb_generate_id(m_connection);
    const auto cookie =
        xcb_shm_attach_checked(m_connection, segment, static_cast<uint32_t>(sharedMemory), false);
    if (!succeeded(m_connection, cookie))
        return false;
    m_segment = segment;
    return true;
}

const uint8_t *PixelFetcher::fetch(xcb_drawable_t drawable, const QRect &part, std::size_t bytes)
{
    return m_segment != 0 ? fetchShared(drawable, part) : fetchPlain(drawable, part, bytes);
}

const uint8_t *PixelFetcher::fetchShared(xcb_drawable_t drawable, const QRect &part)
{
    const auto cookie = xcb_shm_get_image(
        m_connection, drawable, static_cast<int16_t>(part.x()), static_cast<int16_t>(part.y()),
        static_cast<uint16_t>(part.width()), static_cast<uint16_t>(part.height()), kAllPlanes,
        XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment, 0);
    const auto reply = owned(xcb_shm_get_image_reply(m_connection, cookie, nullptr));
    return reply ? static_cast<const uint8_t *>(m_memory) : nullptr;
}

const uint8_t *PixelFetcher::fetchPlain(xcb_drawable_t drawable, const QRect &part,
                                        std::size_t bytes)
{
    const auto cookie = xcb_get_image(
        m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<int16_t>(part.x()),
        static_cast<int16_t>(part.y()), static_cast<uint16_t>(part.width()),
        static_cast<uint16_t>(part.height()), kAllPlanes);
    m_plainImage = owned(xcb_get_image_reply(m_connection, cookie, nullptr));
    if (!m_plainImage)
        return nullptr;
    const int length = xcb_get_image_data_length(m_plainImage.get());
    return static_cast<std::size_t>(length) >= bytes ? xcb_get_image_data(m_plainImage.get())
                                                     : nullptr;
}

} // namespace corvane
