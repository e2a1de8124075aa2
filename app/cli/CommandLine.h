#pragma once

// The terminal's ways into Vesk: `vesk correct`, `vesk history`, `vesk settings`, `vesk key …`. They run
// without a display.

#include "app/services/HistoryStore.h"
#include "core/APIKeyStore.h"
#include "core/ProviderTransport.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vesk::app {

class AppSettings;

struct CommandLineContext
{
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    AppSettings& settings;
    std::shared_ptr<APIKeyStore> keyring;
    std::shared_ptr<ProviderTransport> transport;
    std::function<std::optional<std::string>(const char*)> environment; // reads a variable
    // Opens the history when a command first needs it, so `settings` and `key` never touch it.
    std::function<std::unique_ptr<HistoryStore>(HistoryStore::Use)> openHistory;
    // Output to a terminal has its control characters shown rather than obeyed.
    bool outIsTerminal = false;
    bool errIsTerminal = false;
};

// Exit status: 0 done, 1 the correction, key operation or history read failed, 2 wrong usage.
int runCommandLine(const std::vector<std::string>& args, const CommandLineContext& context);

} // namespace vesk::app
