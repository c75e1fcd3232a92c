#ifndef CORVANE_TESTS_DESTRUCTION_H
#define CORVANE_TESTS_DESTRUCTION_H

#include "ProcessState.h"

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

// A sanitizer's, where there is one. NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" __attribute__((weak)) void __sanitizer_symbolize_pc(void *place, const char *format,
                                                               char *text, size_t size);

// For tests in which a host deletes something at any moment of the work.

namespace corvane::test {

/// The rows of such a test: each seed stands for other moments.
inline void addSeeds(unsigned count)
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= count; ++seed)
        QTest::newRow(qPrintable(QString("seed %1").arg(seed))) << seed;
}

/// Some turns of the event loop, whether it has something to do or not.
inline void turn(int times)
{
    QTimer ticks; // so that each turn ends
    ticks.start(0);
    for (int i = 0; i < times; ++i) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// Has a sanitizer start the process that knows names, which it does when it first wants one: its
/// pipes are there from now on.
inline void startSymbolizer()
{
    char name[16];
    if (__sanitizer_symbolize_pc)
        __sanitizer_symbolize_pc(reinterpret_cast<void *>(&startSymbolizer), "%f", name,
                                 sizeof name);
}

/// The threads and the descriptors that this process has when nothing is under way.
class Belongings {
public:
    Belongings()
    {
        startSymbolizer();
        turn(10); // until what is just going is gone
        m_before = processState();
    }

    /// Whether there are no more by now. (Fewer there may be: a lost server takes some along.)
    bool areBack() const
    {
        const ProcessState now = processState();
        return now.threads <= m_before.threads && now.descriptors <= m_before.descriptors;
    }

private:
    ProcessState m_before;
};

} // namespace corvane::test

#endif
