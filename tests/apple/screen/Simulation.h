#ifndef CORVANE_TESTS_APPLE_SIMULATION_H
#define CORVANE_TESTS_APPLE_SIMULATION_H

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <QMap>
#include <QRectF>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace corvane::test {

/// A picture as AVFoundation delivers it.
struct SimulatedPicture {
    int width = 0;
    int height = 0;
    std::size_t bytesPerRow = 0;
    std::vector<unsigned char> bytes;
    quint32 pixelFormat = 0x42475241; // BGRA
};

/// The simulated frameworks: what they answer, and what they were asked. Calls are written as in
/// "CGDisplayBounds 7" or "-[AVCaptureSession canAddInput:]". One per program; may be used from any
/// thread.
class Simulation {
public:
    static Simulation &instance();

    /// Forgets the script and the calls. Objects stay.
    void reset();

    // The script.

    /// Attaches a display; the first one is the main display.
    void attachDisplay(unsigned int id, const QRectF &bounds);
    /// What NSScreen lists: the numbers of the displays, nothing for a screen that tells none.
    void setScreens(const QVector<std::optional<unsigned int>> &numbers);
    void setPermission(bool granted, bool grantedOnRequest);
    /// The n-th call from now on fails, or all of them when n is 0: it returns nil, NO or status.
    void fail(const QString &name, int nth = 0, int status = -1);
    /// What is done in each call of this name, on the thread that makes it.
    void onCall(const QString &name, const std::function<void()> &action);
    /// Delegates that were taken away are kept, and get the frames that reach nobody else: like
    /// frames that AVFoundation had under way on another thread when they were taken away.
    void keepFormerDelegates(bool keep);

    // What happened.

    /// All calls since the last reset() or takeCalls(), in order.
    QStringList takeCalls();

    // What the frameworks ask for.

    /// Notes a call. The status that it is to fail with, or 0.
    int call(const QString &name, const QString &arguments = {});
    std::vector<unsigned int> displays() const;
    std::optional<QRectF> bounds(unsigned int display) const;
    QVector<std::optional<unsigned int>> screens() const;
    bool isPermissionGranted() const;
    bool grantedOnRequest();
    bool keepsFormerDelegates() const;

private:
    struct Failure {
        int nth;
        int status;
    };
    struct Display {
        unsigned int id;
        QRectF bounds;
    };
    struct Script {
        std::vector<Display> displays;
        QVector<std::optional<unsigned int>> screens;
        bool permissionIsGranted = false;
        bool permissionIsGrantedOnRequest = false;
        bool keepsFormerDelegates = false;
        QMap<QString, Failure> failures;
        QMap<QString, std::function<void()>> actions;
    };

    int failure(const QString &name);

    mutable std::mutex m_mutex;
    Script m_script;
    QStringList m_calls;
};

// Simulated devices.

/// Lets each running session that captures the display deliver the picture on its output's queue.
/// Does not wait. How many outputs will: those that have a delegate. A null picture gives a sample
/// without an image.
int deliverFrame(unsigned int display, const std::shared_ptr<const SimulatedPicture> &picture);

/// The same to the delegates that were kept though they had been taken away.
int deliverLateFrame(const std::shared_ptr<const SimulatedPicture> &picture);
/// Keeps them no longer.
void forgetFormerDelegates();

/// The records that frames are delivered to, found through the library's receivers: a capturer does
/// not tell its own, and leaves it to run.
std::vector<AVFoundationCaptureImpl *> runningRecords();

/// Waits until no queue has anything left to do.
void waitForQueues();

/// How many objects there are of each class of the frameworks that the library makes or reads, and
/// of its own receiver; without the classes that there are none of.
QMap<QString, int> liveObjects();

} // namespace corvane::test

#endif
