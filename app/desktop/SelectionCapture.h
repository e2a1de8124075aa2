#pragma once

// Reads the selection of the focused application through the clipboard and later pastes text back in its
// place, leaving the user's clipboard as it was both times. All waits run on timers; nothing blocks the
// event loop.

#include "app/platform/Platform.h"

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vesk::app {

// What was noted when a capture started.
struct SelectionCapture
{
    struct State
    {
        ClipboardContents saved; // the user's clipboard before the copy stroke
        quint64 changeCount = 0; // the clipboard's change count just before the copy stroke
        // When the copy stroke went out; empty while it waits for the user's modifiers to be released.
        std::optional<std::chrono::steady_clock::time_point> copyPosted;
        bool superseded = false; // a newer capture took over; it restores the clipboard
        bool finished = false;
    };

    std::optional<WindowRef> source; // the focused window at the shortcut
    std::shared_ptr<State> state = std::make_shared<State>();
};

class SelectionAccess : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds copyWait{350};
    static constexpr std::chrono::milliseconds pollInterval{10};
    static constexpr std::chrono::milliseconds holdBeforeRestore{120};

    // Something the copy stroke must wait for, started once the capture has noted the source: it calls
    // `ready` when it is over.
    using StrokeGate = std::function<void(std::function<void()> ready)>;

    explicit SelectionAccess(Platform& platform, QObject* parent = nullptr);

    // Notes the focused window, saves the clipboard and its change count, then, once no modifier is held
    // and `gate` (when given) is over, posts the copy stroke. Returns the capture at once. A capture still
    // under way is superseded: the new one keeps the clipboard the old one saved (the user's), since the
    // old copy may already have replaced it, and only the new one restores it.
    SelectionCapture start(const StrokeGate& gate = {});
    // Calls `done` with the copied text once the clipboard changes, or with nothing when it has not
    // changed within the copy wait or holds no text. The user's clipboard is restored before `done` runs,
    // in every case.
    void awaitCopiedText(const SelectionCapture& capture, std::function<void(std::optional<QString>)> done);
    // Gives focus back to `target`, puts `text` on the clipboard, posts the paste stroke (once the platform's
    // focus settle has passed) and restores the clipboard as it was. `done` runs after the restore.
    void paste(const QString& text, const std::optional<WindowRef>& target, std::function<void()> done = {});

private:
    using CopyDone = std::function<void(std::optional<QString>)>;

    [[nodiscard]] bool isCopyOver(const SelectionCapture::State& state) const;
    void finishCopy(SelectionCapture::State& state, const CopyDone& done);

    void postCopy(const std::shared_ptr<SelectionCapture::State>& state, const std::optional<WindowRef>& source);

    Platform& m_platform;
    std::shared_ptr<SelectionCapture::State> m_inFlight;
    std::optional<WindowRef> m_lastSource;
};

} // namespace vesk::app
