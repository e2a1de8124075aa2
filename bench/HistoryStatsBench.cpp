#include "core/HistoryStats.h"

#include <array>
#include <benchmark/benchmark.h>
#include <random>
#include <string>

namespace vesk {
namespace {

// A heavy user's history: two years of corrections of a sentence to a short paragraph each.
std::vector<HistoryStats::Entry> history(TimePoint now, std::size_t count, bool withText)
{
    const std::array<std::string, 3> texts{
        "Thanks for the update, I'll review the draft tomorrow morning.",
        "Could you send me the well-known report again? The link in your last message doesn't open.",
        "We moved the meeting to Thursday because half of the team is travelling on Wednesday, and the "
        "room we booked was too small anyway. Please let me know if the new time doesn't work for you, "
        "and I will find another slot before the end of the week.",
    };
    std::mt19937 random(42);
    std::uniform_int_distribution<long long> secondsAgo(-3600, 2LL * 365 * 24 * 3600);
    std::uniform_int_distribution<int> changes(0, 12);
    std::vector<HistoryStats::Entry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        entries.push_back({now - std::chrono::seconds(secondsAgo(random)), changes(random),
                           withText ? texts[i % texts.size()] : std::string()});
    }
    return entries;
}

// Range 0: entries; range 1: whether they carry text, which separates the cost of counting words from
// the calendar work and the sums.
void computeHistoryStats(benchmark::State& state)
{
    const auto calendar = Calendar::create("Europe/Berlin", "en_US");
    const TimePoint now = std::chrono::sys_days(std::chrono::year_month_day(std::chrono::year(2026) / 3 / 20));
    const auto entries = history(now, static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(HistoryStats::compute(entries, now, *calendar));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(computeHistoryStats)->Args({100'000, 1})->Args({100'000, 0})->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesk
