#pragma once

// Keys kept in memory, for tests that need a key store without a keyring. Thread-safe.

#include "core/APIKeyStore.h"

#include <map>
#include <mutex>

namespace vesk {

class InMemoryKeyStore final : public APIKeyStore
{
public:
    explicit InMemoryKeyStore(std::map<ProviderID, std::string> keys = {}) : m_keys(std::move(keys)) {}

    std::optional<std::string> key(ProviderID provider) override;
    bool hasKey(ProviderID provider) override;                     // an empty string counts as a key
    bool save(std::string_view key, ProviderID provider) override; // stored as given, untrimmed
    bool remove(ProviderID provider) override;

private:
    std::mutex m_mutex;
    std::map<ProviderID, std::string> m_keys;
};

} // namespace vesk
