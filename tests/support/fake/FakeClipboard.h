#pragma once

// An in-memory clipboard for tests.

#include "app/platform/Clipboard.h"

namespace vesk::app {

class FakeClipboard : public Clipboard
{
    Q_OBJECT

public:
    using Clipboard::Clipboard;

    ClipboardContents snapshot() override { return m_contents; }
    void restore(const ClipboardContents& contents) override { replace(contents); }
    void setTransientText(const QString& text) override { setText(text); }
    std::optional<QString> text() override;
    [[nodiscard]] quint64 changeCount() const override { return m_changeCount; }

    // What another application would do: put text on the clipboard, moving the change count.
    void setText(const QString& text);

private:
    void replace(const ClipboardContents& contents);

    ClipboardContents m_contents;
    quint64 m_changeCount = 0;
};

} // namespace vesk::app
