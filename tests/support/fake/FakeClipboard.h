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
    void setTransientText(const QString& text) override;
    std::optional<QString> text() override;
    [[nodiscard]] quint64 changeCount() const override { return m_changeCount; }

    // What another application would do: put contents on the clipboard, moving the change count.
    void replace(const ClipboardContents& contents);
    void setText(const QString& text);
    [[nodiscard]] const ClipboardContents& contents() const { return m_contents; }
    // Whether the contents were last put there as transient text (marked for clipboard managers).
    [[nodiscard]] bool isTransient() const { return m_isTransient; }

private:
    ClipboardContents m_contents;
    quint64 m_changeCount = 0;
    bool m_isTransient = false;
};

} // namespace vesk::app
