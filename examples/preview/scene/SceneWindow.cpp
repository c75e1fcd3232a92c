#include "SceneWindow.h"

#include "Scene.h"

#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>

namespace {

constexpr int kPictureMs = 33;
constexpr int kPicturesPerMove = 8;
// The fields are soft enough to be worked out in a picture this many times smaller.
constexpr int kFieldScale = 8;
// Fields that move this much faster differ in every pixel.
constexpr double kFullSpeed = 8.0;
// Any time at which the bar is off the edges.
constexpr double kStillSeconds = 2.0;

} // namespace

SceneWindow::SceneWindow(Motion motion)
    : QWidget(nullptr,
              Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::X11BypassWindowManagerHint)
    , m_motion(motion)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::BlankCursor);
    setGeometry(QGuiApplication::primaryScreen()->virtualGeometry());
    m_clock.start();
    moveFields();
    moveBar();
    if (m_motion != Motion::None)
        startTimer(kPictureMs, Qt::PreciseTimer);
}

void SceneWindow::timerEvent(QTimerEvent *)
{
    if (m_motion == Motion::Full || ++m_pictures % kPicturesPerMove == 0)
        moveFields();
    moveBar();
}

double SceneWindow::seconds() const
{
    return m_motion == Motion::None ? kStillSeconds : static_cast<double>(m_clock.elapsed()) / 1000;
}

void SceneWindow::moveFields()
{
    const double speed = m_motion == Motion::Full ? kFullSpeed : 1.0;
    m_fields = colourFields(size() / kFieldScale, speed * seconds());
    update();
}

void SceneWindow::moveBar()
{
    update(m_bar);
    m_bar = brightBar(size(), seconds());
    update(m_bar);
}

void SceneWindow::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), m_fields);
    painter.fillRect(m_bar, Qt::white);
    paintDetails(painter, size());
    if (!m_painted)
        QTimer::singleShot(0, this, &SceneWindow::painted);
    m_painted = true;
}
