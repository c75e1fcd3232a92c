#ifndef CORVANE_TESTS_SCREENREADER_H
#define CORVANE_TESTS_SCREENREADER_H

#include <LibCorvane/deskCapturers/FFMpegCapture.h>

#include <QAbstractEventDispatcher>

#include <memory>

extern "C" {
#include <libavutil/frame.h>
}

namespace corvane::test {

/// The capturer as a host would complete it.
class ScreenReader : public FFMpegCapture {
public:
    using FFMpegCapture::decodedFrame;
    using FFMpegCapture::FFMpegCapture;

    cv::Mat nextFrame() override
    {
        const QImage image = resize(decodedFrame().get());
        return cv::Mat(image.height(), image.width(), CV_8UC4,
                       const_cast<uchar *>(image.constBits()),
                       static_cast<size_t>(image.bytesPerLine()))
            .clone();
    }

    /// What the timer does.
    void tick() { QMetaObject::invokeMethod(this, "onTickTimeout"); }
    void ticks(int count)
    {
        for (int i = 0; i < count; ++i)
            tick();
    }
};

struct FreeFrame {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
using Picture = std::unique_ptr<AVFrame, FreeFrame>;

inline Picture makePicture(int width, int height, AVPixelFormat format)
{
    Picture picture(av_frame_alloc());
    picture->width = width;
    picture->height = height;
    picture->format = format;
    if (av_frame_get_buffer(picture.get(), 0) < 0)
        qFatal("no memory for a picture");
    return picture;
}

inline QList<QAbstractEventDispatcher::TimerInfo> timersOf(QObject *object)
{
    return QAbstractEventDispatcher::instance()->registeredTimers(object);
}

} // namespace corvane::test

#endif
