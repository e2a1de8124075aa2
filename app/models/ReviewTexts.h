#pragma once

// The words the review panel and the composer show for a correction session, kept apart from QML so the
// rules can be tested on their own.

#include "core/CorrectionSession.h"

#include <QString>
#include <optional>

namespace vesk::app {

enum class ReviewPhase { reading, writing, result, noChanges, error };

namespace ReviewTexts {

// What the panel shows for a session state. A re-run that streams over a result keeps the result phase,
// because the session keeps the result state until the new run ends.
[[nodiscard]] ReviewPhase phaseOf(const CorrectionSession::State& state);
// The phase's name as QML sees it: "reading", "writing", "result", "noChanges" or "error".
[[nodiscard]] QString phaseName(ReviewPhase phase);

[[nodiscard]] QString title(ReviewPhase phase);
// Counts user-perceived characters, so "é" written as e plus an accent counts once.
[[nodiscard]] int userCharacters(const QString& text);
[[nodiscard]] QString changeCount(int count);
[[nodiscard]] QString characterCount(int count);

// Change count (result only), strength and tone when known, and the source app when known, joined by
// " · ".
[[nodiscard]] QString subtitle(ReviewPhase phase, int changeCount, const std::optional<CorrectionSettings>& settings,
                               const std::optional<QString>& sourceApp);

// "Keep original" without changes; otherwise "Replace in <app>" for a short app name (a trailing
// "(...)" removed), else "Replace".
[[nodiscard]] QString primaryTitle(bool hasChanges, const std::optional<QString>& sourceApp);

// The line under the body while a run is under way; empty in the other phases.
[[nodiscard]] QString statusLine(ReviewPhase phase, const std::optional<QString>& sourceApp);

// Failures the user fixes in Settings: a missing key or a key the provider rejected.
[[nodiscard]] bool offersOpenSettings(const ProviderFailure& failure);

} // namespace ReviewTexts
} // namespace vesk::app
