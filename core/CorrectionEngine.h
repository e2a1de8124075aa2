#pragma once

// The seam between a correction session and the rest of the system: what a run uses, how it streams,
// and where an accepted correction goes.

#include "core/APIKeyStore.h"
#include "core/AcceptedCorrection.h"
#include "core/CorrectionEvent.h"
#include "core/CorrectionRun.h"
#include "core/ProviderError.h"
#include "core/ProviderTransport.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vesk {

// A correction stream under way. Its callbacks run on a worker thread.
class CorrectionStream
{
public:
    virtual ~CorrectionStream() = default; // cancels
    // Stops the stream at once: the request is abandoned and no callback runs afterwards.
    virtual void cancel() = 0;
};

struct CorrectionStreamCallbacks
{
    std::function<void(CorrectionEvent)> onEvent;
    // Called once when the stream ends on its own: nothing for a normal end, or the error. Never called
    // after cancel().
    std::function<void(std::optional<ProviderError>)> onFinish;
};

struct CorrectionEngine
{
    using Prepare = std::function<CorrectionRun()>;
    using Stream =
        std::function<std::unique_ptr<CorrectionStream>(const CorrectionRun&, std::string, CorrectionStreamCallbacks)>;
    using Record = std::function<void(const AcceptedCorrection&)>;

    Prepare prepare; // main thread; fixes what the run will use
    Stream stream;   // main thread; the work runs on a worker thread
    Record record;   // main thread; at most once per run

    // The engine that talks to the providers: reads the run's key from `keys` (a missing key ends the
    // stream with missingAPIKey before anything is sent), builds the prompt from the run's settings and
    // streams through the provider client over `transport`. Each stream runs on a thread of the engine's
    // own; the last copy of the engine stops the streams still running and joins their threads.
    static CorrectionEngine providers(std::shared_ptr<APIKeyStore> keys, std::shared_ptr<ProviderTransport> transport,
                                      Prepare prepare, Record record);
};

} // namespace vesk
