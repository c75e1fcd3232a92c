#include "StartedTimers.h"

#include "Interpose.h"

#include <QObject>

#include <atomic>

using namespace corvane::test;

namespace {

std::atomic<StartedTimers *> s_current = nullptr; // timers start on any thread

}

StartedTimers::StartedTimers(const QObject *object)
    : m_object(object)
{
    s_current = this;
}

StartedTimers::~StartedTimers()
{
    s_current = nullptr;
}

void StartedTimers::note(const QObject *object, StartedTimer timer)
{
    if (object == m_object)
        m_all.append(timer);
}

// Stands before Qt's function.
int QObject::startTimer(int interval, Qt::TimerType type)
{
    if (StartedTimers *timers = s_current)
        timers->note(this, {interval, type});
    const auto next = nextFunction<int(QObject *, int, Qt::TimerType)>(
        "_ZN7QObject10startTimerEiN2Qt9TimerTypeE");
    return next(this, interval, type);
}
