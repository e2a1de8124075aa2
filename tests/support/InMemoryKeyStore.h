#pragma once

// Keys kept in memory, for tests that need a key store without a keyring. Thread-safe; keys are stored as
// given, untrimmed, and an empty string counts as a key.

#include "core/APIKeyStore.h"

#include <map>
#include <mutex>

namespace vesk {

class InMemoryKeyStore : public APIKeyStore
{
public:
    explicit InMemoryKeyStore(std::map<ProviderID, std::string> keys = {}) : m_keys(std::move(keys)) {}

    std::optional<std::string> key(ProviderID provider) override
    {
        const std::scoped_lock lock(m_mutex);
        const auto found = m_keys.find(provider);
        return found == m_keys.end() ? std::nullopt : std::optional(found->second);
    }
    bool hasKey(ProviderID provider) override { return key(provider).has_value(); }
    bool save(std::string_view key, ProviderID provider) override
    {
        const std::scoped_lock lock(m_mutex);
        m_keys[provider] = std::string(key);
        return true;
    }
    bool remove(ProviderID provider) override
    {
        const std::scoped_lock lock(m_mutex);
        m_keys.erase(provider);
        return true;
    }

private:
    std::mutex m_mutex;
    std::map<ProviderID, std::string> m_keys;
};

} // namespace vesk
