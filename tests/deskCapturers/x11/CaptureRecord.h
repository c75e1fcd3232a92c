#ifndef CORVANE_TESTS_CAPTURERECORD_H
#define CORVANE_TESTS_CAPTURERECORD_H

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <QColor>
#include <QElapsedTimer>
#include <QImage>
#include <QTest>

#include <memory>

namespace corvane::test {

struct FreeRecord {
    void operator()(AVFoundationCaptureImpl *record) const { freeAVFoundationCapture(record); }
};

/// A capture record that is freed with its owner.
using CaptureRecord = std::unique_ptr<AVFoundationCaptureImpl, FreeRecord>;

inline CaptureRecord captureOf(uint32_t displayId)
{
    return CaptureRecord(allocAVFoundationCapture(displayId));
}

/// Reads frames until one is as wanted; gives the last one read when none is for a long time.
template <typename Predicate>
QImage frameThat(const CaptureRecord &record, Predicate isWanted)
{
    constexpr int patienceMs = 20000;
    QElapsedTimer timer;
    timer.start();
    QImage frame;
    do {
        frame = AVCaptureNextFrame(record.get());
        if (!frame.isNull() && isWanted(frame))
            return frame;
        QTest::qWait(5);
    } while (timer.elapsed() < patienceMs);
    return frame;
}

inline QImage firstFrame(const CaptureRecord &record)
{
    return frameThat(record, [](const QImage &) { return true; });
}

/// Whether each pixel of the part, up to its edges, has just this colour and is opaque.
inline bool isFilled(const QImage &frame, const QRect &part, const QColor &colour)
{
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            if (frame.pixel(x, y) != colour.rgba())
                return false;
    return !part.isEmpty();
}

inline bool isFilled(const QImage &frame, const QColor &colour)
{
    return isFilled(frame, frame.rect(), colour);
}

/// A frame in one colour.
inline QImage frameIn(const CaptureRecord &record, const QColor &colour)
{
    return frameThat(record, [colour](const QImage &frame) { return isFilled(frame, colour); });
}

} // namespace corvane::test

#endif
