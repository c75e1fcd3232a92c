#ifndef CORVANE_BENCHMARKS_CAPTUREWAY_H
#define CORVANE_BENCHMARKS_CAPTUREWAY_H

#include <QImage>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace corvane::bench {

/// One way to get the screen as a small picture.
class CaptureWay {
public:
    CaptureWay() = default;
    virtual ~CaptureWay() = default;
    CaptureWay(const CaptureWay &) = delete;
    CaptureWay &operator=(const CaptureWay &) = delete;

    /// For ways that capture on a thread of their own: to be called before the screen changes, and
    /// then to wait for the frame that shows it. The calling thread's time in both is not part of
    /// the cost.
    virtual void prepare() { }
    /// \return false when no frame comes.
    virtual bool awaitFrame() { return true; }

    /// The screen in QImage::Format_RGBA8888; null after a failure.
    virtual QImage frame() = 0;
};

struct NamedWay {
    QString name;
    std::function<std::unique_ptr<CaptureWay>()> make;
};

/// LibCorvane, through its public functions.
std::unique_ptr<CaptureWay> makeLibraryWay();

/// How swscale makes the picture small.
enum class SwsFilter { Bilinear, FastBilinear };
/// FFmpeg's x11grab in this process; the whole screen comes through shared memory, without the
/// pointer.
std::unique_ptr<CaptureWay> makeX11GrabWay(const QString &display, QSize screen, SwsFilter filter);

/// The whole screen through shared memory, made small here by OpenCV.
enum class OpenCvFilter { AreaAverage, Bilinear };
std::unique_ptr<CaptureWay> makeSharedMemoryWay(OpenCvFilter filter);

/// Scaled by the X server with bilinear interpolation, to each size from the one before; the last
/// comes through shared memory.
std::unique_ptr<CaptureWay> makeRenderWay(const std::vector<QSize> &sizes);
std::vector<QSize> onePass(QSize screen);
std::vector<QSize> twoEqualPasses(QSize screen);
/// Halved as long as no side gets smaller than wanted, then the rest.
std::vector<QSize> halvingChain(QSize screen);

/// All of them, LibCorvane first.
std::vector<NamedWay> captureWays(const QString &display, QSize screen);

/// The size that every way delivers.
QSize pictureSize(QSize screen);

} // namespace corvane::bench

#endif
