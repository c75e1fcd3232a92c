#ifndef CORVANE_TESTS_SCRIPTEDDISPLAYS_H
#define CORVANE_TESTS_SCRIPTEDDISPLAYS_H

#include <QImage>
#include <QList>
#include <QMutex>
#include <QSet>
#include <QStringList>
#include <QThread>

#include <functional>

namespace corvane::test {

/// The system's displays as a test wants them. The functions of the capture facade in this unit
/// stand before the library's own and answer from here; every call is noted. One per program; may
/// be used from any thread.
class ScriptedDisplays {
public:
    static ScriptedDisplays &instance();

    /// Forgets everything: no displays, no calls.
    void reset(const QList<unsigned int> &ids = {});
    /// This display, though listed, cannot be captured.
    void refuse(unsigned int id);
    /// What every record gives as its latest frame.
    void setFrame(const QImage &frame);
    /// What is done whenever the displays are listed.
    void onListing(const std::function<void()> &action);

    /// One text per call since the last reset() or takeCalls(), such as "alloc 2", "next 2" or
    /// "set 2 64x36".
    QStringList takeCalls();
    /// The threads that records were made on.
    QSet<QThread *> makers() const;

    // What the facade asks for.
    QList<unsigned int> list();
    bool make(unsigned int id);
    QImage frame() const;
    void note(const QString &call);

private:
    mutable QMutex m_mutex;
    QList<unsigned int> m_ids;
    QSet<unsigned int> m_refused;
    QImage m_frame;
    std::function<void()> m_onListing;
    QStringList m_calls;
    QSet<QThread *> m_makers;
};

} // namespace corvane::test

#endif
