// Qt is not instrumented: ThreadSanitizer does not see what its mutexes, events, queued calls,
// threads and thread pools order, and takes what relies on that for races. This unit, which is part
// of every test under ThreadSanitizer, stands before the functions of Qt that the library calls and
// around the delivery of events, and tells the sanitizer what each of them orders. Nothing that Qt
// does not order is hidden.
//
// With CORVANE_UNSEEN_LOCKS in the environment the sanitizer is told nothing of mutexes: what
// relies on one must then be reported, which proves that such a race would be found.

#include "Interpose.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QMutex>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <memory>

#include <private/qobject_p.h>
#include <private/qthread_p.h>

#include <sanitizer/tsan_interface.h>

#include <functional>
#include <utility>

using corvane::test::nextFunction;

namespace {

void happensBefore(const void *what)
{
    __tsan_release(const_cast<void *>(what));
}

void happensAfter(const void *what)
{
    __tsan_acquire(const_cast<void *>(what));
}

bool locksAreSeen()
{
    static const bool seen = !qEnvironmentVariableIsSet("CORVANE_UNSEEN_LOCKS");
    return seen;
}

// What was done before an event was sent comes before its delivery.
void beginDelivery(const QObject *receiver, const QEvent *event)
{
    happensAfter(receiver);
    if (event->type() != QEvent::MetaCall)
        return;
    const auto *call = static_cast<const QAbstractMetaCallEvent *>(event);
    if (call->sender())
        happensAfter(call->sender());
}

/// What was done before a task was given to a pool comes before its work.
class PooledTask : public QRunnable {
public:
    explicit PooledTask(QRunnable *task)
        : m_task(task)
    {
    }

    void run() override
    {
        happensAfter(this);
        const std::unique_ptr<QRunnable> owned(m_task->autoDelete() ? m_task : nullptr);
        m_task->run();
    }

private:
    QRunnable *m_task;
};

/// In place of what Qt does with an event: the receiver, the event and where the result goes.
bool deliver(void **arguments)
{
    auto *application = QCoreApplication::instance();
    if (!application)
        return false;
    auto *receiver = static_cast<QObject *>(arguments[0]);
    auto *event = static_cast<QEvent *>(arguments[1]);
    const bool deletesReceiver = event->type() == QEvent::DeferredDelete;
    {
        const QScopedScopeLevelCounter scope(QObjectPrivate::get(receiver)->threadData);
        beginDelivery(receiver, event);
        *static_cast<bool *>(arguments[2]) = application->notify(receiver, event);
    }
    if (!deletesReceiver)
        happensBefore(receiver);             // for a caller that waits for the delivery
    happensBefore(QThread::currentThread()); // for one that waits for the thread's end
    return true;
}

[[maybe_unused]] const bool deliversEvents =
    QInternal::registerCallback(QInternal::EventNotifyCallback, deliver);

} // namespace

// From here on: functions of Qt as the library and the tests call them. Qt's own calls of these do
// not come here.

void QMutex::lock() noexcept
{
    static const auto next = nextFunction<void(QMutex *)>("_ZN6QMutex4lockEv");
    next(this);
    if (locksAreSeen())
        happensAfter(this);
}

bool QMutex::tryLock(int timeout) noexcept
{
    static const auto next = nextFunction<bool(QMutex *, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = next(this, timeout);
    if (locked && locksAreSeen())
        happensAfter(this);
    return locked;
}

void QMutex::unlock() noexcept
{
    static const auto next = nextFunction<void(QMutex *)>("_ZN6QMutex6unlockEv");
    if (locksAreSeen())
        happensBefore(this);
    next(this);
}

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *slot,
                                   Qt::ConnectionType type, void *result)
{
    using Invoke = bool(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    static const auto next =
        nextFunction<Invoke>("_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9Qt"
                             "Private15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    happensBefore(object);
    const bool invoked = next(object, slot, type, result);
    if (type == Qt::BlockingQueuedConnection)
        happensAfter(object);
    return invoked;
}

void QMetaObject::activate(QObject *sender, const QMetaObject *meta, int signal, void **arguments)
{
    using Activate = void(QObject *, const QMetaObject *, int, void **);
    static const auto next = nextFunction<Activate>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    happensBefore(sender);
    next(sender, meta, signal, arguments);
}

void QObject::deleteLater()
{
    static const auto next = nextFunction<void(QObject *)>("_ZN7QObject11deleteLaterEv");
    happensBefore(this);
    next(this);
}

void QObject::moveToThread(QThread *thread)
{
    static const auto next =
        nextFunction<void(QObject *, QThread *)>("_ZN7QObject12moveToThreadEP7QThread");
    happensBefore(this);
    next(this, thread);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto next =
        nextFunction<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = next(this, deadline);
    if (ended)
        happensAfter(this);
    return ended;
}

void QThreadPool::start(std::function<void()> task, int priority)
{
    using Start = void(QThreadPool *, std::function<void()>, int);
    static const auto next = nextFunction<Start>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    static const char allTasks = 0;
    std::function<void()> run = [task = std::move(task)] {
        happensAfter(&allTasks);
        task();
    };
    happensBefore(&allTasks);
    next(this, std::move(run), priority);
}

void QThreadPool::start(QRunnable *task, int priority)
{
    static const auto next =
        nextFunction<void(QThreadPool *, QRunnable *, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    auto *pooled = new PooledTask(task);
    happensBefore(pooled);
    next(this, pooled, priority);
}
