#include "core/WorkerThreads.h"

#include <chrono>
#include <gtest/gtest.h>

namespace vesk {
namespace {

using namespace std::chrono_literals;

TEST(WorkerThreadsTest, FinishedThreadsAreJoinedAndRunningOnesStoppedOnDestruction)
{
    auto workers = std::make_unique<WorkerThreads>();
    workers->start([](std::stop_token) {});
    std::atomic<bool> stopped = false;
    const std::stop_source waiting = workers->start([&stopped](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(1ms);
        }
        stopped = true;
    });
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (workers->running() != 1 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(workers->running(), 1U) << "the finished task's thread is joined, the waiting one is left running";

    workers.reset();
    EXPECT_TRUE(stopped) << "destruction stops the task and waits for it";
    EXPECT_TRUE(waiting.stop_requested());
}

} // namespace
} // namespace vesk
