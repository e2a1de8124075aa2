#include "app/services/HistoryStore.h"
#include "core/UnicodeText.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <array>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <memory>
#include <random>
#include <sqlite3.h>
#include <string>

namespace vesk::app {
namespace {

using Clock = std::chrono::system_clock;

// The store is a QObject with a timer; it wants an application object like the real app has.
void ensureApplication()
{
    static int argc = 1;
    static char name[] = "vesk_bench";
    static char* argv[] = {name, nullptr};
    static const auto application =
        QCoreApplication::instance() ? nullptr : std::make_unique<QCoreApplication>(argc, argv);
}

// A heavy user's history on disk: 100,000 corrections over two years, 5 to 80 words each, some with
// accents, made with several models from several apps. Roughly 3% mention Zürich, so a search for "zurich"
// matches a few percent of the records.
class HistoryFile
{
public:
    static constexpr int count = 100'000;

    HistoryFile()
    {
        ensureApplication();
        {
            const HistoryStore schema(path()); // creates the file at the current schema
        }
        fill();
        const HistoryStore warm(path()); // folds the search texts in this locale once, as a first launch does
    }

    QString path() const { return m_dir.filePath(QStringLiteral("history.sqlite3")); }

private:
    void fill() const
    {
        static const std::array<const char*, 24> words{
            "the",     "report", "meeting", "tomorrow", "please", "send",   "draft",  "café",
            "naïve",   "résumé", "façade",  "team",     "about",  "review", "before", "Thursday",
            "because", "budget", "really",  "could",    "we",     "update", "their",  "São Paulo"};
        static const std::array<const char*, 5> models{"gpt-4o-mini", "gpt-4.1", "claude-sonnet-4-6",
                                                       "claude-haiku-4-5-20251001", "llama3.1"};
        static const std::array<const char*, 6> sources{"Mousepad",       "Firefox",      "Thunderbird",
                                                        "xfce4-terminal", "Command line", nullptr};
        std::mt19937 random(7);
        std::uniform_int_distribution<int> length(5, 80);
        std::uniform_int_distribution<int> percent(0, 99);
        std::uniform_int_distribution<std::size_t> word(0, words.size() - 1);

        sqlite3* db = nullptr;
        sqlite3_open(path().toUtf8().constData(), &db);
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(db,
                           "INSERT INTO corrections (date_ms, provider, model, original, corrected, prompt_tokens, "
                           "completion_tokens, estimated_cost, change_count, source_app, strength, tone, word_count, "
                           "search_text) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                           -1, &insert, nullptr);
        const auto start = Clock::now() - std::chrono::hours(2 * 365 * 24);
        for (int i = 0; i < count; ++i) {
            CorrectionRecord r;
            r.date = start + std::chrono::minutes(10) * i;
            r.model = models[static_cast<std::size_t>(i) % models.size()];
            r.providerRaw = r.model.starts_with("claude") ? "anthropic" : "openai";
            const int n = length(random);
            for (int w = 0; w < n; ++w) {
                const std::string next = percent(random) < 3 && w == 0 ? "Zürich" : words[word(random)];
                r.corrected += (w ? " " : "") + next;
                r.original += (w ? " " : "") + (percent(random) < 10 ? next.substr(1) : next);
            }
            r.corrected += '.';
            r.promptTokens = 60 + 2 * n;
            r.completionTokens = n + 5;
            r.changeCount = percent(random) % 8;
            if (const char* source = sources[static_cast<std::size_t>(i) % sources.size()]) {
                r.sourceApp = source;
            }
            const std::string searchText = r.searchText();
            const auto bind = [insert](int column, const std::string& text) {
                sqlite3_bind_text(insert, column, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
            };
            sqlite3_bind_int64(
                insert, 1, std::chrono::duration_cast<std::chrono::milliseconds>(r.date.time_since_epoch()).count());
            bind(2, r.providerRaw);
            bind(3, r.model);
            bind(4, r.original);
            bind(5, r.corrected);
            sqlite3_bind_int64(insert, 6, r.promptTokens);
            sqlite3_bind_int64(insert, 7, r.completionTokens);
            sqlite3_bind_double(insert, 8, 0.0001);
            sqlite3_bind_int(insert, 9, r.changeCount);
            if (r.sourceApp) {
                bind(10, *r.sourceApp);
            } else {
                sqlite3_bind_null(insert, 10);
            }
            bind(11, "grammarSpelling");
            bind(12, "preserve");
            sqlite3_bind_int64(insert, 13, static_cast<std::int64_t>(unicode::countWords(r.corrected)));
            bind(14, searchText);
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }

    QTemporaryDir m_dir;
};

const HistoryFile& historyFile()
{
    static const HistoryFile file;
    return file;
}

void openHistory(benchmark::State& state)
{
    const QString path = historyFile().path();
    for (auto _ : state) {
        auto store = std::make_unique<HistoryStore>(path);
        benchmark::DoNotOptimize(store->records().data());
        // Closing is not part of opening, and the memory goes back to the system so that the next open
        // starts from fresh pages as a launch does.
        state.PauseTiming();
        store.reset();
        malloc_trim(0);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * HistoryFile::count);
}

// One keystroke in the activity list's search field: the whole history filtered again.
void searchHistory(benchmark::State& state, const char* query)
{
    const HistoryStore store(historyFile().path());
    const QString text = QString::fromUtf8(query);
    std::size_t matches = 0;
    for (auto _ : state) {
        const auto found = store.search(text);
        matches = found.size();
        benchmark::DoNotOptimize(found.data());
    }
    state.counters["matched%"] = 100.0 * static_cast<double>(matches) / HistoryFile::count;
}

void historyFigures(benchmark::State& state)
{
    const HistoryStore store(historyFile().path());
    const auto calendar = Calendar::create("Europe/Berlin", "en_US");
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.stats(Clock::now(), *calendar));
    }
}

BENCHMARK(openHistory)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(searchHistory, fewPercent, "zurich")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(searchHistory, nothing, "quarterly forecast")->Unit(benchmark::kMillisecond);
BENCHMARK(historyFigures)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesk::app
