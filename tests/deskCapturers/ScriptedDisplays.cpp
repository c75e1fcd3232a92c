#include "ScriptedDisplays.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <memory>
#include <utility>
#include <vector>

namespace corvane::test {

ScriptedDisplays &ScriptedDisplays::instance()
{
    static ScriptedDisplays displays;
    return displays;
}

void ScriptedDisplays::reset(const QList<unsigned int> &ids)
{
    const QMutexLocker lock(&m_mutex);
    m_ids = ids;
    m_refused.clear();
    m_frame = {};
    m_onListing = nullptr;
    m_calls.clear();
    m_makers.clear();
}

void ScriptedDisplays::refuse(unsigned int id)
{
    const QMutexLocker lock(&m_mutex);
    m_refused.insert(id);
}

void ScriptedDisplays::setFrame(const QImage &frame)
{
    const QMutexLocker lock(&m_mutex);
    m_frame = frame;
}

void ScriptedDisplays::onListing(const std::function<void()> &action)
{
    const QMutexLocker lock(&m_mutex);
    m_onListing = action;
}

QStringList ScriptedDisplays::takeCalls()
{
    const QMutexLocker lock(&m_mutex);
    return std::exchange(m_calls, {});
}

QSet<QThread *> ScriptedDisplays::makers() const
{
    const QMutexLocker lock(&m_mutex);
    return m_makers;
}

QList<unsigned int> ScriptedDisplays::list()
{
    QMutexLocker lock(&m_mutex);
    const auto action = m_onListing;
    lock.unlock();
    if (action)
        action();
    lock.relock();
    return m_ids;
}

bool ScriptedDisplays::make(unsigned int id)
{
    const QMutexLocker lock(&m_mutex);
    m_calls << QString("alloc %1").arg(id);
    m_makers.insert(QThread::currentThread());
    return !m_refused.contains(id);
}

QImage ScriptedDisplays::frame() const
{
    const QMutexLocker lock(&m_mutex);
    return m_frame;
}

void ScriptedDisplays::note(const QString &call)
{
    const QMutexLocker lock(&m_mutex);
    m_calls << call;
}

} // namespace corvane::test

using corvane::test::ScriptedDisplays;

struct _AVFoundationCaptureImpl {
    unsigned int id;
};

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId)
{
    // Like real records these outlive their capturers.
    static std::vector<std::unique_ptr<AVFoundationCaptureImpl>> records;
    static QMutex mutex;
    if (!ScriptedDisplays::instance().make(displayId))
        return nullptr;
    const QMutexLocker lock(&mutex);
    records.push_back(std::make_unique<AVFoundationCaptureImpl>());
    records.back()->id = displayId;
    return records.back().get();
}

void freeAVFoundationCapture(AVFoundationCaptureImpl *record)
{
    ScriptedDisplays::instance().note(QString("free %1").arg(record->id));
}

void AVCaptureSetOutputSize(AVFoundationCaptureImpl *record, const QSize &size)
{
    ScriptedDisplays::instance().note(
        QString("set %1 %2x%3").arg(record->id).arg(size.width()).arg(size.height()));
}

QSize AVCaptureOriginSize(AVFoundationCaptureImpl *record)
{
    ScriptedDisplays::instance().note(QString("origin %1").arg(record->id));
    return {1920, 1080};
}

QSize AVCaptureOutputSize(AVFoundationCaptureImpl *record)
{
    ScriptedDisplays::instance().note(QString("output %1").arg(record->id));
    return {1920, 1080};
}

QImage AVCaptureNextFrame(AVFoundationCaptureImpl *record)
{
    ScriptedDisplays::instance().note(QString("next %1").arg(record->id));
    return ScriptedDisplays::instance().frame();
}

QList<unsigned int> availableDisplayIDs()
{
    return ScriptedDisplays::instance().list();
}
