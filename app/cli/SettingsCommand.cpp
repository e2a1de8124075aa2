// `vesk settings`: prints the saved settings, or changes them.
#include "app/cli/CommandSupport.h"

#include "app/services/AppSettings.h"

#include <ostream>

namespace vesk::app::cli {

int settingsCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    const Overrides overrides = parseOptions(args, Command::settings);
    const AppSettingsSnapshot& saved = savedSettings(context);
    if (args.size() > 1) {
        context.settings.setSnapshot(applied(saved, overrides));
    }
    printJson(context.out, toJson(context.settings.snapshot()), 2);
    return 0;
}

} // namespace vesk::app::cli
