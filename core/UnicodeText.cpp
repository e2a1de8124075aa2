#include "core/UnicodeText.h"

#include <memory>
#include <string>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
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

bool isSpace(UChar32 c)
{
    return c >= 0 && u_isUWhiteSpace(c);
}

// Turkish and Azeri pair dotless ı with I and dotted i with İ, so their folding must not apply the default
// I -> i mapping.
bool isTurkic(const icu::Locale& locale)
{
    const std::string_view language = locale.getLanguage();
    return language == "tr" || language == "az";
}

// Building a locale parses its id. A validation folds both of its texts in the same locale, so each thread
// keeps the last one it built.
const icu::Locale& localeFor(std::string_view localeId)
{
    if (localeId.empty()) {
        return icu::Locale::getDefault();
    }
    thread_local std::string cachedId;
    thread_local icu::Locale cached;
    if (cachedId != localeId) {
        cachedId = localeId;
        cached = icu::Locale::createCanonical(cachedId.c_str());
    }
    return cached;
}

// The ICU normalizers are process-wide singletons; a null one means ICU's data is missing.
const icu::Normalizer2* normalizer(const icu::Normalizer2* (*getInstance)(UErrorCode&))
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* instance = getInstance(status);
    return U_SUCCESS(status) ? instance : nullptr;
}

// Drops the nonspacing marks (accents, dots, cedillas, Hebrew and Arabic vowel points, variation selectors)
// from decomposed text. Spacing marks (Mc) are vowel signs of Indic scripts and enclosing marks (Me) draw
// keycaps and circles; both change what the letters say, so they stay.
icu::UnicodeString withoutNonspacingMarks(const icu::UnicodeString& decomposed)
{
    icu::UnicodeString result;
    for (int32_t i = 0; i < decomposed.length();) {
        const UChar32 c = decomposed.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK) {
            result.append(c);
        }
        i += U16_LENGTH(c);
    }
    return result;
}

// Calls `visit` with the byte offset of every grapheme boundary after the start, in order, until it returns
// false. Invalid bytes are characters of their own.
template <typename Visit> void forEachGraphemeEnd(std::string_view text, Visit visit)
{
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_SUCCESS(status)) {
        breaks->setText(utext, status);
    }
    if (U_SUCCESS(status)) {
        for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; end = breaks->next()) {
            if (!visit(static_cast<std::size_t>(end))) {
                break;
            }
        }
    }
    utext_close(utext);
}

} // namespace

bool isWhiteSpace(char32_t codePoint)
{
    return isSpace(static_cast<UChar32>(codePoint));
}

bool isValidUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        if (nextCodePoint(text, i) < 0) {
            return false;
        }
    }
    return true;
}

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
        // ASCII is most of what people write; its only white space is tab to carriage return and space.
        const auto byte = static_cast<unsigned char>(text[i]);
        bool space = false;
        if (byte < 0x80) {
            space = byte == ' ' || (byte >= '\t' && byte <= '\r');
            ++i;
        } else {
            space = isSpace(nextCodePoint(text, i));
        }
        if (!space && !inWord) {
            ++words;
        }
        inWord = !space;
    }
    return words;
}

std::size_t countGraphemes(std::string_view text)
{
    std::size_t count = 0;
    forEachGraphemeEnd(text, [&](std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::string_view firstGraphemes(std::string_view text, std::size_t count)
{
    if (count == 0) {
        return text.substr(0, 0);
    }
    std::size_t seen = 0;
    std::size_t cut = text.size();
    forEachGraphemeEnd(text, [&](std::size_t end) {
        if (++seen < count) {
            return true;
        }
        cut = end;
        return false;
    });
    return text.substr(0, cut);
}

std::string foldedForComparison(std::string_view text, std::string_view localeId)
{
    // Invalid bytes become U+FFFD here, so broken input folds without tripping ICU.
    icu::UnicodeString folded =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));

    // Lower-casing first brings in what case folding alone does not know: the locale (Turkish I -> ı) and
    // context (final sigma). Folding then unifies what lower case keeps apart, such as ß and ss or ς and σ.
    const icu::Locale& locale = localeFor(localeId);
    folded.toLower(locale);
    folded.foldCase(isTurkic(locale) ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT);

    static const icu::Normalizer2* const nfd = normalizer(&icu::Normalizer2::getNFDInstance);
    static const icu::Normalizer2* const nfc = normalizer(&icu::Normalizer2::getNFCInstance);
    if (nfd != nullptr && nfc != nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString decomposed = nfd->normalize(folded, status);
        // Recomposing keeps characters that decomposition split without marks, such as Hangul syllables.
        icu::UnicodeString composed = nfc->normalize(withoutNonspacingMarks(decomposed), status);
        if (U_SUCCESS(status)) {
            folded = std::move(composed);
        }
    }

    std::string result;
    folded.toUTF8String(result);
    return result;
}

} // namespace vesk::unicode
