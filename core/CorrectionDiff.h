#pragma once

// The word-level comparison between the user's original text and a correction: what the review panel
// shows as changed and what the session counts as the number of changes. Pure functions over values.

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesk {

// One changed place: the text taken out of the original there and the text put in instead. Either may
// be empty. `id` is the change's index in its plan's change list.
struct CorrectionDiffChange
{
    int id = 0;
    std::string original;
    std::string replacement;

    bool operator==(const CorrectionDiffChange&) const = default;
};

// One stretch of a plan in reading order: either text common to both sides or a reference to a change.
class CorrectionDiffPiece
{
public:
    enum class Kind { text, change };

    [[nodiscard]] static CorrectionDiffPiece text(std::string common) { return {Kind::text, std::move(common), -1}; }
    [[nodiscard]] static CorrectionDiffPiece change(int changeId) { return {Kind::change, {}, changeId}; }

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] bool isChange() const { return m_kind == Kind::change; }
    // The common text of a text piece; empty for a change piece.
    [[nodiscard]] const std::string& commonText() const { return m_text; }
    // The id of the change a change piece refers to; -1 for a text piece.
    [[nodiscard]] int changeId() const { return m_changeId; }

    bool operator==(const CorrectionDiffPiece&) const = default;

private:
    CorrectionDiffPiece(Kind kind, std::string common, int changeId)
        : m_kind(kind), m_text(std::move(common)), m_changeId(changeId)
    {
    }

    Kind m_kind;
    std::string m_text;
    int m_changeId;
};

// What the user interface consumes. Joining the pieces with each change's `original` gives back
// `original`; joining them with each change's `replacement` gives back `corrected`.
struct CorrectionDiffPlan
{
    std::string original;
    std::string corrected;
    std::vector<CorrectionDiffPiece> pieces;
    // In reading order; the change at index k has id k.
    std::vector<CorrectionDiffChange> changes;

    // Stored with accepted corrections for history and statistics.
    [[nodiscard]] int changeCount() const { return static_cast<int>(changes.size()); }

    bool operator==(const CorrectionDiffPlan&) const = default;
};

namespace CorrectionDiff {

struct Segment
{
    // `equal` text is in both texts, `insert` text only in the correction, `deletion` text only in the
    // original.
    enum class Kind { equal, insert, deletion };

    std::string text;
    Kind kind = Kind::equal;

    bool operator==(const Segment&) const = default;
};

// Compares the two texts token by token and groups every run of differing tokens into one change. Texts
// too long to compare token by token within a fixed budget are compared line by line, and beyond that
// the whole of one is a change to the whole of the other.
[[nodiscard]] CorrectionDiffPlan plan(std::string_view original, std::string_view corrected);

// Splits the text into maximal runs of user-perceived characters of one class: word characters (the
// first code point of the character is alphabetic or numeric) or everything else, so white space and
// punctuation form one token together (", "). Joining the tokens gives back the text byte for byte, also
// when it holds invalid UTF-8.
[[nodiscard]] std::vector<std::string> tokens(std::string_view text);

// The longest common subsequence of the two token lists, as segments of one token each. Where keeping
// either side's token leads to the same common length, the original's token is deleted first; the
// differing tail of the original is deleted before the tail of the correction is inserted.
[[nodiscard]] std::vector<Segment> segments(std::span<const std::string> from, std::span<const std::string> to);

// Joins every segment to its direct predecessor when both have the same kind; a deletion followed by an
// insertion stays two segments.
[[nodiscard]] std::vector<Segment> coalesced(std::vector<Segment> segments);

} // namespace CorrectionDiff

} // namespace vesk
