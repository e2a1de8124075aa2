#pragma once

// How the desktop draws and animates windows, as far as Vesk's windows adapt to it.

namespace vesk::app {

class DesktopAppearance
{
public:
    virtual ~DesktopAppearance() = default;

    // Whether the user asked for less motion, so the panel's typing dots and progress line stay still.
    // VESK_REDUCE_MOTION=1 or =0 decides when set (tests, and desktops without such a setting); otherwise the
    // desktop's animation setting, read once.
    [[nodiscard]] bool prefersReducedMotion();
    // Whether a compositor draws windows with transparency. Without one, see-through window areas come out
    // black.
    [[nodiscard]] virtual bool composites() = 0;

protected:
    // The desktop's own setting: GNOME's "enable-animations" when gsettings has it, otherwise animations stay on.
    // Asked at most once; may block briefly.
    virtual bool desktopDisablesAnimations();

private:
    enum class Known { no, animate, still };
    Known m_desktop = Known::no;
};

} // namespace vesk::app
