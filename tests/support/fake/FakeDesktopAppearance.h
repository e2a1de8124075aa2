#pragma once

// A desktop like the offscreen platform's: no compositor, and animations on unless VESK_REDUCE_MOTION says
// otherwise.

#include "app/platform/DesktopAppearance.h"

namespace vesk::app {

class FakeDesktopAppearance : public DesktopAppearance
{
public:
    bool composites() override { return false; }

protected:
    bool desktopDisablesAnimations() override { return false; }
};

} // namespace vesk::app
