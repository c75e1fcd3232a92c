// A host that ends with a capture running: right after its start, while it is being read, or when
// it has gone to sleep.
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <chrono>
#include <string_view>
#include <thread>

using namespace std::chrono_literals;

// Never freed, and in sight of leak checkers: the compiler may not drop it.
AVFoundationCaptureImpl *volatile record;

int main(int, char **argv)
{
    const std::string_view moment = argv[1];
    record = allocAVFoundationCapture(0);
    if (!record)
        return 1;
    if (moment == "started")
        return 0;
    while (AVCaptureNextFrame(record).isNull())
        std::this_thread::sleep_for(1ms);
    if (moment == "slept")
        std::this_thread::sleep_for(2500ms);
    return 0;
}
