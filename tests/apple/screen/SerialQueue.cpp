#include "SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace corvane::test {
namespace {

/// The tasks of all queues that are still to be done.
class OpenTasks {
public:
    static OpenTasks &instance()
    {
        static OpenTasks tasks;
        return tasks;
    }
    void begin()
    {
        const std::lock_guard lock(m_mutex);
        ++m_count;
    }
    void end()
    {
        const std::lock_guard lock(m_mutex);
        --m_count;
        m_ended.notify_all();
    }
    void waitForAll()
    {
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [this] { return m_count == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_count = 0;
};

} // namespace

struct SerialQueue::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    bool ends = false;
    std::thread thread;

    /// The next task; none at the end.
    std::function<void()> next()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return ends || !tasks.empty(); });
        if (tasks.empty())
            return {};
        auto task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }

    void run()
    {
        while (auto task = next()) {
            task();
            task = {};
            OpenTasks::instance().end();
        }
    }
};

SerialQueue::SerialQueue(std::string label)
    : m_label(std::move(label))
    , m_state(std::make_shared<State>())
{
    m_state->thread = std::thread([state = m_state] { state->run(); });
}

SerialQueue::~SerialQueue()
{
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->ends = true;
        m_state->changed.notify_all();
    }
    if (m_state->thread.get_id() == std::this_thread::get_id())
        m_state->thread.detach();
    else
        m_state->thread.join();
}

void SerialQueue::add(std::function<void()> task)
{
    OpenTasks::instance().begin();
    const std::lock_guard lock(m_state->mutex);
    m_state->tasks.push_back(std::move(task));
    m_state->changed.notify_all();
}

void SerialQueue::runAndWait(const std::function<void()> &task)
{
    std::mutex mutex;
    std::condition_variable ended;
    bool hasRun = false;
    add([&] {
        task();
        const std::lock_guard lock(mutex);
        hasRun = true;
        ended.notify_all();
    });
    std::unique_lock lock(mutex);
    ended.wait(lock, [&] { return hasRun; });
}

void SerialQueue::waitForAll()
{
    OpenTasks::instance().waitForAll();
}

} // namespace corvane::test
