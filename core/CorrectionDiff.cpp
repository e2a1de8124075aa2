#include "core/CorrectionDiff.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <unordered_map>

namespace vesk::CorrectionDiff {

namespace {

using Kind = Segment::Kind;

// ---------------------------------------------------------------------------------------------------
// Tokenising

// Creating a break iterator loads and compiles ICU's rules, which costs far more than splitting a
// typical selection, so each thread keeps one.
icu::BreakIterator* characterBreaks()
{
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> created(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(created) : nullptr;
    }();
    return iterator.get();
}

// The byte length of the code point (or of the invalid byte sequence) at the start of `text`.
std::size_t codePointLength(std::string_view text)
{
    // At most four bytes matter, which keeps ICU's 32-bit indices safe whatever the text's size.
    const auto window = static_cast<int32_t>(std::min<std::size_t>(text.size(), 4));
    int32_t length = 0;
    UChar32 c = 0;
    U8_NEXT(text.data(), length, window, c);
    return static_cast<std::size_t>(length);
}

// Calls `onCharacter(begin, end)` with the byte range of every user-perceived character in order.
template <typename OnCharacter> void forEachCharacter(std::string_view text, OnCharacter&& onCharacter)
{
    icu::BreakIterator* breaks = characterBreaks();
    UErrorCode status = U_ZERO_ERROR;
    UText utf8 = UTEXT_INITIALIZER;
    // Break positions are 32-bit in ICU; a text beyond that is split by code point rather than cut short.
    const bool fitsIcu = text.size() <= static_cast<std::size_t>(std::numeric_limits<int32_t>::max());
    if (breaks != nullptr && fitsIcu) {
        utext_openUTF8(&utf8, text.data(), static_cast<int64_t>(text.size()), &status);
        breaks->setText(&utf8, status);
    }
    if (breaks != nullptr && fitsIcu && U_SUCCESS(status)) {
        // With UTF-8 text behind a UText, the iterator reports byte offsets; ICU reads each invalid byte
        // as U+FFFD of its own, so every byte stays inside some character.
        int32_t begin = breaks->first();
        for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; begin = end, end = breaks->next()) {
            onCharacter(static_cast<std::size_t>(begin), static_cast<std::size_t>(end));
        }
    } else {
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = begin + codePointLength(text.substr(begin));
            onCharacter(begin, end);
            begin = end;
        }
    }
    utext_close(&utf8);
}

bool isWordCharacter(std::string_view character)
{
    const auto window = static_cast<int32_t>(std::min<std::size_t>(character.size(), 4));
    int32_t index = 0;
    UChar32 c = 0;
    U8_NEXT(character.data(), index, window, c);
    return c >= 0 &&
           (u_hasBinaryProperty(c, UCHAR_ALPHABETIC) || u_getIntPropertyValue(c, UCHAR_NUMERIC_TYPE) != U_NT_NONE);
}

// The tokens as views into `text`.
std::vector<std::string_view> tokenViews(std::string_view text)
{
    std::vector<std::string_view> result;
    std::size_t tokenBegin = 0;
    bool tokenIsWord = false;
    forEachCharacter(text, [&](std::size_t begin, std::size_t end) {
        const bool word = isWordCharacter(text.substr(begin, end - begin));
        if (begin > tokenBegin && word != tokenIsWord) {
            result.push_back(text.substr(tokenBegin, begin - tokenBegin));
            tokenBegin = begin;
        }
        tokenIsWord = word;
    });
    // Also keeps any bytes a break iterator might leave behind at the end.
    if (tokenBegin < text.size()) {
        result.push_back(text.substr(tokenBegin));
    }
    return result;
}

// ---------------------------------------------------------------------------------------------------
// Comparison

using TokenId = std::uint32_t;
using Word = std::uint64_t;
constexpr std::size_t wordBits = 64;

// L[i][j], the length of the longest common subsequence of a[i:] and b[j:], as the walk asks for it,
// without the (n + 1) x (m + 1) table.
//
// Bit-parallel LCS over the reversed sequences: after the first r tokens of reverse(a), bit p of the
// row vector is 0 where the LCS with the first p + 1 tokens of reverse(b) is one longer than with the
// first p. So L[i][j] is the number of zero bits among the lowest m - j bits of row n - i. A row comes
// from the one before in m / 64 word operations. Carries only run upwards, so the low words of a row
// never depend on its high words; bits above m are never read.
//
// The walk needs rows in descending order but they can only be computed ascending, so the forward pass
// keeps every K-th row and the walk recomputes one block of K rows at a time from its checkpoint,
// together with running popcounts that answer each query in constant time. Memory is about
// (n / K + K) rows; K near sqrt(n) keeps that small for any size, and the time stays about two passes.
//
// With 50,000 tokens a side the comparison takes about 0.1 s and 8 MB; plan() keeps larger pairs away
// (see comparisonBudget).
class SuffixLcs
{
public:
    SuffixLcs(std::span<const TokenId> a, std::span<const TokenId> b, TokenId idCount)
        : m_a(a), m_n(a.size()), m_m(b.size()), m_words((b.size() + wordBits - 1) / wordBits),
          m_blockRows(std::max<std::size_t>(64, static_cast<std::size_t>(std::ceil(std::sqrt(double(a.size()))))))
    {
        indexMatches(b, idCount);
        forwardPass();
    }

