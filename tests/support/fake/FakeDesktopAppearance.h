#pragma once

// A desktop whose compositing and animation setting are whatever the test says (VESK_REDUCE_MOTION still
// decides when set). Like the offscreen platform, it does not composite unless told.

#include "app/platform/DesktopAppearance.h"

namespace vesk::app {

class FakeDesktopAppearance : public DesktopAppearance
{
public:
    bool composites() override { return m_composites; }
    void setComposites(bool composites) { m_composites = composites; }
    void setDisablesAnimations(bool disables) { m_disablesAnimations = disables; }

protected:
    bool desktopDisablesAnimations() override { return m_disablesAnimations; }

private:
    bool m_composites = false;
    bool m_disablesAnimations = false;
};

} // namespace vesk::app
