#ifndef LIBCORVANE_MONITORSESSION_P_H
#define LIBCORVANE_MONITORSESSION_P_H

#include "../LatestFrame_p.h"
#include "DamageTracker_p.h"
#include "PictureSource_p.h"
#include "XDisplay_p.h"

#include <QRect>
#include <QSize>

#include <cstdint>
#include <memory>

namespace corvane {

/// One monitor on one connection to the X server, followed through its changes.
class MonitorSession {
public:
    /// Null when there is no X server.
    static std::unique_ptr<MonitorSession> open(uint32_t displayId);

    int socket() const { return xcb_get_file_descriptor(m_display->connection()); }
    bool isLost() const { return m_display->isLost(); }
    /// The size of the monitor; empty when it is not there.
    QSize monitorSize() const { return m_monitor.size(); }

    /// Takes note of what the server has told since the last call.
    /// \return whether the server told that the monitor may have come, gone or changed.
    bool takeEvents();

    /// Whether the monitor, or the size wanted, may differ from what was captured last.
    bool hasChanged(QSize target) const;
    /// Captures the monitor in the frame's output size, if something has changed on it.
    /// \return false when it cannot be captured.
    bool capture(LatestFrame &frame);

private:
    MonitorSession(uint32_t displayId, std::unique_ptr<XDisplay> display);
    bool renewSource(QSize target);
    void findMonitor();
    std::optional<std::vector<QRect>> changedParts(bool all);
    bool deliver(const std::vector<QRect> &parts, LatestFrame &frame);

    uint32_t m_displayId;
    std::unique_ptr<XDisplay> m_display;
    std::unique_ptr<DamageTracker> m_damage;
    std::unique_ptr<PictureSource> m_source;
    QRect m_monitor;
    QSize m_target;
    bool m_layoutHasChanged = false;
    bool m_contentHasChanged = true;
};

} // namespace corvane

#endif
