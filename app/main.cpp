// The `vesk` binary: without arguments the desktop app; with a subcommand, the terminal's ways in.
#include "app/common/AppIdentity.h"
#include "app/services/AppSettings.h"
#include "app/cli/CommandLine.h"
#include "app/desktop/DesktopApp.h"
#include "app/services/HistoryStore.h"
#include "app/services/KeychainKeyStore.h"
#include "app/services/SingleInstance.h"
#include "core/CurlTransport.h"

#include <QApplication>
#include <QLoggingCategory>
#include <cstdlib>
#include <iostream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

int runDesktop(int argc, char** argv)
{
    QApplication application(argc, argv);
    application.setDesktopFileName(QString::fromLatin1(vesk::app::applicationId));
    vesk::app::DesktopApp app;
    if (!app.start()) {
        std::cerr << "Vesk is already running; its window is shown.\n";
        return 0;
    }
    return QApplication::exec();
}

// Asks the running app to correct the current selection, exactly like the shortcut.
int runFix()
{
    QString error;
    if (!vesk::app::SingleInstance::send(QStringLiteral("fix"), &error)) {
        std::cerr << error.toStdString() << "\n";
        return 1;
    }
    return 0;
}

int runCommandLine(int argc, char** argv, const std::vector<std::string>& args)
{
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
        [](vesk::app::HistoryStore::Use use) { return std::make_unique<vesk::app::HistoryStore>(QString(), use); },
        isatty(STDOUT_FILENO) == 1,
        isatty(STDERR_FILENO) == 1,
    };
    return vesk::app::runCommandLine(args, context);
}

} // namespace

int main(int argc, char** argv)
{
    // A running correction holds the key and the user's text in memory: no core dump may keep them.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    QCoreApplication::setOrganizationName(vesk::app::organizationName);
    QCoreApplication::setApplicationName(vesk::app::applicationName);
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        // The desktop app stays dumpable: the desktop portals tell a host app from a sandboxed one through
        // /proc/<pid>/root, which a process that is not dumpable closes to them, and then refuse every call.
        return runDesktop(argc, argv);
    }
    // The terminal's commands reach no portal, so they also close their memory to debuggers.
    prctl(PR_SET_DUMPABLE, 0);
    if (args.size() == 1 && args[0] == "fix") {
        QCoreApplication application(argc, argv);
        return runFix();
    }
    return runCommandLine(argc, argv, args);
}