    struct Neighbours
    {
        std::size_t below; // L[i + 1][j]
        std::size_t right; // L[i][j + 1]
    };

    // For the walk at (i, j) with i < n and j < m. Neither i nor j may go back between calls.
    Neighbours neighbours(std::size_t i, std::size_t j)
    {
        const std::size_t row = m_n - i;
        const std::size_t width = m_m - j;
        if (row - 1 < m_blockBase || row > m_blockBase + m_blockRows || width > m_blockWidth) {
            loadBlock((row - 1) / m_blockRows * m_blockRows, width);
        }
        return {zeros(row - 1, width), zeros(row, width - 1)};
    }

private:
    // The bits of one word of a token's match mask over reverse(b).
    struct MatchWord
    {
        std::size_t index;
        Word bits;
    };

    // Match masks are kept sparse, as the words that hold a match, grouped by token: a full mask per
    // distinct token would cost distinct tokens x m bits, gigabytes for long texts.
    void indexMatches(std::span<const TokenId> b, TokenId idCount)
    {
        m_matchStart.assign(std::size_t(idCount) + 1, 0);
        for (const TokenId token : b) {
            ++m_matchStart[token + 1];
        }
        for (std::size_t t = 0; t < idCount; ++t) {
            m_matchStart[t + 1] += m_matchStart[t];
        }
        // A token's occurrences bound its words, so this reserves enough; `m_matchEnd` says how far used.
        m_matchWords.resize(m_m);
        m_matchEnd.assign(m_matchStart.begin(), m_matchStart.end() - 1);
        for (std::size_t p = 0; p < m_m; ++p) {
            const TokenId token = b[m_m - 1 - p];
            const std::size_t index = p / wordBits;
            const Word bit = Word(1) << (p % wordBits);
            std::size_t& end = m_matchEnd[token];
            if (end > m_matchStart[token] && m_matchWords[end - 1].index == index) {
                m_matchWords[end - 1].bits |= bit;
            } else {
                m_matchWords[end++] = {index, bit};
            }
        }
    }

    // Turns row r into row r + 1 for the token reverse(a)[r], in its lowest `words` words:
    // V = (V + U) | (V - U) with U = V & match, where V - U is simply V & ~match.
    void advance(Word* row, TokenId token, std::size_t words) const
    {
        const MatchWord* match = m_matchWords.data() + m_matchStart[token];
        const MatchWord* const last = m_matchWords.data() + m_matchEnd[token];
        // Words without a match and without an incoming carry stay as they are, which makes rows for
        // rare tokens cheap and rows for tokens absent from b free.
        Word carry = 0;
        for (std::size_t w = match == last ? words : match->index; w < words;) {
            Word mask = 0;
            if (match != last && match->index == w) {
                mask = match->bits;
                ++match;
            } else if (carry == 0) {
                if (match == last) {
                    break;
                }
                w = match->index;
                continue;
            }
            const Word v = row[w];
            const Word u = v & mask;
            Word sum = v + u;
            Word carryOut = sum < v ? 1 : 0;
            sum += carry;
            carryOut |= sum < carry ? 1 : 0;
            row[w] = sum | (v & ~mask);
            carry = carryOut;
            ++w;
        }
    }

    TokenId reversedA(std::size_t r) const { return m_a[m_n - 1 - r]; }

    void forwardPass()
    {
        const std::size_t lastBase = (m_n - 1) / m_blockRows * m_blockRows;
        m_checkpoints.resize((lastBase / m_blockRows + 1) * m_words);
        std::vector<Word> row(m_words, ~Word(0));
        for (std::size_t r = 0;; ++r) {
            if (r % m_blockRows == 0) {
                std::copy(row.begin(), row.end(), m_checkpoints.begin() + std::ptrdiff_t(r / m_blockRows * m_words));
                if (r == lastBase) {
                    break;
                }
            }
            advance(row.data(), reversedA(r), m_words);
        }
    }

