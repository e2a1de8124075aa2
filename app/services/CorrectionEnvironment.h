#pragma once

// What every correction of the app shares: settings, keys, transport and the history hook, built once
// at start-up on the main thread. Sessions made here apply their stream events on the Qt main thread; once
// the environment is gone, whatever a late stream posts is dropped.

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
    // Runs on `engine` instead of the providers (tests).
    CorrectionEnvironment(AppSettings& settings, CorrectionEngine engine);
    ~CorrectionEnvironment();
    CorrectionEnvironment(const CorrectionEnvironment&) = delete;
    CorrectionEnvironment& operator=(const CorrectionEnvironment&) = delete;

    // A session whose runs take the provider, model, endpoint and correction settings in force when each
    // run starts.
    std::unique_ptr<CorrectionSession> makeSession(CorrectionSession::State state, std::string original,
                                                   std::optional<std::string> sourceApp) const;

    [[nodiscard]] AppSettings& settings() const { return m_settings; }
    [[nodiscard]] const CorrectionEngine& engine() const { return m_engine; }

    // Posts work to the main thread's event loop while this environment exists; drops it afterwards. Any
    // thread may call it.
    [[nodiscard]] MainThreadExecutor mainThread() const;

private:
    struct Gate;

    AppSettings& m_settings;
    CorrectionEngine m_engine;
    std::shared_ptr<Gate> m_gate;
};

} // namespace vesk::app
