// The correction diff on long selections, against the plain full-table comparison it must agree with.
//
// Besides time, each benchmark reports `extra_MiB`: how far the process's peak resident memory rose above
// its resident memory just before one untimed run of the measured call. Freed heap memory is handed back
// to the system first (malloc_trim) and the kernel's peak is reset (writing 5 to /proc/self/clear_refs),
// so every run is measured from a clean start, whatever ran before it in this process. It counts the
// pages actually touched, including the result, at page granularity.

#include "core/CorrectionDiff.h"
#include "support/ReferenceDiff.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <fstream>
#include <malloc.h>
#include <random>
#include <string>
#include <vector>

namespace {

using vesk::CorrectionDiff::plan;
using vesk::CorrectionDiff::segments;
using vesk::CorrectionDiff::tokens;

// An original and a correction of about `tokenCount` tokens each: words with spaces and punctuation,
// where about one token in twenty differs (a word replaced, dropped or added).
struct TextPair
{
    std::string original;
    std::string corrected;
    std::vector<std::string> originalTokens;
    std::vector<std::string> correctedTokens;
};

TextPair makeTextPair(std::size_t tokenCount)
{
    static const std::vector<std::string> words = {
        "the",    "a",      "of",        "and",     "to",    "in",     "is",       "was",        "that",    "for",
        "it",     "with",   "as",        "on",      "be",    "at",     "by",       "this",       "had",     "not",
        "are",    "but",    "from",      "or",      "have",  "an",     "they",     "which",      "one",     "you",
        "were",   "her",    "all",       "she",     "there", "would",  "their",    "we",         "him",     "been",
        "has",    "when",   "who",       "will",    "more",  "no",     "if",       "out",        "so",      "said",
        "what",   "up",     "its",       "about",   "into",  "than",   "them",     "can",        "only",    "other",
        "new",    "some",   "could",     "time",    "these", "two",    "may",      "then",       "do",      "first",
        "any",    "my",     "now",       "such",    "like",  "our",    "over",     "man",        "me",      "even",
        "most",   "made",   "after",     "also",    "did",   "many",   "before",   "must",       "through", "back",
        "years",  "where",  "much",      "your",    "way",   "well",   "down",     "should",     "because", "each",
        "just",   "those",  "people",    "how",     "too",   "little", "state",    "good",       "very",    "make",
        "world",  "still",  "own",       "see",     "men",   "work",   "long",     "get",        "here",    "between",
        "both",   "life",   "being",     "under",   "never", "day",    "same",     "another",    "know",    "while",
        "last",   "might",  "us",        "great",   "old",   "year",   "off",      "come",       "since",   "against",
        "go",     "came",   "right",     "used",    "take",  "three",  "sentence", "correction", "writing", "grammar",
        "review", "change", "paragraph", "spelling"};
    std::mt19937 random(static_cast<unsigned>(tokenCount));
    const auto word = [&] { return words[random() % words.size()]; };
    const auto separator = [&] {
        const auto roll = random() % 20;
        return roll == 0 ? std::string(". ") : roll == 1 ? std::string(", ") : std::string(" ");
    };

    TextPair pair;
    for (std::size_t count = 0; count < tokenCount; count += 2) {
        const std::string next = word();
        const std::string after = separator();
        pair.original += next + after;
        const auto roll = random() % 20;
        if (roll == 0) {
            pair.corrected += word() + after;
        } else if (roll == 1) {
            pair.corrected += word() + " " + next + after;
        } else if (roll != 2) {
            pair.corrected += next + after;
        }
    }
    pair.originalTokens = tokens(pair.original);
    pair.correctedTokens = tokens(pair.corrected);
    return pair;
}

const TextPair& textPair(std::size_t tokenCount)
{
    static TextPair tenThousand = makeTextPair(10'000);
    static TextPair fiftyThousand = makeTextPair(50'000);
    return tokenCount == 10'000 ? tenThousand : fiftyThousand;
}

std::size_t statusKiB(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0) {
            return std::stoul(line.substr(field.size() + 1));
        }
    }
    return 0;
}

// Peak resident memory above the starting point during one call, in MiB; see the top of the file.
template <typename Call> double extraMiB(Call&& call)
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    const std::size_t before = statusKiB("VmRSS");
    benchmark::DoNotOptimize(call());
    const std::size_t peak = statusKiB("VmHWM");
    return static_cast<double>(peak > before ? peak - before : 0) / 1024.0;
}

// Measures memory in one untimed call, then times the call.
template <typename Call> void measure(benchmark::State& state, const TextPair& pair, Call&& call)
{
    state.counters["extra_MiB"] = extraMiB(call);
    for (auto _ : state) {
        benchmark::DoNotOptimize(call());
    }
    state.counters["tokens"] = static_cast<double>(pair.originalTokens.size());
    state.counters["corrected_tokens"] = static_cast<double>(pair.correctedTokens.size());
}

void BM_DiffSegments(benchmark::State& state)
{
    const TextPair& pair = textPair(static_cast<std::size_t>(state.range(0)));
    measure(state, pair, [&] { return segments(pair.originalTokens, pair.correctedTokens); });
}

void BM_DiffReferenceSegments(benchmark::State& state)
{
    const TextPair& pair = textPair(static_cast<std::size_t>(state.range(0)));
    measure(state, pair, [&] { return vesk::reference::segments(pair.originalTokens, pair.correctedTokens); });
}

// The whole plan, from the two texts: tokenising, comparing and grouping.
void BM_DiffPlan(benchmark::State& state)
{
    const TextPair& pair = textPair(static_cast<std::size_t>(state.range(0)));
    measure(state, pair, [&] { return plan(pair.original, pair.corrected); });
}

// At the selection cap: 100,000 characters of prose against its correction, and against an unrelated reply
// of the largest size accepted (1 MB), the worst the review can be asked to show.
const TextPair& atTheCap(bool unrelated)
{
    static const TextPair similar = [] {
        TextPair pair = makeTextPair(36'500);
        pair.original.resize(std::min<std::size_t>(pair.original.size(), 100'000));
        return pair;
    }();
    static const TextPair different = [] {
        TextPair pair;
        pair.original = similar.original;
        std::mt19937 random(7);
        while (pair.corrected.size() < 1'000'000) {
            pair.corrected += std::to_string(random() % 1000) + (random() % 8 == 0 ? "\n" : " ");
        }
        pair.originalTokens = tokens(pair.original);
        pair.correctedTokens = tokens(pair.corrected);
        return pair;
    }();
    return unrelated ? different : similar;
}

void BM_DiffPlanAtTheCap(benchmark::State& state)
{
    const TextPair& pair = atTheCap(state.range(0) != 0);
    measure(state, pair, [&] { return plan(pair.original, pair.corrected); });
}

BENCHMARK(BM_DiffSegments)->Arg(10'000)->Arg(50'000)->Unit(benchmark::kMillisecond);
// The full table for 50,000 tokens a side would take about 10 GB, so the reference runs at 10,000 only.
BENCHMARK(BM_DiffReferenceSegments)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DiffPlan)->Arg(10'000)->Arg(50'000)->Unit(benchmark::kMillisecond);
// 0: a correction of the text; 1: an unrelated 1 MB reply.
BENCHMARK(BM_DiffPlanAtTheCap)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
