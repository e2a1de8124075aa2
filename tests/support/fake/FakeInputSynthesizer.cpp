#include "support/fake/FakeInputSynthesizer.h"

#include "support/fake/FakeClipboard.h"

#include <QPointer>
#include <QTimer>

namespace vesk::app {

void FakeInputSynthesizer::whenModifiersReleased(std::function<void()> ready)
{
    QTimer::singleShot(0, &m_timers, std::move(ready));
}

bool FakeInputSynthesizer::post(Keystroke stroke, const std::optional<WindowRef>& target)
{
    if (!m_canPostInput) {
        return false;
    }
    m_posted.append({stroke, target});
    if (m_reaction) {
        m_reaction(m_posted.constLast());
    }
    return true;
}

void FakeInputSynthesizer::copiesSelection(FakeClipboard& clipboard, std::optional<QString> selection)
{
    m_reaction = [this, target = QPointer<FakeClipboard>(&clipboard), selection](const PostedStroke& posted) {
        if (posted.stroke != Keystroke::copy || !selection) {
            return;
        }
        QTimer::singleShot(5, &m_timers, [target, selection] {
            if (target) {
                target->setText(*selection);
            }
        });
    };
}

} // namespace vesk::app
