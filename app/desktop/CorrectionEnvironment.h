#pragma once

// What every correction of the app shares: settings, keys, transport and the history hook, built once
// at start-up. Sessions made here apply their stream events on the Qt main thread.

#include "core/CorrectionEngine.h"
#include "core/CorrectionSession.h"

#include <memory>
#include <optional>
#include <string>

namespace vesk::app {

class AppSettings;

class CorrectionEnvironment
{
public:
    CorrectionEnvironment(AppSettings& settings, std::shared_ptr<APIKeyStore> keys,
                          std::shared_ptr<ProviderTransport> transport, CorrectionEngine::Record record = {});

    // A session whose runs take the provider, model, endpoint and correction settings in force when each
    // run starts.
    std::unique_ptr<CorrectionSession> makeSession(CorrectionSession::State state, std::string original,
                                                   std::optional<std::string> sourceApp) const;

    [[nodiscard]] AppSettings& settings() const { return m_settings; }
    [[nodiscard]] const CorrectionEngine& engine() const { return m_engine; }

    // Posts work to the thread of the Qt application object.
    static MainThreadExecutor qtMainThread();

private:
    AppSettings& m_settings;
    CorrectionEngine m_engine;
};

} // namespace vesk::app
