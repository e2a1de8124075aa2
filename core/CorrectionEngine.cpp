#include "core/CorrectionEngine.h"

#include "core/PromptBuilder.h"
#include "core/ProviderClient.h"
#include "core/WorkerThreads.h"

namespace vesk {

namespace {

// A stream on a thread of the engine's workers. The work owns everything it touches, so cancelling only
// asks it to stop and never waits (a keyring lookup may take a moment); after the request it makes no
// further callbacks, and the engine's last copy joins the thread.
class WorkerStream final : public CorrectionStream
{
public:
    explicit WorkerStream(std::stop_source stop) : m_stop(std::move(stop)) {}
    ~WorkerStream() override { cancel(); }
    void cancel() override { m_stop.request_stop(); }

private:
    std::stop_source m_stop;
};

} // namespace

CorrectionEngine CorrectionEngine::providers(std::shared_ptr<APIKeyStore> keys,
                                             std::shared_ptr<ProviderTransport> transport, Prepare prepare,
                                             Record record)
{
    Stream stream = [keys = std::move(keys), transport = std::move(transport),
                     workers = std::make_shared<WorkerThreads>()](
                        const CorrectionRun& run, std::string text,
                        CorrectionStreamCallbacks callbacks) -> std::unique_ptr<CorrectionStream> {
        return std::make_unique<WorkerStream>(workers->start(
            [keys, transport, run, text = std::move(text), callbacks = std::move(callbacks)](std::stop_token stop) {
                const std::optional<std::string> key = keys->key(run.provider);
                if (stop.stop_requested()) {
                    return;
                }
                if (!key) {
                    callbacks.onFinish(ProviderError::missingAPIKey(run.provider));
                    return;
                }
                const ProviderClient client(run.provider, transport, run.baseUrl);
                auto error = client.stream(
                    PromptBuilder::systemPrompt(run.options), text, run.model, *key,
                    [&](CorrectionEvent event) {
                        if (!stop.stop_requested()) {
                            callbacks.onEvent(std::move(event));
                        }
                    },
                    stop);
                if (!stop.stop_requested()) {
                    callbacks.onFinish(std::move(error));
                }
            }));
    };
    return {std::move(prepare), std::move(stream), std::move(record)};
}

} // namespace vesk
