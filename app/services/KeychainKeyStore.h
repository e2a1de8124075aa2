#pragma once

// API keys in the system keyring (Secret Service through QtKeychain): one entry per provider under the
// service "<application id>.apikeys", account = the provider's raw value.

#include "core/APIKeyStore.h"

#include <chrono>
#include <string>

namespace vesk::app {

class KeychainKeyStore final : public APIKeyStore
{
public:
    // Every keyring job gives up after `timeout`: an unavailable or locked keyring reads as "no key" and
    // fails saves and removals instead of hanging. May be called from any thread.
    explicit KeychainKeyStore(std::chrono::milliseconds timeout = std::chrono::seconds(5));

    std::optional<std::string> key(ProviderID provider) override;
    bool hasKey(ProviderID provider) override;
    // Trims blanks and line breaks; an empty key removes the entry. Replaces by delete-then-add.
    bool save(std::string_view key, ProviderID provider) override;
    // True also when there was no entry.
    bool remove(ProviderID provider) override;

    [[nodiscard]] static std::string serviceName();

private:
    std::chrono::milliseconds m_timeout;
};

} // namespace vesk::app
