#include "app/services/CorrectionEnvironment.h"

#include "app/services/AppSettings.h"

#include <QMetaObject>
#include <QObject>
#include <mutex>

namespace vesk::app {

// Where posted work lands: an object of the main thread that goes with the environment. Posting and the
// environment's end take the lock, so nothing is posted to an object being destroyed.
struct CorrectionEnvironment::Gate
{
    std::mutex mutex;
    std::unique_ptr<QObject> receiver = std::make_unique<QObject>();
};

CorrectionEnvironment::CorrectionEnvironment(AppSettings& settings, std::shared_ptr<APIKeyStore> keys,
                                             std::shared_ptr<ProviderTransport> transport,
                                             CorrectionEngine::Record record)
    : CorrectionEnvironment(settings, CorrectionEngine::providers(
                                          std::move(keys), std::move(transport),
                                          [&settings] {
                                              const AppSettingsSnapshot& s = settings.snapshot();
                                              return CorrectionRun{s.selectedProvider, s.currentModel(), s.correction,
                                                                   s.endpoint(s.selectedProvider)};
                                          },
                                          std::move(record)))
{
}

CorrectionEnvironment::CorrectionEnvironment(AppSettings& settings, CorrectionEngine engine)
    : m_settings(settings), m_engine(std::move(engine)), m_gate(std::make_shared<Gate>())
{
}

CorrectionEnvironment::~CorrectionEnvironment()
{
    const std::lock_guard lock(m_gate->mutex);
    m_gate->receiver.reset(); // with it go the posts it has not run yet
}

std::unique_ptr<CorrectionSession> CorrectionEnvironment::makeSession(CorrectionSession::State state,
                                                                      std::string original,
                                                                      std::optional<std::string> sourceApp) const
{
    return std::make_unique<CorrectionSession>(std::move(state), std::move(original), std::string(),
                                               std::move(sourceApp), m_engine, mainThread());
}

MainThreadExecutor CorrectionEnvironment::mainThread() const
{
    return [gate = m_gate](std::function<void()> work) {
        const std::lock_guard lock(gate->mutex);
        if (gate->receiver) {
            QMetaObject::invokeMethod(gate->receiver.get(), std::move(work), Qt::QueuedConnection);
        }
    };
}

} // namespace vesk::app
