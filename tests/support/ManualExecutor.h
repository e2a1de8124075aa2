#pragma once

// A main-thread executor for tests: posted work queues up until the test runs it. Work is posted from the
// test's own thread, where the fake engine's streams are played by hand.

#include <deque>
#include <functional>

namespace vesk::test {

class ManualExecutor
{
public:
    // The executor to hand to the code under test; it must not outlive this object.
    std::function<void(std::function<void()>)> executor()
    {
        return [this](std::function<void()> work) { queue.push_back(std::move(work)); };
    }

    // Runs everything posted so far, including what the work itself posts; returns how many ran.
    int drain()
    {
        int count = 0;
        for (; !queue.empty(); ++count) {
            const std::function<void()> work = std::move(queue.front());
            queue.pop_front();
            work();
        }
        return count;
    }

private:
    std::deque<std::function<void()>> queue;
};

} // namespace vesk::test
