#include "ScriptedScreen.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

namespace corvane::test {

ScriptedScreen &screen()
{
    static ScriptedScreen scripted;
    return scripted;
}

} // namespace corvane::test

// A record is nothing but the display's id here.

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId)
{
    const bool isBroken = corvane::test::screen().broken.contains(displayId);
    return isBroken ? nullptr
                    : reinterpret_cast<AVFoundationCaptureImpl *>(static_cast<quintptr>(displayId));
}

QImage AVCaptureNextFrame(AVFoundationCaptureImpl *record)
{
    auto &screen = corvane::test::screen();
    ++screen.reads;
    const auto id = static_cast<unsigned int>(reinterpret_cast<quintptr>(record));
    return screen.displays.value(id).convertToFormat(QImage::Format_RGBA8888);
}

QList<unsigned int> availableDisplayIDs()
{
    ++corvane::test::screen().listings;
    return corvane::test::screen().displays.keys();
}
