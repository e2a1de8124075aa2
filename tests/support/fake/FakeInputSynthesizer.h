#pragma once

// Records the keystrokes Vesk would post; a test's hook plays the target application's part.

#include "app/platform/InputSynthesizer.h"

#include <QList>
#include <QObject>

namespace vesk::app {

class FakeClipboard;

class FakeInputSynthesizer : public InputSynthesizer
{
public:
    struct PostedStroke
    {
        Keystroke stroke;
        std::optional<WindowRef> target;
    };

    bool canPostInput() const override { return m_canPostInput; }
    void whenModifiersReleased(std::function<void()> ready) override;
    bool post(Keystroke stroke, const std::optional<WindowRef>& target) override;

    void setCanPostInput(bool canPost) { m_canPostInput = canPost; }
    // A target application that copies `selection` to `clipboard` shortly after each copy stroke; with no
    // selection it ignores the stroke, as an application with nothing selected does.
    void copiesSelection(FakeClipboard& clipboard, std::optional<QString> selection);
    [[nodiscard]] const QList<PostedStroke>& posted() const { return m_posted; }

private:
    bool m_canPostInput = true;
    std::function<void(const PostedStroke&)> m_reaction; // plays the target application's part
    QList<PostedStroke> m_posted;
    QObject m_timers;
};

} // namespace vesk::app
