#ifndef CORVANE_PREVIEW_STRIP_H
#define CORVANE_PREVIEW_STRIP_H

#include "Mode.h"
#include "StripColours.h"

/// What each LED of a strip shows at present: the screen behind it, or the sound. In sound mode
/// LEDs rise with the sound at once and fall slowly.
class Strip {
public:
    explicit Strip(const StripLayout &layout);

    const StripLayout &layout() const { return m_layout; }

    Mode mode() const { return m_mode; }
    void setMode(Mode mode) { m_mode = mode; }

    /// An empty frame darkens the screen's colours.
    void takeFrame(const cv::Mat &frame);
    /// \param seconds since the block before.
    void takeBlock(const QVector<SoundChannel> &block, float seconds);
    /// Forgets the sound, as for another device.
    void forgetSound();

    QVector<QRgb> colours() const;

private:
    const StripLayout m_layout;
    Mode m_mode = Mode::Screen;
    QVector<QRgb> m_screen;
    QVector<float> m_levels;
};

#endif
