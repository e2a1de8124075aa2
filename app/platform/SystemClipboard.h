#pragma once

// The desktop's clipboard through QClipboard: on X11 the CLIPBOARD selection, elsewhere whatever Qt's
// platform plugin offers.

#include "app/platform/Clipboard.h"

namespace vesk::app {

class SystemClipboard : public Clipboard
{
    Q_OBJECT

public:
    explicit SystemClipboard(QObject* parent = nullptr);

    ClipboardContents snapshot() override;
    void restore(const ClipboardContents& contents) override;
    void setTransientText(const QString& text) override;
    std::optional<QString> text() override;
    [[nodiscard]] quint64 changeCount() const override { return m_changeCount; }

    // The formats of a clipboard offer worth saving, in order: no X11 bookkeeping targets, no Qt-internal
    // ones, and one image format where an image is offered in several.
    static QStringList usefulFormats(const QStringList& offered);

private:
    quint64 m_changeCount = 0;
};

} // namespace vesk::app
