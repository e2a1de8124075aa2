// The `vesk` binary: terminal subcommands now; the desktop app starts here when run without arguments.
#include "app/AppIdentity.h"
#include "app/AppSettings.h"
#include "app/CommandLine.h"
#include "app/KeychainKeyStore.h"
#include "core/CurlTransport.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdlib>
#include <iostream>

int main(int argc, char** argv)
{
    QCoreApplication::setOrganizationName(vesk::app::organizationName);
    QCoreApplication::setApplicationName(vesk::app::applicationName);
    const std::vector<std::string> args(argv + 1, argv + argc);

    QCoreApplication application(argc, argv);
    // A terminal command's standard error carries its own messages only; QT_LOGGING_RULES brings the
    // diagnostics back (for example "vesk.*=true").
    QLoggingCategory::setFilterRules(QStringLiteral("vesk.*=false"));
    vesk::app::AppSettings settings;
    const vesk::app::CommandLineContext context{
        std::cin,
        std::cout,
        std::cerr,
        settings,
        std::make_shared<vesk::app::KeychainKeyStore>(),
        std::make_shared<vesk::CurlTransport>(),
        [](const char* name) -> std::optional<std::string> {
            const char* value = std::getenv(name);
            return value ? std::optional<std::string>(value) : std::nullopt;
        },
    };
    return vesk::app::runCommandLine(args.empty() ? std::vector<std::string>{"--help"} : args, context);
}
