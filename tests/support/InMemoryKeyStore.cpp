#include "support/InMemoryKeyStore.h"

namespace vesk {

std::optional<std::string> InMemoryKeyStore::key(ProviderID provider)
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_keys.find(provider);
    if (found == m_keys.end()) {
        return std::nullopt;
    }
    return found->second;
}

bool InMemoryKeyStore::hasKey(ProviderID provider)
{
    const std::scoped_lock lock(m_mutex);
    return m_keys.contains(provider);
}

bool InMemoryKeyStore::save(std::string_view key, ProviderID provider)
{
    const std::scoped_lock lock(m_mutex);
    m_keys[provider] = std::string(key);
    return true;
}

bool InMemoryKeyStore::remove(ProviderID provider)
{
    const std::scoped_lock lock(m_mutex);
    m_keys.erase(provider);
    return true;
}

} // namespace vesk
