#pragma once

// A main-thread executor for tests: posted work queues up (from any thread) until the test runs it.

#include <deque>
#include <functional>
#include <mutex>

namespace vesk::test {

class ManualExecutor
{
public:
    // The executor to hand to the code under test; it must not outlive this object.
    std::function<void(std::function<void()>)> executor()
    {
        return [this](std::function<void()> work) {
            const std::scoped_lock lock(m_mutex);
            m_queue.push_back(std::move(work));
        };
    }

    // Runs everything posted so far, including what the work itself posts; returns how many ran.
    int drain()
    {
        int count = 0;
        for (;;) {
            std::function<void()> work;
            {
                const std::scoped_lock lock(m_mutex);
                if (m_queue.empty()) {
                    return count;
                }
                work = std::move(m_queue.front());
                m_queue.pop_front();
            }
            work();
            ++count;
        }
    }

private:
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_queue;
};

} // namespace vesk::test
