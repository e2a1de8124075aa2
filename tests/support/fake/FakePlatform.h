#pragma once

// Fakes of the platform's interfaces for the shell's tests: what Vesk posts, registers and activates is
// recorded, and the test plays the other applications' part.

#include "app/platform/Platform.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

namespace vesk::app {

// An in-memory clipboard; `setText` is what another application would do, moving the change count.
class FakeClipboard : public Clipboard
{
public:
    ClipboardContents snapshot() override { return m_contents; }
    void restore(const ClipboardContents& contents) override
    {
        m_contents = contents;
        ++m_changeCount;
        emit changed();
    }
    void setTransientText(const QString& text) override { setText(text); }
    std::optional<QString> text() override
    {
        using enum ClipboardContents::Kind;
        return m_contents.kind == strings ? std::optional(m_contents.strings.join(u'\n')) : std::nullopt;
    }
    [[nodiscard]] quint64 changeCount() const override { return m_changeCount; }
    void setText(const QString& text) { restore({ClipboardContents::Kind::strings, {text}, {}}); }

private:
    ClipboardContents m_contents;
    quint64 m_changeCount = 0;
};

class FakeGlobalShortcut : public GlobalShortcut
{
public:
    bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) override;
    void setPaused(bool paused) override { m_paused = paused; }
    // Another program holds `combination`: registering it fails.
    void setTaken(const KeyCombination& combination) { m_taken.append(combination); }
    [[nodiscard]] std::optional<KeyCombination> registered(const QString& name) const
    {
        return m_registered.contains(name) ? std::optional(m_registered.value(name)) : std::nullopt;
    }
    [[nodiscard]] bool isPaused() const { return m_paused; }

private:
    QHash<QString, KeyCombination> m_registered;
    QList<KeyCombination> m_taken;
    bool m_paused = false;
};

class FakeInputSynthesizer : public InputSynthesizer
{
public:
    struct PostedStroke
    {
        Keystroke stroke;
        std::optional<WindowRef> target;
    };

    bool canPostInput() const override { return m_canPostInput; }
    void whenModifiersReleased(std::function<void()> ready) override { QTimer::singleShot(0, &m_timers, ready); }
    bool post(Keystroke stroke, const std::optional<WindowRef>& target) override;

    void setCanPostInput(bool canPost) { m_canPostInput = canPost; }
    // The target application copies `selection` to `clipboard` shortly after each copy stroke; with no
    // selection it ignores the stroke, as an application with nothing selected does.
    void copiesSelection(FakeClipboard& clipboard, std::optional<QString> selection)
    {
        m_clipboard = &clipboard;
        m_selection = std::move(selection);
    }
    [[nodiscard]] const QList<PostedStroke>& posted() const { return m_posted; }

private:
    bool m_canPostInput = true;
    FakeClipboard* m_clipboard = nullptr;
    std::optional<QString> m_selection;
    QList<PostedStroke> m_posted;
    QObject m_timers;
};

// The active window is whatever the test says; activations are recorded and done on the next turn.
class FakeWindowSystem : public WindowSystem
{
public:
    std::optional<WindowRef> activeWindow() override { return m_active; }
    void activate(const WindowRef& window, std::function<void(bool)> done) override;
    void setActiveWindow(const std::optional<WindowRef>& window) { m_active = window; }
    [[nodiscard]] const QList<WindowRef>& activations() const { return m_activations; }

private:
    std::optional<WindowRef> m_active;
    QList<WindowRef> m_activations;
    QObject m_timers;
};

// A desktop like the offscreen platform's: no compositor, and animations on unless VESK_REDUCE_MOTION says
// otherwise.
class FakeDesktopAppearance : public DesktopAppearance
{
public:
    bool composites() override { return false; }

protected:
    bool desktopDisablesAnimations() override { return false; }
};

// The platform to hand to the app, and typed references to its parts (owned by `platform`).
struct FakePlatform
{
    std::unique_ptr<Platform> platform;
    FakeInputSynthesizer& input;
    FakeWindowSystem& windows;
    FakeClipboard& clipboard;
};

FakePlatform createFakePlatform();

} // namespace vesk::app
