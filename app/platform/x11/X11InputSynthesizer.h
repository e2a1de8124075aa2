#pragma once

// Synthetic keystrokes on X11 through the XTest extension, which every toolkit accepts as real input.

#include "app/platform/InputSynthesizer.h"
#include "app/platform/KeyCombination.h"

#include <QObject>
#include <chrono>

struct _XDisplay;

namespace vesk::app {

class X11InputSynthesizer : public InputSynthesizer
{
public:
    static constexpr std::chrono::milliseconds pollInterval{10};
    // Long enough for a person to let go of Alt+G, short enough not to feel like a hang.
    static constexpr std::chrono::milliseconds modifierWait{600};

    explicit X11InputSynthesizer(_XDisplay* display = nullptr);
    ~X11InputSynthesizer() override;

    bool canPostInput() const override { return m_hasXTest; }
    void whenModifiersReleased(std::function<void()> ready) override;
    bool post(Keystroke stroke, const std::optional<WindowRef>& target) override;
    // Presses and releases `keys` as one stroke. False when a key is on no keycode and none is free to lend.
    bool postKeys(const KeyCombination& keys);

private:
    _XDisplay* m_display;
    bool m_hasXTest = false;
    QObject m_timers; // parent of the polling timers, so none outlives this object
};

} // namespace vesk::app
