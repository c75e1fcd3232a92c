#include "Strip.h"

#include "Sound.h"

Strip::Strip(const StripLayout &layout)
    : m_layout(layout)
{
}

void Strip::takeFrame(const cv::Mat &frame)
{
    m_screen = screenColours(m_layout, frame);
}

void Strip::takeBlock(const QVector<SoundChannel> &block, float seconds)
{
    QVector<float> levels = soundLevels(m_layout, block);
    for (int i = 0; i < levels.size(); ++i)
        levels[i] = fallingPart(m_levels.value(i), levels[i], seconds);
    m_levels = levels;
}

void Strip::forgetSound()
{
    m_levels.clear();
}

QVector<QRgb> Strip::colours() const
{
    return m_mode == Mode::Sound ? soundColours(m_layout, m_levels) : m_screen;
}
