#include "core/WorkerThreads.h"

namespace vesk {

WorkerThreads::~WorkerThreads()
{
    std::list<Worker> workers;
    {
        const std::lock_guard lock(m_mutex);
        workers.swap(m_workers);
    }
    for (Worker& worker : workers) {
        worker.thread.request_stop();
    }
    for (Worker& worker : workers) {
        // The last owner let go on one of these very threads (a task holding its own pool): it cannot
        // join itself, and it is on its way out anyway.
        if (worker.thread.get_id() == std::this_thread::get_id()) {
            worker.thread.detach();
        }
    }
    // The jthreads join as `workers` goes.
}

std::stop_source WorkerThreads::start(std::function<void(std::stop_token)> task)
{
    const std::lock_guard lock(m_mutex);
    joinFinished();
    Worker& worker = m_workers.emplace_back();
    worker.thread = std::jthread([task = std::move(task), finished = worker.finished](std::stop_token stop) mutable {
        task(std::move(stop));
        task = nullptr; // whatever the task captured goes before the thread counts as finished
        finished->store(true);
    });
    return worker.thread.get_stop_source();
}

std::size_t WorkerThreads::running()
{
    const std::lock_guard lock(m_mutex);
    joinFinished();
    return m_workers.size();
}

void WorkerThreads::joinFinished()
{
    // A finished task's thread has nothing left to run but its return: joining it does not wait.
    m_workers.remove_if([](const Worker& worker) { return worker.finished->load(); });
}

} // namespace vesk
