#include "support/fake/FakeClipboard.h"

namespace vesk::app {

std::optional<QString> FakeClipboard::text()
{
    if (m_contents.kind == ClipboardContents::Kind::strings) {
        return m_contents.strings.join(u'\n');
    }
    return std::nullopt;
}

void FakeClipboard::replace(const ClipboardContents& contents)
{
    m_contents = contents;
    ++m_changeCount;
    emit changed();
}

void FakeClipboard::setText(const QString& text)
{
    ClipboardContents contents;
    contents.kind = ClipboardContents::Kind::strings;
    contents.strings = {text};
    replace(contents);
}

} // namespace vesk::app
