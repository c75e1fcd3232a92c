#ifndef CORVANE_TESTS_ANALYZEDBLOCKS_H
#define CORVANE_TESTS_ANALYZEDBLOCKS_H

#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>

#include <QByteArray>
#include <QVector>

namespace corvane::test {

/// Frames of a block.
constexpr int kFrames = 2048;

using Blocks = QVector<QVector<SoundChannel>>;

/// The blocks that these bytes complete.
inline Blocks analyse(SpectrumAnalyzer &analyzer, const QByteArray &bytes)
{
    return analyzer.handle(reinterpret_cast<const unsigned char *>(bytes.constData()),
                           bytes.size());
}

} // namespace corvane::test

#endif
