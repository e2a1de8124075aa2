#pragma once

// What the subcommands share: the usage error, option parsing for `correct` and `settings`, and output.

#include "app/cli/CommandLine.h"
#include "core/AppSettingsSnapshot.h"
#include "core/Json.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::app::cli {

// Wrong usage: printed with the usage text, exit status 2.
struct UsageError
{
    std::string message;
};

// Options shared by `correct` and `settings`, applied to a copy of the saved settings.
struct Overrides
{
    std::optional<ProviderID> provider;
    std::optional<std::string> model;
    std::optional<std::string> endpoint;
    std::optional<bool> review;
    std::optional<bool> setupDone;
    bool json = false;
    bool noHistory = false;
    std::map<std::string, std::string> correction; // option name -> raw value, validated on apply
};

enum class Command { correct, settings };

// Throws UsageError.
void requireUtf8(const std::vector<std::string>& args);
Overrides parseOptions(const std::vector<std::string>& args, Command command);
// The snapshot with the options applied; model and endpoint belong to the provider in effect.
AppSettingsSnapshot applied(AppSettingsSnapshot s, const Overrides& o);
ProviderID parseProvider(const std::string& value);
// The saved settings, after saying on standard error what in them was not understood.
const AppSettingsSnapshot& savedSettings(const CommandLineContext& context);

// One JSON document a line; bytes that are not UTF-8 (a damaged history, a provider's error body) are
// written replaced rather than abort the command.
void printJson(std::ostream& out, const Json& json, int indent = -1);

// Text from a provider or the history as a terminal should show it when `terminal`: control characters
// that would move the cursor, retitle the window or recolour what follows (escape sequences, C1 controls,
// lone carriage returns, backspaces) become visible symbols; line breaks and tabs stay. Otherwise the
// bytes as they are, for whatever reads them.
std::string forTerminal(std::string_view text, bool terminal);

int correctCommand(const std::vector<std::string>& args, const CommandLineContext& context);
int historyCommand(const std::vector<std::string>& args, const CommandLineContext& context);
int settingsCommand(const std::vector<std::string>& args, const CommandLineContext& context);
int keyCommand(const std::vector<std::string>& args, const CommandLineContext& context);

} // namespace vesk::app::cli
