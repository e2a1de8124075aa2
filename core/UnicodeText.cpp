#include "core/UnicodeText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vesk::unicode {

namespace {

// Decodes the code point starting at `index`, advancing it; invalid bytes decode as a negative value.
UChar32 nextCodePoint(std::string_view text, std::size_t& index)
{
    UChar32 c = 0;
    auto i = static_cast<int32_t>(index);
    U8_NEXT(text.data(), i, static_cast<int32_t>(text.size()), c);
    index = static_cast<std::size_t>(i);
    return c;
}

UChar32 previousCodePoint(std::string_view text, std::size_t& end)
{
    UChar32 c = 0;
    auto i = static_cast<int32_t>(end);
    U8_PREV(text.data(), 0, i, c);
    end = static_cast<std::size_t>(i);
    return c;
}

bool isSpace(UChar32 c) { return c >= 0 && u_isUWhiteSpace(c); }

} // namespace

bool isWhiteSpace(char32_t codePoint) { return isSpace(static_cast<UChar32>(codePoint)); }

std::string_view trimmed(std::string_view text)
{
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t next = begin;
        if (!isSpace(nextCodePoint(text, next))) {
            break;
        }
        begin = next;
    }
    std::size_t end = text.size();
    while (end > begin) {
        std::size_t previous = end;
        if (!isSpace(previousCodePoint(text, previous))) {
            break;
        }
        end = previous;
    }
    return text.substr(begin, end - begin);
}

std::size_t countWords(std::string_view text)
{
    std::size_t words = 0;
    bool inWord = false;
    for (std::size_t i = 0; i < text.size();) {
        const bool space = isSpace(nextCodePoint(text, i));
        if (!space && !inWord) {
            ++words;
        }
        inWord = !space;
    }
    return words;
}

} // namespace vesk::unicode
