#ifndef LIBCORVANE_LATESTFRAME_P_H
#define LIBCORVANE_LATESTFRAME_P_H

#include "FrameConversion_p.h"

#include <mutex>

namespace corvane {

/// What a capture record holds on every system: the latest frame, the display's size and the size
/// that frames are scaled to. All operations may be called from any thread.
class LatestFrame {
public:
    LatestFrame(QSize originSize, QSize outputSize);

    /// The latest frame (shared, not copied); null before the first.
    QImage image() const;
    /// Lets it go: null until the next one.
    void forget();
    QSize originSize() const;
    QSize outputSize() const;
    void setOutputSize(QSize size);

    /// Another shape of the display. The output size follows, unless it was chosen by
    /// setOutputSize().
    void setOriginSize(QSize size);

    /// Converts a delivered picture to the output size, in place of the latest frame. A reader
    /// waits for at most one conversion. What convertedFrame() refuses leaves the frame as it is.
    void deliver(const BgraPixels &pixels, Alpha alpha);

private:
    mutable std::mutex m_mutex;
    QImage m_image;
    QSize m_originSize;
    QSize m_outputSize;
    bool m_outputSizeIsChosen = false;
};

} // namespace corvane

#endif
