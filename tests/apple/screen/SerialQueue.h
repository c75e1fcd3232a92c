#ifndef CORVANE_TESTS_APPLE_SERIALQUEUE_H
#define CORVANE_TESTS_APPLE_SERIALQUEUE_H

#include <functional>
#include <memory>
#include <string>

namespace corvane::test {

/// Runs tasks one after the other on a thread of its own. What a task holds is let go before the
/// next one begins. A queue may end on its own thread, in its last task.
class SerialQueue {
public:
    explicit SerialQueue(std::string label);
    /// Nothing may be left to do.
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    const std::string &label() const { return m_label; }
    void add(std::function<void()> task);
    /// Returns when the task has run.
    void runAndWait(const std::function<void()> &task);

    /// Waits until no queue of this program has anything left to do.
    static void waitForAll();

private:
    struct State;

    const std::string m_label;
    const std::shared_ptr<State> m_state;
};

} // namespace corvane::test

#endif
