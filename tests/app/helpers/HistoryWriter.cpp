// Records corrections into the history file named on the command line as fast as it can, printing each
// row's id once it is committed, until it is killed. The crash-safety test kills it mid-stream.

#include "app/services/HistoryStore.h"

#include <QCoreApplication>
#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: vesk_history_writer FILE\n", stderr);
        return 2;
    }
    vesk::app::HistoryStore history(QString::fromLocal8Bit(argv[1]));
    if (!history.isPersistent()) {
        return 1;
    }
    const vesk::CorrectionRun run{vesk::ProviderID::anthropic, "claude-sonnet-4-6", {}, {}};
    for (int i = 0;; ++i) {
        // Long texts of varying size make each write span several pages and push the log to checkpoints.
        const std::string text(static_cast<std::size_t>(200 + (i * 7919) % 40'000), "abcdefghijk"[i % 11]);
        if (!history.record({text, text + ".", run, vesk::TokenUsage{10, 10}, 1, std::string("writer")})) {
            return 1;
        }
        std::printf("%lld\n", static_cast<long long>(history.records().front().id));
        std::fflush(stdout);
    }
}