    // Rows base .. base + K (as far as they exist), each in the words that hold its lowest `width` bits.
    void loadBlock(std::size_t base, std::size_t width)
    {
        const std::size_t words = (width + wordBits - 1) / wordBits;
        const std::size_t rows = std::min(m_blockRows, m_n - base) + 1;
        m_block.resize((m_blockRows + 1) * m_words);
        m_blockOnes.resize((m_blockRows + 1) * (m_words + 1));
        const auto checkpoint = m_checkpoints.begin() + std::ptrdiff_t(base / m_blockRows * m_words);
        std::copy(checkpoint, checkpoint + std::ptrdiff_t(words), m_block.begin());
        for (std::size_t k = 1; k < rows; ++k) {
            Word* row = m_block.data() + k * m_words;
            std::copy(row - m_words, row - m_words + words, row);
            advance(row, reversedA(base + k - 1), words);
        }
        m_blockOnesReady.assign(m_blockRows + 1, false);
        m_blockBase = base;
        m_blockWidth = width;
        m_blockWordCount = words;
    }

    // The number of zero bits among the lowest `width` bits of a row of the loaded block.
    std::size_t zeros(std::size_t row, std::size_t width)
    {
        const std::size_t k = row - m_blockBase;
        // Running popcounts are made only for the rows the walk asks about: it crosses most rows on
        // equal tokens, which need no query.
        if (!m_blockOnesReady[k]) {
            const Word* words = m_block.data() + k * m_words;
            std::uint32_t* ones = m_blockOnes.data() + k * (m_words + 1);
            ones[0] = 0;
            for (std::size_t w = 0; w < m_blockWordCount; ++w) {
                ones[w + 1] = ones[w] + static_cast<std::uint32_t>(std::popcount(words[w]));
            }
            m_blockOnesReady[k] = true;
        }
        const std::size_t w = width / wordBits;
        const std::size_t bits = width % wordBits;
        std::size_t ones = m_blockOnes[k * (m_words + 1) + w];
        if (bits != 0) {
            ones += static_cast<std::size_t>(std::popcount(m_block[k * m_words + w] & ((Word(1) << bits) - 1)));
        }
        return width - ones;
    }

    std::span<const TokenId> m_a;
    std::size_t m_n;
    std::size_t m_m;
    std::size_t m_words;
    std::size_t m_blockRows;

    std::vector<std::size_t> m_matchStart;
    std::vector<std::size_t> m_matchEnd;
    std::vector<MatchWord> m_matchWords;

    std::vector<Word> m_checkpoints;
    std::vector<Word> m_block;
    std::vector<std::uint32_t> m_blockOnes;
    std::vector<bool> m_blockOnesReady;
    // No block is loaded until the first query: its base is then past every row.
    std::size_t m_blockBase = std::numeric_limits<std::size_t>::max() / 2;
    std::size_t m_blockWidth = 0;
    std::size_t m_blockWordCount = 0;
};

// The kinds of the segments, one token each. Exactly the walk over the full suffix table:
// equal tokens are kept, otherwise the side whose token costs common length is advanced, the original
// on a tie; then the original's rest is deleted and the correction's rest inserted.
std::vector<Kind> editScript(std::span<const TokenId> a, std::span<const TokenId> b, TokenId idCount)
{
    std::vector<Kind> script;
    script.reserve(a.size() + b.size());
    // The walk keeps a common prefix token by token, so it can go without the table. A common suffix
    // cannot: against a = [x], b = [x, x] the walk keeps the first x and inserts the second.
    std::size_t prefix = 0;
    while (prefix < a.size() && prefix < b.size() && a[prefix] == b[prefix]) {
        ++prefix;
    }
    script.assign(prefix, Kind::equal);
    a = a.subspan(prefix);
    b = b.subspan(prefix);

    std::size_t i = 0;
    std::size_t j = 0;
    if (!a.empty() && !b.empty()) {
        SuffixLcs lcs(a, b, idCount);
        while (i < a.size() && j < b.size()) {
            if (a[i] == b[j]) {
                script.push_back(Kind::equal);
                ++i;
                ++j;
                continue;
            }
            const auto [below, right] = lcs.neighbours(i, j);
            if (below < right) {
                script.push_back(Kind::insert);
                ++j;
            } else {
                script.push_back(Kind::deletion);
                ++i;
            }
        }
    }
    script.insert(script.end(), a.size() - i, Kind::deletion);
    script.insert(script.end(), b.size() - j, Kind::insert);
    return script;
}

