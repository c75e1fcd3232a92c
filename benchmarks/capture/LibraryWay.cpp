#include "CaptureWay.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <chrono>
#include <thread>

namespace corvane::bench {
namespace {

using namespace std::chrono_literals;

constexpr auto kTimeout = 5s;
constexpr auto kPollInterval = 1ms;

class LibraryWay : public CaptureWay {
public:
    void prepare() override { m_lastKey = frame().cacheKey(); }

    bool awaitFrame() override
    {
        const auto end = std::chrono::steady_clock::now() + kTimeout;
        while (m_record && std::chrono::steady_clock::now() < end) {
            if (frame().cacheKey() != m_lastKey)
                return true;
            std::this_thread::sleep_for(kPollInterval);
        }
        return false;
    }

    QImage frame() override { return m_record ? AVCaptureNextFrame(m_record.get()) : QImage(); }

private:
    struct Free {
        void operator()(AVFoundationCaptureImpl *record) const { freeAVFoundationCapture(record); }
    };

    std::unique_ptr<AVFoundationCaptureImpl, Free> m_record{allocAVFoundationCapture(0)};
    qint64 m_lastKey = QImage().cacheKey();
};

} // namespace

std::unique_ptr<CaptureWay> makeLibraryWay()
{
    return std::make_unique<LibraryWay>();
}

} // namespace corvane::bench
