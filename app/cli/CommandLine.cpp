#include "app/cli/CommandLine.h"
#include "app/cli/CommandSupport.h"

#include <ostream>

namespace vesk::app {

namespace {

constexpr const char* usageText = R"(usage:
  vesk                      start the desktop app (or show the running one)
  vesk fix                  correct the selection in the focused app, like the shortcut
  vesk correct [options] [--json] [--no-history]
                            correct UTF-8 text from standard input and print the result;
                            it is kept in the history unless --no-history is given
  vesk history [--search TEXT] [--json]
                            print the history, newest first: local time, source, fixes,
                            model and the start of the correction, tab-separated
  vesk settings [options] [--review on|off] [--setup-done on|off]
                            print the saved settings, or change them (--setup-done on
                            skips the first-launch guide, for prepared installs)
  vesk key set PROVIDER     save the key read from standard input (openai or anthropic)
  vesk key remove PROVIDER  remove the saved key
  vesk key status           say which providers have a key
  vesk --version

options (for this run with `correct`, saved with `settings`):
  --provider openai|anthropic   --model M          --endpoint URL
  --strength S   --tone T   --language L           (raw values, e.g. grammarSpelling, preserve, auto)
  --meaning-lock on|off   --preserve-formatting on|off   --instructions TEXT
The environment's OPENAI_API_KEY or ANTHROPIC_API_KEY is used instead of the saved key.
)";

int usage(std::ostream& err, const std::string& message)
{
    err << "vesk: " << message << "\n" << usageText;
    return 2;
}

} // namespace

int runCommandLine(const std::vector<std::string>& args, const CommandLineContext& context)
{
    try {
        if (args.empty()) {
            return usage(context.err, "no command");
        }
        const std::string& command = args[0];
        if (command == "--version" || command == "version") {
            context.out << "vesk " << VESK_VERSION << "\n";
            return 0;
        }
        if (command == "--help" || command == "-h" || command == "help") {
            context.out << usageText;
            return 0;
        }
        if (command == "correct") {
            return cli::correctCommand(args, context);
        }
        if (command == "history") {
            return cli::historyCommand(args, context);
        }
        if (command == "settings") {
            return cli::settingsCommand(args, context);
        }
        if (command == "key") {
            return cli::keyCommand(args, context);
        }
        return usage(context.err, "unknown command \"" + command + "\"");
    } catch (const cli::UsageError& error) {
        return usage(context.err, error.message);
    }
}

} // namespace vesk::app
