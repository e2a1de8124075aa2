#pragma once

// The clipboard through the compositor's data-control protocol, Vesk's own client for it: Qt's clipboard
// only works for the focused window, and Vesk works while another app has the focus. Reads are bounded
// in time and size (an owner may never answer); what Vesk puts on the clipboard is served from memory.

#include "app/platform/Clipboard.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTimer>
#include <chrono>
#include <memory>

struct zwlr_data_control_v1;
struct zwlr_data_control_offer_v1;
struct zwlr_data_control_source_v1;

namespace vesk::app {

class WaylandConnection;

class WaylandClipboard : public Clipboard
{
    Q_OBJECT

public:
    // How long the corrected text stays on the clipboard at most when the target has not read it yet.
    static constexpr std::chrono::milliseconds transientHoldLimit{1500};

    explicit WaylandClipboard(std::shared_ptr<WaylandConnection> connection, QObject* parent = nullptr);
    ~WaylandClipboard() override;

    [[nodiscard]] bool isAvailable() const { return m_device != nullptr; }

    ClipboardContents snapshot() override;
    // While the corrected text waits for the paste to read it, the restore waits too (bounded).
    void restore(const ClipboardContents& contents) override;
    void setTransientText(const QString& text) override;
    std::optional<QString> text() override;
    [[nodiscard]] quint64 changeCount() const override { return m_changeCount; }

    // The paste stroke went out: the text on the clipboard now is for the target to read.
    void notePastePosted();

private:
    struct Source;

    void offerContents(const ClipboardContents& contents, bool transient);
    void applyPendingRestore();
    std::optional<QByteArray> read(const QString& format, std::chrono::milliseconds limit, qsizetype maxBytes);

public:
    // Event handlers of the listener tables.
    static void dataOffer(void* data, zwlr_data_control_v1* device, zwlr_data_control_offer_v1* offer);
    static void selection(void* data, zwlr_data_control_v1* device, zwlr_data_control_offer_v1* offer);
    static void finished(void* data, zwlr_data_control_v1* device);
    static void offerFormat(void* data, zwlr_data_control_offer_v1* offer, const char* format);
    static void send(void* data, zwlr_data_control_source_v1* source, const char* format, int32_t fd);
    static void cancelled(void* data, zwlr_data_control_source_v1* source);

private:
    std::shared_ptr<WaylandConnection> m_connection;
    zwlr_data_control_v1* m_device = nullptr;
    QHash<zwlr_data_control_offer_v1*, QStringList> m_offers; // announced offers and their formats
    zwlr_data_control_offer_v1* m_current = nullptr;          // the selection, when another app owns it
    std::unique_ptr<Source> m_own;                            // the selection, while it is ours
    quint64 m_changeCount = 0;
    bool m_clearedByUs = false; // the empty selection about to come back is our own restore
    std::optional<ClipboardContents> m_pendingRestore;
    QTimer m_holdTimer;
};

} // namespace vesk::app
