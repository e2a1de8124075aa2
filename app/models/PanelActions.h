#pragma once

// What the review panel's three buttons do for the correction on screen, as its owner supplies them.

#include <functional>

namespace vesk::app {

struct PanelActions
{
    std::function<void()> accept;
    std::function<void()> close;
    std::function<void()> openSettings;
};

} // namespace vesk::app
