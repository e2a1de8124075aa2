#include "support/fake/FakeClipboard.h"

namespace vesk::app {

std::optional<QString> FakeClipboard::text()
{
    if (m_contents.kind == ClipboardContents::Kind::strings) {
        return m_contents.strings.join(u'\n');
    }
    for (const auto& [format, bytes] : std::as_const(m_contents.formats)) {
        if (format == QLatin1String("text/plain") || format.startsWith(QLatin1String("text/plain;"))) {
            return QString::fromUtf8(bytes);
        }
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
