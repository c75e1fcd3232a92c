#include "DeskDuplManagerMac.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>

#include <QCoreApplication>
#include <QDebug>
#include <QThread>
#include <QVariant>

#include <algorithm>
#include <memory>

namespace {

constexpr int kModes = 3;
const char kModeKey[] = "screenCaptureMode";
const char kOptionProperty[] = "runtime.options.deskCaptureOption";

void publish(DeskCaptureOption *option)
{
    if (QCoreApplication *application = QCoreApplication::instance())
        application->setProperty(kOptionProperty, reinterpret_cast<qint64>(option));
}

void endThread(QThread &thread)
{
    thread.quit();
    thread.wait();
}

/// A capturer as long as it lives. Any thread may ask for its deletion, also while the capturer's
/// own thread deletes it.
class LivingCapturer {
public:
    explicit LivingCapturer(IDeskCapture *capturer)
        : m_capturer(capturer)
    {
    }
    void forget()
    {
        const QMutexLocker locker(&m_mutex);
        m_capturer = nullptr;
    }
    void deleteLater()
    {
        const QMutexLocker locker(&m_mutex);
        if (m_capturer)
            m_capturer->deleteLater();
    }

private:
    QMutex m_mutex;
    IDeskCapture *m_capturer;
};

/// Shared by the users, the last of whom may come after the manager has had the capturer deleted.
QSharedPointer<IDeskCapture> shared(IDeskCapture *capturer)
{
    const auto living = std::make_shared<LivingCapturer>(capturer);
    QObject::connect(capturer, &QObject::destroyed, [living] { living->forget(); });
    return {capturer, [living](IDeskCapture *) { living->deleteLater(); }};
}

} // namespace

DeskDuplManagerMac::DeskDuplManagerMac(QObject *)
{
    setUpOption();
    for (const unsigned int id : availableDisplayIDs())
        addDisplay(QString::number(id, 10));
}

DeskDuplManagerMac::~DeskDuplManagerMac()
{
    for (const CaptureContext &context : qAsConst(m_contexts)) {
        if (context.capturer)
            context.capturer->deleteLater();
        endThread(*context.worker);
    }
}

void DeskDuplManagerMac::setUpOption()
{
    m_option = new DeskCaptureOption(this);
    m_option->setTotalOfMode(kModes);
    const int stored = ConfigurationManager::instance()->globalValue(kModeKey).toInt();
    m_option->setCurMode(std::clamp(stored, 0, kModes - 1));
    publish(m_option);

    // From here on: what was just read is not written back.
    connect(m_option, &DeskCaptureOption::curModeChanged, m_option, [option = m_option] {
        auto *configuration = ConfigurationManager::instance();
        configuration->setGlobalValue(kModeKey, option->curMode());
        configuration->saveGlobalValues();
    });
}

void DeskDuplManagerMac::addDisplay(const QString &id)
{
    // Of a display that the system lists twice the later entry stays.
    if (QThread *earlier = m_contexts.value(id).worker)
        endThread(*earlier);

    CaptureContext context;
    context.worker = new QThread(this);
    context.worker->start();
    context.description = QLatin1String("");
    m_contexts.insert(id, context);
    makeCapturer(id);
    emit capturerReady(id);
}

QList<QString> DeskDuplManagerMac::allCapturer()
{
    return m_contexts.keys();
}

QString DeskDuplManagerMac::defaultCapturer()
{
    return m_contexts.isEmpty() ? QString() : m_contexts.firstKey();
}

QSharedPointer<IDeskCapture> DeskDuplManagerMac::acquireCapturer(QString id)
{
    const QMutexLocker locker(&m_mutex);
    const auto context = m_contexts.find(id);
    if (context == m_contexts.end())
        return {};
    if (context->referenceCount == 0 && !context->capturer) {
        qInfo() << "[DeskDuplManagerMac]: Making capturer " << id;
        makeCapturerOnOwnThread(id);
    }
    ++context->referenceCount;
    qInfo() << "[DeskDuplManagerMac]: The capturer " << id << " references has already changed to "
            << context->referenceCount;
    return context->capturer;
}

void DeskDuplManagerMac::releaseCapturer(QString id)
{
    const QMutexLocker locker(&m_mutex);
    const auto context = m_contexts.find(id);
    if (context == m_contexts.end()) {
        qCritical()
            << "[DeskDuplManagerMac]: Not found capturer to release capturer reference count :"
            << id;
        return;
    }
    context->referenceCount = std::max(context->referenceCount - 1, 0);
    qInfo() << "[DeskDuplManagerMac]: The capturer " << id << " references has already changed to "
            << context->referenceCount;
    if (context->referenceCount > 0)
        return;
    context->capturer.reset();
    // Hosts' log readers look for this spelling.
    qInfo() << "[DeskDuplManagerMac]: The capturer " << id
            << "does not have any renferences and has been released.";
}

QString DeskDuplManagerMac::capturerDesc(QString id)
{
    const QMutexLocker locker(&m_mutex);
    const auto context = m_contexts.constFind(id);
    return context == m_contexts.constEnd() ? QString(QLatin1String("")) : context->description;
}

void DeskDuplManagerMac::makeCapturerOnOwnThread(const QString &id)
{
    if (QThread::currentThread() == thread()) {
        makeCapturer(id);
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, id] { makeCapturer(id); }, Qt::BlockingQueuedConnection);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature stands in the log
void DeskDuplManagerMac::makeCapturer(QString id)
{
    const auto context = m_contexts.find(id);
    if (context == m_contexts.end()) {
        qCritical() << "[DeskDuplManagerMac]: Not found capturer context to making capturer, id: "
                    << id;
        return;
    }
    if (context->capturer)
        context->capturer->deleteLater();
    // Kept also when it cannot start: it then gives empty frames.
    auto *capturer = new AVFoundationCapture(m_option); // owned by the shared pointer
    capturer->start(static_cast<uint32_t>(id.toInt(nullptr, 10)));
    context->capturer = shared(capturer);
}
