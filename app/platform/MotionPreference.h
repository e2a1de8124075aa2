#pragma once

// Whether the user asked the desktop for less motion, so the panel's typing dots and progress line stay
// still.

namespace vesk::app {

// VESK_REDUCE_MOTION=1 or =0 decides when set (tests and users of desktops without such a setting);
// otherwise GNOME's "enable-animations" setting, read once. Off when neither says anything.
[[nodiscard]] bool prefersReducedMotion();

} // namespace vesk::app
