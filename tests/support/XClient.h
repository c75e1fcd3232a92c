#ifndef CORVANE_TESTS_XCLIENT_H
#define CORVANE_TESTS_XCLIENT_H

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>
#include <QVector>

#include <xcb/xcb.h>

#include <memory>

namespace corvane::test {

/// A monitor as the X server lists it.
struct XMonitor {
    QRect area;
    bool primary;

    bool operator==(const XMonitor &other) const
    {
        return area == other.area && primary == other.primary;
    }
};

/// A connection of its own to an X server, to draw on its screen, look at it and rearrange it.
/// Nothing but sync() and what returns a result waits for the server. Colours of 8 bits go to
/// screens of other depths, and come back, as QImage converts them.
class XClient {
public:
    explicit XClient(const QString &display);
    ~XClient();
    XClient(const XClient &) = delete;
    XClient &operator=(const XClient &) = delete;

    /// False also when the server has gone or its pixels are of an unknown kind.
    bool isConnected() const;
    /// For requests that this class does not know; no request of this class reads its events.
    xcb_connection_t *connection() const;
    xcb_window_t root() const;
    /// Waits until the server has done everything so far. False when the connection is lost.
    bool sync() const;

    /// Draws on the root window, not on the windows on it.
    void fill(const QRect &area, const QColor &colour);
    void draw(const QPoint &position, const QImage &picture);
    /// Puts a borderless window of one colour above all others. The colour is its background, and
    /// stays whatever moves across it.
    xcb_window_t addWindow(const QRect &area, const QColor &colour);
    void removeWindow(xcb_window_t window);
    /// What the screen shows there, windows included, in QImage::Format_RGB32; null when a part of
    /// it lies outside the screen.
    QImage grab(const QRect &area) const;

    QSize screenSize() const;
    /// The active monitors in the server's order: the primary one first.
    QVector<XMonitor> monitors() const;
    /// Makes these the only monitors, in this order, but for the primary one, which the server
    /// lists first; -1 for none. Other clients never see an arrangement in between.
    /// \return whether monitors() agrees.
    bool setMonitors(const QVector<QRect> &areas, int primary = 0);
    /// Resizes the screen and its output, which this turns on if setMonitors({}) turned it off; the
    /// monitors of setMonitors() stay as they are. Not beyond the size that the server was started
    /// with. Other clients never see a size in between.
    bool resizeScreen(const QSize &size);

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    void prepareDrawing();
    xcb_gcontext_t setColour(const QColor &colour);
    bool hasRandr() const;
    void askForMonitors();

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    const xcb_screen_t *m_screen = nullptr;
    QImage::Format m_format = QImage::Format_Invalid;
    xcb_gcontext_t m_context = XCB_NONE;
};

} // namespace corvane::test

#endif
