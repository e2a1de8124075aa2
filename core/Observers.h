#pragma once

// Callbacks of several observers at once. Each stays registered while the Subscription returned for it
// lives; either side may go first. Single-threaded.

#include <functional>
#include <memory>
#include <vector>

namespace vesk {

class [[nodiscard]] Subscription
{
public:
    Subscription() = default;
    // Unregisters the callback; it is not called again, even by a notification under way.
    void reset() { m_callback.reset(); }

private:
    friend class Observers;
    explicit Subscription(std::shared_ptr<std::function<void()>> callback) : m_callback(std::move(callback)) {}

    std::shared_ptr<std::function<void()>> m_callback;
};

class Observers
{
public:
    Subscription add(std::function<void()> callback)
    {
        auto shared = std::make_shared<std::function<void()>>(std::move(callback));
        m_callbacks.push_back(shared);
        return Subscription(std::move(shared));
    }

    // Calls the registered callbacks in the order they were added. A callback may add or drop observers,
    // or destroy this list's owner: the round goes on over a copy, skipping whoever was dropped meanwhile.
    void notify()
    {
        std::erase_if(m_callbacks, [](const auto& callback) { return callback.expired(); });
        const std::vector<std::weak_ptr<std::function<void()>>> round = m_callbacks;
        for (const auto& entry : round) {
            if (const auto callback = entry.lock()) {
                (*callback)();
            }
        }
    }

private:
    std::vector<std::weak_ptr<std::function<void()>>> m_callbacks;
};

} // namespace vesk
