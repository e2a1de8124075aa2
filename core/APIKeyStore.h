#pragma once

// Where API keys live. Calls may block briefly (a keyring round trip); the app calls them off the
// main thread or through its own asynchronous wrapper. None of them throws.

#include "core/ProviderID.h"

#include <optional>
#include <string>
#include <string_view>

namespace vesk {

class APIKeyStore
{
public:
    virtual ~APIKeyStore() = default;
    virtual std::optional<std::string> key(ProviderID provider) = 0;
    virtual bool hasKey(ProviderID provider) = 0;
    // Replaces any earlier key; true on success.
    virtual bool save(std::string_view key, ProviderID provider) = 0;
    // True on success, also when there was no key.
    virtual bool remove(ProviderID provider) = 0;
};

} // namespace vesk
