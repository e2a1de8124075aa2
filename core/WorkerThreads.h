#pragma once

// Threads that belong to their owner. Each task runs on a thread of its own and is stopped through its stop
// token; the destructor asks every task still running to stop and joins them all, so no work outlives the
// owner. Tasks must therefore end promptly once their stop is requested.

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace vesk {

class WorkerThreads
{
public:
    WorkerThreads() = default;
    ~WorkerThreads();
    WorkerThreads(const WorkerThreads&) = delete;
    WorkerThreads& operator=(const WorkerThreads&) = delete;

    // Starts `task` on a new thread; the returned source stops it (it is also stopped on destruction).
    // Threads of finished tasks are joined here, so they never pile up.
    std::stop_source start(std::function<void(std::stop_token)> task);

    // Tasks that have not returned yet.
    [[nodiscard]] std::size_t running();

private:
    struct Worker
    {
        std::shared_ptr<std::atomic<bool>> finished = std::make_shared<std::atomic<bool>>(false);
        std::jthread thread;
    };
    void joinFinished(); // m_mutex held

    std::mutex m_mutex;
    std::list<Worker> m_workers;
};

} // namespace vesk
