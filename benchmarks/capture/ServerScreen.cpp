#include "ServerScreen.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace corvane::bench {

ServerScreen::ServerScreen(QSize largest)
    : m_connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(m_connection))
        return;
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    share(largest.isEmpty() ? size() : largest);
}

ServerScreen::~ServerScreen()
{
    xcb_disconnect(m_connection);
    if (m_memory)
        shmdt(m_memory);
}

void ServerScreen::share(QSize largest)
{
    const auto bytes = std::size_t(largest.width()) * std::size_t(largest.height()) * 4;
    const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    void *const memory = shmat(id, nullptr, 0);
    if (memory != reinterpret_cast<void *>(-1)) {
        m_memory = memory;
        m_segment = xcb_generate_id(m_connection);
        owned(xcb_request_check(
            m_connection, xcb_shm_attach_checked(m_connection, m_segment, uint32_t(id), false)));
    }
    shmctl(id, IPC_RMID, nullptr);
}

uint8_t *ServerScreen::fetch(xcb_drawable_t drawable, QSize size)
{
    const auto cookie =
        xcb_shm_get_image(m_connection, drawable, 0, 0, uint16_t(size.width()),
                          uint16_t(size.height()), ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment, 0);
    const auto reply = owned(xcb_shm_get_image_reply(m_connection, cookie, nullptr));
    return reply ? static_cast<uint8_t *>(m_memory) : nullptr;
}

} // namespace corvane::bench
