// PCM of any format in chunks of any size. Lines: "f" with a format's number, a rate and a layout's
// mask; "d" with a count of bytes, the size of chunks, and bytes that are repeated to make the
// data; "s" with a strength.

#include "../audioCapturers/AnalyzedBlocks.h"
#include "Fuzzing.h"

#include <QtAlgorithms>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

using namespace corvane::fuzz;
using namespace corvane::test;

namespace {

constexpr qint64 kBlockFrames = kFrames;
constexpr int kMostBytes = 150000; // of one input; a block of 64 channels
constexpr int kMostChunks = 100;
constexpr int kMostOperations = 12;

/// FFmpeg's numbers for packed samples, and from 5 on the planar ones.
struct SampleFormat {
    int number;
    int bytes;
    bool isInteger;
};
constexpr SampleFormat kFormats[] = {
    {0, 1, true}, {1, 2, true}, {2, 4, true}, {3, 4, false}, {4, 8, false}, {10, 8, true},
    {5, 1, true}, {6, 2, true}, {7, 4, true}, {8, 4, false}, {9, 8, false}, {11, 8, true},
};

bool isSame(float a, float b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool isSame(const Spectrum &a, const Spectrum &b)
{
    return isSame(a.frequency, b.frequency) && isSame(a.amplitude, b.amplitude)
        && isSame(a.decibel, b.decibel);
}

bool isSame(const SoundChannel &a, const SoundChannel &b)
{
    return a.channel == b.channel
        && std::equal(a.spectrums.begin(), a.spectrums.end(), b.spectrums.begin(),
                      b.spectrums.end(), qOverload<const Spectrum &, const Spectrum &>(isSame));
}

bool isSame(const Blocks &a, const Blocks &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto &x, const auto &y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                          qOverload<const SoundChannel &, const SoundChannel &>(isSame));
    });
}

/// The bin at the edge of the band, or the last one.
int edge(double frequency, int rate)
{
    return int(std::min(std::floor(frequency / rate * kBlockFrames), 1024.0));
}

/// Two analysers with the same stream, in chunks and whole.
class Streams {
public:
    void setFormat(int number, int rate, quint64 mask);
    void feed(int wanted, int wantedChunk, const QByteArray &pattern);
    void setStrength(double strength);

private:
    void check(const Blocks &blocks) const;
    void check(const SoundChannel &channel) const;
    void check(const Spectrum &spectrum) const;

    SpectrumAnalyzer m_inChunks;
    SpectrumAnalyzer m_whole;
    const SampleFormat *m_format = nullptr;
    int m_rate = 0;
    int m_channels = 0;
    qint64 m_blockBytes = 0;
    qint64 m_fill = 0;
    int m_bytesLeft = kMostBytes;
    double m_strength = 1;
};

void Streams::setFormat(int number, int rate, quint64 mask)
{
    const int before = loggedLines();
    m_inChunks.setInputFormat(number, rate, mask);
    const int lines = loggedLines() - before;
    m_whole.setInputFormat(number, rate, mask);
    require(lines <= 1 && loggedLines() - before == 2 * lines, "a failure is logged once");
    m_format =
        std::find_if(std::begin(kFormats), std::end(kFormats),
                     [number](const SampleFormat &format) { return format.number == number; });
    m_rate = rate;
    m_channels = int(qPopulationCount(mask));
    m_fill = 0;
    m_blockBytes = 0;
    if (lines == 0) {
        require(m_format != std::end(kFormats) && rate > 0 && mask != 0,
                "an accepted format is one");
        require(number < 5 || number == 10 || m_channels == 1, "an accepted format is packed");
        m_blockBytes = m_channels * m_format->bytes * kBlockFrames;
    }
}

void Streams::feed(int wanted, int wantedChunk, const QByteArray &pattern)
{
    const int count = qBound(0, wanted, m_bytesLeft);
    const int chunk = qMax(wantedChunk, count / kMostChunks + 1);
    m_bytesLeft -= count;
    const QByteArray bytes = pattern.repeated(count / pattern.size() + 1).left(count);
    const int before = loggedLines();
    const Blocks expected = analyse(m_whole, bytes);
    Blocks blocks;
    for (int at = 0; at < count; at += chunk)
        blocks += analyse(m_inChunks, bytes.mid(at, chunk));
    require(loggedLines() == before, "data is not logged");
    require(isSame(blocks, expected), "the size of chunks does not matter");

    if (m_blockBytes == 0) {
        require(blocks.isEmpty(), "without a format there is nothing");
        return;
    }
    require(blocks.size() == (m_fill + count) / m_blockBytes, "every block is complete");
    m_fill = (m_fill + count) % m_blockBytes;
    check(blocks);
}

void Streams::setStrength(double strength)
{
    m_inChunks.setStrength(strength);
    m_whole.setStrength(strength);
    m_strength = strength > 0 ? std::min(strength, 1.0) : 1.0;
}

void Streams::check(const Blocks &blocks) const
{
    for (const QVector<SoundChannel> &block : blocks) {
        require(block.size() == 2 && block[0].channel == 1 && block[1].channel == 2,
                "a block has a left and a right channel");
        check(block[0]);
        check(block[1]);
    }
}

void Streams::check(const SoundChannel &channel) const
{
    const int low = edge(20, m_rate);
    require(channel.spectrums.size() == edge(1000, m_rate) - low, "a channel has the band's bins");
    for (int i = 0; i < channel.spectrums.size(); ++i) {
        const Spectrum &spectrum = channel.spectrums[i];
        require(spectrum.frequency == float(low + i) / 1025.0F * float(m_rate),
                "a bin has its frequency");
        if (m_format->isInteger)
            check(spectrum);
    }
}

/// No sample is above 1, no channel is mixed in with a greater factor, and the window's sum is
/// below 1024.
void Streams::check(const Spectrum &spectrum) const
{
    const double greatest = 1024.0 * m_channels / m_strength;
    const bool isBeyondFloat =
        std::isinf(spectrum.amplitude) && greatest > double(std::numeric_limits<float>::max());
    require(spectrum.amplitude >= 0 && (double(spectrum.amplitude) <= greatest || isBeyondFloat),
            "an amplitude is no greater than its samples let it be");
    if (isBeyondFloat)
        return;
    const double decibel = 20 * std::log10(double(spectrum.amplitude));
    require(spectrum.amplitude == 0 ? spectrum.decibel == -HUGE_VALF
                                    : std::abs(double(spectrum.decibel) - decibel) < 1e-3,
            "decibels are those of the amplitude");
}

void apply(Streams &streams, const QByteArray &line)
{
    Input words(reinterpret_cast<const uint8_t *>(line.constData()), size_t(line.size()));
    const QByteArray operation = words.upTo(" ");
    if (operation == "f") {
        const int number = words.upTo(" ").toInt();
        const int rate = words.upTo(" ").toInt();
        streams.setFormat(number, rate, words.rest().toULongLong());
    } else if (operation == "d") {
        const int count = words.upTo(" ").toInt();
        const int chunk = words.upTo(" ").toInt();
        const QByteArray pattern = words.rest();
        streams.feed(count, chunk, pattern.isEmpty() ? QByteArray(1, '\0') : pattern);
    } else if (operation == "s") {
        streams.setStrength(words.rest().toDouble());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    Streams streams;
    for (int i = 0; i < kMostOperations && !input.isAtEnd(); ++i)
        apply(streams, input.line());
    return 0;
}
