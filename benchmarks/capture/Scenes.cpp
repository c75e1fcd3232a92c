#include "Scenes.h"

#include <random>

namespace corvane::bench {
namespace {

constexpr int kBlock = 160;
/// As far as the content moves before it begins anew, and how far at once.
constexpr int kTravel = 240;
constexpr int kStep = 37;

constexpr QRect kWindow(203, 107, 640, 360);

/// Content for the screen, kept inside the server so that drawing takes little.
class Content {
public:
    Content(test::XClient &client, QSize size, unsigned seed)
        : m_client(client)
        , m_size(size)
        , m_pixmap(xcb_generate_id(client.connection()))
        , m_context(xcb_generate_id(client.connection()))
    {
        const QSize room = size + QSize(kTravel, kTravel);
        const uint32_t noExposures = 0;
        xcb_create_pixmap(client.connection(), 24, m_pixmap, client.root(), uint16_t(room.width()),
                          uint16_t(room.height()));
        xcb_create_gc(client.connection(), m_context, m_pixmap, XCB_GC_GRAPHICS_EXPOSURES,
                      &noExposures);
        fillWithBlocks(room, seed);
    }
    ~Content()
    {
        xcb_free_pixmap(m_client.connection(), m_pixmap);
        xcb_free_gc(m_client.connection(), m_context);
    }
    Content(const Content &) = delete;
    Content &operator=(const Content &) = delete;

    void drawNext(xcb_drawable_t target)
    {
        m_offset = (m_offset + kStep) % kTravel;
        xcb_copy_area(m_client.connection(), m_pixmap, target, m_context, int16_t(m_offset),
                      int16_t(m_offset), 0, 0, uint16_t(m_size.width()), uint16_t(m_size.height()));
    }

private:
    void fillWithBlocks(QSize room, unsigned seed)
    {
        std::mt19937 random(seed);
        for (int y = 0; y < room.height(); y += kBlock) {
            for (int x = 0; x < room.width(); x += kBlock) {
                const uint32_t colour = random() & 0xffffff;
                const xcb_rectangle_t block{int16_t(x), int16_t(y), kBlock, kBlock};
                xcb_change_gc(m_client.connection(), m_context, XCB_GC_FOREGROUND, &colour);
                xcb_poly_fill_rectangle(m_client.connection(), m_pixmap, m_context, 1, &block);
            }
        }
    }

    test::XClient &m_client;
    QSize m_size;
    xcb_pixmap_t m_pixmap;
    xcb_gcontext_t m_context;
    int m_offset = 0;
};

class StillScene : public Scene {
public:
    StillScene(test::XClient &client, QSize screen)
        : m_client(client)
        , m_content(client, screen, 1)
    {
    }

    bool moves() const override { return false; }
    void draw() override { m_content.drawNext(m_client.root()); }

private:
    test::XClient &m_client;
    Content m_content;
};

class WholeScreenScene : public StillScene {
public:
    using StillScene::StillScene;
    bool moves() const override { return true; }
};

class WindowScene : public Scene {
public:
    WindowScene(test::XClient &client, QSize screen)
        : m_client(client)
        , m_content(client, kWindow.size(), 2)
    {
        Content(client, screen, 1).drawNext(client.root());
        m_window = client.addWindow(kWindow, Qt::black);
    }
    ~WindowScene() override { m_client.removeWindow(m_window); }

    void draw() override { m_content.drawNext(m_window); }

private:
    test::XClient &m_client;
    Content m_content;
    xcb_window_t m_window;
};

} // namespace

DrawingGrab::DrawingGrab(test::XClient &client)
    : m_client(client)
{
    xcb_grab_server(m_client.connection());
}

DrawingGrab::~DrawingGrab()
{
    xcb_ungrab_server(m_client.connection());
    xcb_flush(m_client.connection());
}

std::unique_ptr<Scene> makeWholeScreenScene(test::XClient &client, QSize screen)
{
    return std::make_unique<WholeScreenScene>(client, screen);
}

std::unique_ptr<Scene> makeWindowScene(test::XClient &client, QSize screen)
{
    return std::make_unique<WindowScene>(client, screen);
}

std::unique_ptr<Scene> makeStillScene(test::XClient &client, QSize screen)
{
    return std::make_unique<StillScene>(client, screen);
}

} // namespace corvane::bench
