#include "core/CorrectionEngine.h"

#include "core/PromptBuilder.h"
#include "core/ProviderClient.h"

#include <stop_token>
#include <thread>

namespace vesk {

namespace {

// The worker thread is detached: it owns everything it touches, so cancelling never waits for it (a
// keyring lookup may take a moment). After a stop request it makes no further callbacks.
class WorkerStream final : public CorrectionStream
{
public:
    template <typename Work> explicit WorkerStream(Work work)
    {
        std::thread([work = std::move(work), stop = m_stop.get_token()]() mutable { work(stop); }).detach();
    }
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
    Stream stream = [keys = std::move(keys), transport = std::move(transport)](
                        const CorrectionRun& run, std::string text,
                        CorrectionStreamCallbacks callbacks) -> std::unique_ptr<CorrectionStream> {
        return std::make_unique<WorkerStream>([keys, transport, run, text = std::move(text),
                                               callbacks = std::move(callbacks)](const std::stop_token& stop) {
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
        });
    };
    return {std::move(prepare), std::move(stream), std::move(record)};
}

} // namespace vesk