void append(std::vector<Segment>& segments, Kind kind, std::string_view text, bool merge)
{
    if (merge && !segments.empty() && segments.back().kind == kind) {
        segments.back().text += text;
    } else {
        segments.push_back({std::string(text), kind});
    }
}

std::vector<Segment> compare(std::span<const std::string_view> from, std::span<const std::string_view> to, bool merge)
{
    // Tokens are compared as integers; equal texts get equal ids.
    std::unordered_map<std::string_view, TokenId> ids;
    ids.reserve(from.size() + to.size());
    const auto idsOf = [&ids](std::span<const std::string_view> tokens) {
        std::vector<TokenId> result;
        result.reserve(tokens.size());
        for (const std::string_view token : tokens) {
            result.push_back(ids.try_emplace(token, static_cast<TokenId>(ids.size())).first->second);
        }
        return result;
    };
    const std::vector<TokenId> a = idsOf(from);
    const std::vector<TokenId> b = idsOf(to);

    std::vector<Segment> result;
    std::size_t i = 0;
    std::size_t j = 0;
    for (const Kind kind : editScript(a, b, static_cast<TokenId>(ids.size()))) {
        switch (kind) {
        case Kind::equal:
            append(result, kind, from[i++], merge);
            ++j;
            break;
        case Kind::insert:
            append(result, kind, to[j++], merge);
            break;
        case Kind::deletion:
            append(result, kind, from[i++], merge);
            break;
        }
    }
    return result;
}

std::vector<std::string_view> views(std::span<const std::string> tokens)
{
    return std::vector<std::string_view>(tokens.begin(), tokens.end());
}

// The comparison costs time in proportion to the product of the two token counts, and memory to its square
// root times the longer side. A selection at the cap against its correction is about 1.3e9 pairs (about
// 60 ms and 6 MB); a budget of three times that keeps any pair of texts Vesk accepts under a fraction of
// a second. Beyond it the texts are compared line by line, and beyond that shown as one replacement.
constexpr std::uint64_t comparisonBudget = 4'000'000'000;

bool withinBudget(std::size_t fromTokens, std::size_t toTokens)
{
    return static_cast<std::uint64_t>(fromTokens) * toTokens <= comparisonBudget;
}

// Lines, each with its line feed.
std::vector<std::string_view> lineViews(std::string_view text)
{
    std::vector<std::string_view> result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        result.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return result;
}

std::vector<Segment> compareWithinBudget(std::string_view original, std::string_view corrected)
{
    std::vector<std::string_view> from = tokenViews(original);
    std::vector<std::string_view> to = tokenViews(corrected);
    if (!withinBudget(from.size(), to.size())) {
        from = lineViews(original);
        to = lineViews(corrected);
    }
    if (withinBudget(from.size(), to.size())) {
        return compare(from, to, true);
    }
    std::vector<Segment> whole;
    if (!original.empty()) {
        whole.push_back({std::string(original), Kind::deletion});
    }
    if (!corrected.empty()) {
        whole.push_back({std::string(corrected), Kind::insert});
    }
    return whole;
}

} // namespace

CorrectionDiffPlan plan(std::string_view original, std::string_view corrected)
{
    CorrectionDiffPlan result{std::string(original), std::string(corrected), {}, {}};
    CorrectionDiffChange pending;
    const auto closeChange = [&] {
        if (pending.original.empty() && pending.replacement.empty()) {
            return;
        }
        pending.id = result.changeCount();
        result.pieces.push_back(CorrectionDiffPiece::change(pending.id));
        result.changes.push_back(std::move(pending));
        pending = {};
    };
    for (Segment& segment : compareWithinBudget(original, corrected)) {
        switch (segment.kind) {
        case Kind::equal:
            closeChange();
            result.pieces.push_back(CorrectionDiffPiece::text(std::move(segment.text)));
            break;
        case Kind::insert:
            pending.replacement += segment.text;
            break;
        case Kind::deletion:
            pending.original += segment.text;
            break;
        }
    }
    closeChange();
    return result;
}

std::vector<std::string> tokens(std::string_view text)
{
    const std::vector<std::string_view> found = tokenViews(text);
    return std::vector<std::string>(found.begin(), found.end());
}

std::vector<Segment> segments(std::span<const std::string> from, std::span<const std::string> to)
{
    return compare(views(from), views(to), false);
}

std::vector<Segment> coalesced(std::vector<Segment> segments)
{
    std::vector<Segment> result;
    for (Segment& segment : segments) {
        if (!result.empty() && result.back().kind == segment.kind) {
            result.back().text += segment.text;
        } else {
            result.push_back(std::move(segment));
        }
    }
    return result;
}

} // namespace vesk::CorrectionDiff
