#include "MonitorSession_p.h"

#include "ScalingPlan_p.h"

namespace corvane {

std::unique_ptr<MonitorSession> MonitorSession::open(uint32_t displayId)
{
    auto display = XDisplay::open();
    if (!display)
        return nullptr;
    return std::unique_ptr<MonitorSession>(new MonitorSession(displayId, std::move(display)));
}

MonitorSession::MonitorSession(uint32_t displayId, std::unique_ptr<XDisplay> display)
    : m_displayId(displayId)
    , m_display(std::move(display))
    , m_damage(DamageTracker::make(*m_display))
{
    // Watched before it is read: no change can slip in between.
    m_display->watchLayout();
    findMonitor();
}

void MonitorSession::findMonitor()
{
    const auto monitors = m_display->monitors();
    const Monitor *monitor = corvane::findMonitor(monitors, m_displayId);
    const QRect area = monitor ? monitor->area : QRect();
    m_layoutHasChanged = false;
    if (area == m_monitor)
        return;
    m_monitor = area;
    m_source.reset();
}

bool MonitorSession::takeEvents()
{
    bool hasLayoutEvent = false;
    while (const auto event = owned(xcb_poll_for_event(m_display->connection()))) {
        if (m_damage && m_damage->isDamageEvent(*event))
            m_contentHasChanged = true;
        // An error tells that a request came too late for a change.
        else if (event->response_type == 0 || m_display->isLayoutEvent(*event))
            hasLayoutEvent = true;
    }
    m_layoutHasChanged = m_layoutHasChanged || hasLayoutEvent;
    return hasLayoutEvent;
}

bool MonitorSession::hasChanged(QSize target) const
{
    if (m_layoutHasChanged || m_monitor.isEmpty())
        return true;
    if (!isFrameSize(target))
        return false;
    return m_contentHasChanged || !m_damage || !m_source || target != m_target;
}

bool MonitorSession::capture(LatestFrame &frame)
{
    if (m_layoutHasChanged || m_monitor.isEmpty())
        findMonitor();
    if (m_monitor.isEmpty())
        return false;
    frame.setOriginSize(m_monitor.size());
    const QSize target = frame.outputSize();
    if (!isFrameSize(target))
        return true;
    const bool isNew = !m_source || target != m_target;
    if (isNew && !renewSource(target))
        return false;
    const auto parts = changedParts(isNew);
    if (!parts)
        return false;
    return parts->empty() || deliver(*parts, frame);
}

bool MonitorSession::renewSource(QSize target)
{
    m_target = target;
    m_source.reset();
    m_source = PictureSource::make(*m_display, m_monitor, target);
    return m_source != nullptr;
}

// Taken before the picture is: what is drawn in between is part of it and reported once more.
std::optional<std::vector<QRect>> MonitorSession::changedParts(bool all)
{
    const std::vector<QRect> whole{QRect(QPoint(0, 0), m_monitor.size())};
    if (!m_damage)
        return whole;
    m_contentHasChanged = false;
    const auto parts = m_damage->takeParts();
    if (!parts)
        return std::nullopt;
    return all ? whole : partsWithin(m_monitor, *parts);
}

bool MonitorSession::deliver(const std::vector<QRect> &parts, LatestFrame &frame)
{
    const auto pixels = m_source->picture(parts);
    if (pixels) {
        frame.deliver(*pixels, Alpha::Opaque);
        return true;
    }
    // As a rule the monitor has changed meanwhile, of which an event tells.
    m_source.reset();
    m_layoutHasChanged = true;
    return false;
}

} // namespace corvane
