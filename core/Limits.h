#pragma once

// The bounds of one correction: how much text is sent, how much reply and error body is read, and how long
// a run may take. Chosen so that anything a person selects to proofread fits, while a runaway server or
// selection is refused quickly with a clear message instead of hanging or eating memory.

#include <chrono>
#include <cstddef>

namespace vesk::limits {

// User-perceived characters of a selection; about 40 pages of prose. Longer ones are refused before
// anything is sent.
constexpr std::size_t selectionCharacters = 100'000;
// Bytes of a reply: room for a correction of the longest selection in any script.
constexpr std::size_t replyBytes = 1'000'000;
// Bytes of an error body that are read; the rest is not.
constexpr std::size_t errorBodyBytes = 64 * 1024;
// User-perceived characters of an error body's message that are shown.
constexpr std::size_t errorMessageCharacters = 1'000;
// The longest a whole request may take, however steadily the server trickles bytes.
constexpr std::chrono::minutes deadline{5};

} // namespace vesk::limits
