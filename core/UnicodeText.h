#pragma once

// Unicode helpers over UTF-8 text, backed by ICU. Invalid UTF-8 bytes are never white space and are
// kept as they are.

#include <cstddef>
#include <string>
#include <string_view>

namespace vesk::unicode {

// True for the code points of Unicode's White_Space property (spaces, tabs and every line break).
bool isWhiteSpace(char32_t codePoint);

// Whether every byte belongs to a well-formed UTF-8 sequence.
bool isValidUtf8(std::string_view text);

// The text without white space and line breaks at either end.
std::string_view trimmed(std::string_view text);

// The number of pieces left after splitting at every white-space character and dropping empty pieces.
std::size_t countWords(std::string_view text);

// The number of user-perceived characters (extended grapheme clusters): "e" with a combining accent, a flag or
// a family emoji each count once.
std::size_t countGraphemes(std::string_view text);

// The text up to the end of its first `count` user-perceived characters; the whole text when it has no more.
std::string_view firstGraphemes(std::string_view text, std::size_t count);

// The text folded for comparison: lower case in the given locale's rules, then case-folded, with
// combining marks removed after canonical decomposition. An empty locale id means the user's locale.
// Apostrophes are not unified: ' and U+2019 stay different. Invalid UTF-8 folds to U+FFFD.
std::string foldedForComparison(std::string_view text, std::string_view localeId = {});

} // namespace vesk::unicode
