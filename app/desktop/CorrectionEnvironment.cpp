#include "app/desktop/CorrectionEnvironment.h"

#include "app/services/AppSettings.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace vesk::app {

CorrectionEnvironment::CorrectionEnvironment(AppSettings& settings, std::shared_ptr<APIKeyStore> keys,
                                             std::shared_ptr<ProviderTransport> transport,
                                             CorrectionEngine::Record record)
    : m_settings(settings),
      m_engine(CorrectionEngine::providers(
          std::move(keys), std::move(transport),
          [&settings] {
              const AppSettingsSnapshot& s = settings.snapshot();
              return CorrectionRun{s.selectedProvider, s.currentModel(), s.correction, s.endpoint(s.selectedProvider)};
          },
          std::move(record)))
{
}

std::unique_ptr<CorrectionSession> CorrectionEnvironment::makeSession(CorrectionSession::State state,
                                                                      std::string original,
                                                                      std::optional<std::string> sourceApp) const
{
    return std::make_unique<CorrectionSession>(std::move(state), std::move(original), std::string(),
                                               std::move(sourceApp), m_engine, qtMainThread());
}

MainThreadExecutor CorrectionEnvironment::qtMainThread()
{
    return [](std::function<void()> work) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
    };
}

} // namespace vesk::app
