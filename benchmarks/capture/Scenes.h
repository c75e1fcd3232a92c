#ifndef CORVANE_BENCHMARKS_SCENES_H
#define CORVANE_BENCHMARKS_SCENES_H

#include <support/XClient.h>

#include <QSize>

#include <memory>

namespace corvane::bench {

/// Keeps other clients of the X server waiting while it lives, so that they see a drawing as a
/// whole.
class DrawingGrab {
public:
    explicit DrawingGrab(test::XClient &client);
    ~DrawingGrab();
    DrawingGrab(const DrawingGrab &) = delete;
    DrawingGrab &operator=(const DrawingGrab &) = delete;

private:
    test::XClient &m_client;
};

/// What goes on on the screen.
class Scene {
public:
    Scene() = default;
    virtual ~Scene() = default;
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    virtual bool moves() const { return true; }
    /// Sends the requests for the next picture. On a scene that does not move, once is enough.
    virtual void draw() = 0;
};

/// Every pixel changes: the content moves on by a few pixels.
std::unique_ptr<Scene> makeWholeScreenScene(test::XClient &client, QSize screen);
/// Only a window of 640 × 360 pixels changes.
std::unique_ptr<Scene> makeWindowScene(test::XClient &client, QSize screen);
std::unique_ptr<Scene> makeStillScene(test::XClient &client, QSize screen);

} // namespace corvane::bench

#endif
