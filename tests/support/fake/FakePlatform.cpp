#include "support/fake/FakePlatform.h"

namespace vesk::app {

bool FakeGlobalShortcut::setShortcut(const QString& name, const std::optional<KeyCombination>& combination,
                                     QString* error)
{
    m_registered.remove(name);
    if (combination && m_taken.contains(*combination)) {
        if (error != nullptr) {
            *error = QStringLiteral("%1 is already taken by another program.").arg(combination->displayText());
        }
        return false;
    }
    if (combination) {
        m_registered.insert(name, *combination);
    }
    return true;
}

bool FakeInputSynthesizer::post(Keystroke stroke, const std::optional<WindowRef>& target)
{
    if (!m_canPostInput) {
        return false;
    }
    m_posted.append({stroke, target});
    if (stroke == Keystroke::copy && m_clipboard != nullptr && m_selection) {
        QTimer::singleShot(5, &m_timers, [clipboard = m_clipboard, text = *m_selection] { clipboard->setText(text); });
    }
    return true;
}

void FakeWindowSystem::activate(const WindowRef& window, std::function<void(bool)> done)
{
    m_activations.append(window);
    QTimer::singleShot(0, &m_timers, [this, window, done = std::move(done)] {
        m_active = window;
        done(true);
    });
}

FakePlatform createFakePlatform()
{
    auto platform = std::make_unique<Platform>();
    auto input = std::make_unique<FakeInputSynthesizer>();
    auto windows = std::make_unique<FakeWindowSystem>();
    auto clipboard = std::make_unique<FakeClipboard>();
    FakePlatform fake{nullptr, *input, *windows, *clipboard};
    platform->shortcut = std::make_unique<FakeGlobalShortcut>();
    platform->input = std::move(input);
    platform->windows = std::move(windows);
    platform->clipboard = std::move(clipboard);
    platform->appearance = std::make_unique<FakeDesktopAppearance>();
    fake.platform = std::move(platform);
    return fake;
}

} // namespace vesk::app
