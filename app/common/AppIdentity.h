#pragma once

// Names under which Vesk is known to the desktop and its services.

namespace vesk::app {

inline constexpr const char* applicationId = "dev.vesk.Vesk"; // reverse-DNS identifier
inline constexpr const char* organizationName = "Vesk";
inline constexpr const char* applicationName = "vesk";

} // namespace vesk::app
