#ifndef CORVANE_TESTS_AUDIOCAPTUREFIXTURE_H
#define CORVANE_TESTS_AUDIOCAPTUREFIXTURE_H

#include "AnalyzedBlocks.h"

#include <LibCorvane/audioCapturers/FFMpegAudioCapture.h>

#include <QAbstractEventDispatcher>
#include <QDir>
#include <QFile>
#include <QFutureWatcher>
#include <QTemporaryDir>

namespace corvane::test {

/// A working directory three folders below a temporary one, where the PCM goes.
class NestedDirectory {
public:
    NestedDirectory()
        : m_before(QDir::currentPath())
    {
        QDir(m_root.path()).mkpath("application/bundle/program");
        QDir::setCurrent(m_root.filePath("application/bundle/program"));
    }
    ~NestedDirectory() { QDir::setCurrent(m_before); }
    NestedDirectory(const NestedDirectory &) = delete;
    NestedDirectory &operator=(const NestedDirectory &) = delete;

    QString dumpPath(int device) const
    {
        return m_root.filePath(QString("audioShot_%1.pcm").arg(device));
    }
    QByteArray dump(int device) const
    {
        QFile file(dumpPath(device));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    QStringList files() const { return QDir(m_root.path()).entryList(QDir::Files, QDir::Name); }
    QString filePath(const QString &name) const { return m_root.filePath(name); }

private:
    QTemporaryDir m_root;
    const QString m_before;
};

/// A capturer whose blocks are collected.
class ListenedCapture : public FFMpegAudioCapture {
public:
    ListenedCapture()
    {
        connect(this, &IAudioCapture::spectrumsChanged, this,
                [this](const QVector<SoundChannel> &block) { blocks.append(block); });
    }

    Blocks blocks;
};

inline QList<QAbstractEventDispatcher::TimerInfo> timersOf(QObject *object)
{
    return QAbstractEventDispatcher::instance()->registeredTimers(object);
}

/// What an analyser of the test's own makes of the same bytes.
inline Blocks analysed(const QByteArray &bytes, int sampleFormat, int sampleRate, uint64_t layout)
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(sampleFormat, sampleRate, layout);
    return analyzer.handle(reinterpret_cast<const unsigned char *>(bytes.constData()),
                           bytes.size());
}

/// Frequencies and amplitudes of all bins, to compare.
inline QVector<float> values(const Blocks &blocks)
{
    QVector<float> all;
    for (const QVector<SoundChannel> &block : blocks) {
        for (const SoundChannel &channel : block) {
            all.append(float(channel.channel));
            for (const Spectrum &bin : channel.spectrums)
                all << bin.frequency << bin.amplitude;
        }
    }
    return all;
}

} // namespace corvane::test

#endif
