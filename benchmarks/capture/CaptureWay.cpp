#include "CaptureWay.h"

#include <LibCorvane/deskCapturers/FrameConversion_p.h>

namespace corvane::bench {

QSize pictureSize(QSize screen)
{
    return workingSize(screen.width(), screen.height());
}

std::vector<NamedWay> captureWays(const QString &display, QSize screen)
{
    const auto x11Grab = [display, screen](SwsFilter filter) {
        return [=] { return makeX11GrabWay(display, screen, filter); };
    };
    const auto sharedMemory = [](OpenCvFilter filter) {
        return [=] { return makeSharedMemoryWay(filter); };
    };
    const auto render = [](const std::vector<QSize> &sizes) {
        return [=] { return makeRenderWay(sizes); };
    };
    return {
        {"LibCorvane", makeLibraryWay},
        {"x11grab, swscale bilinear", x11Grab(SwsFilter::Bilinear)},
        {"x11grab, swscale fast bilinear", x11Grab(SwsFilter::FastBilinear)},
        {"SHM, OpenCV area average", sharedMemory(OpenCvFilter::AreaAverage)},
        {"SHM, OpenCV bilinear", sharedMemory(OpenCvFilter::Bilinear)},
        {"Render, one pass", render(onePass(screen))},
        {"Render, two equal passes", render(twoEqualPasses(screen))},
        {"Render, halving chain", render(halvingChain(screen))},
    };
}

} // namespace corvane::bench
