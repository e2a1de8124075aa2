// `vesk correct`: one correction of standard input, printed, and kept in the history.
#include "app/cli/CommandSupport.h"

#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "core/CorrectionEngine.h"
#include "core/CorrectionSession.h"
#include "core/Pricing.h"
#include "core/UnicodeText.h"

#include <condition_variable>
#include <deque>
#include <iterator>
#include <mutex>
#include <ostream>

namespace vesk::app::cli {

namespace {

// The command line's main thread: work posted from the stream's worker runs here, in order.
class BlockingExecutor
{
public:
    MainThreadExecutor executor()
    {
        return [this](std::function<void()> work) {
            {
                const std::scoped_lock lock(m_mutex);
                m_queue.push_back(std::move(work));
            }
            m_ready.notify_one();
        };
    }

    template <typename Done> void runUntil(Done done)
    {
        while (!done()) {
            std::unique_lock lock(m_mutex);
            m_ready.wait(lock, [this] { return !m_queue.empty(); });
            auto work = std::move(m_queue.front());
            m_queue.pop_front();
            lock.unlock();
            work();
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<std::function<void()>> m_queue;
};

// A key from the environment wins over the keyring's for its provider.
class EnvironmentFirstKeyStore final : public APIKeyStore
{
public:
    EnvironmentFirstKeyStore(std::shared_ptr<APIKeyStore> keyring,
                             std::function<std::optional<std::string>(const char*)> environment)
        : m_keyring(std::move(keyring)), m_environment(std::move(environment))
    {
    }

    std::optional<std::string> key(ProviderID provider) override
    {
        if (auto fromEnvironment = environmentKey(provider)) {
            return fromEnvironment;
        }
        return m_keyring->key(provider);
    }
    bool hasKey(ProviderID provider) override { return environmentKey(provider) || m_keyring->hasKey(provider); }
    bool save(std::string_view key, ProviderID provider) override { return m_keyring->save(key, provider); }
    bool remove(ProviderID provider) override { return m_keyring->remove(provider); }

private:
    std::optional<std::string> environmentKey(ProviderID provider) const
    {
        auto value = m_environment(provider == ProviderID::openai ? "OPENAI_API_KEY" : "ANTHROPIC_API_KEY");
        if (value && !unicode::trimmed(*value).empty()) {
            return std::string(unicode::trimmed(*value));
        }
        return std::nullopt;
    }

    std::shared_ptr<APIKeyStore> m_keyring;
    std::function<std::optional<std::string>(const char*)> m_environment;
};

// What the history shows as the source of a correction made here.
constexpr std::string_view commandLineSource = "Command line";

// The correction is done and printed by then: a history that can't take it costs a note, never the result.
void keepInHistory(const AcceptedCorrection& accepted, const CommandLineContext& context)
{
    context.out.flush();
    // Adding a row needs none of the rows already there.
    const std::unique_ptr<HistoryStore> history = context.openHistory(HistoryStore::Use::append);
    if (!history->isPersistent() || !history->record(accepted)) {
        context.err << "vesk: the history couldn't be saved; this correction is not in it.\n"
                    << history->problem() << "\n";
    }
}

Json failureJson(const ProviderFailure& failure)
{
    Json json = Json::object();
    json["title"] = failure.title;
    json["message"] = failure.message;
    json["detail"] = failure.detail ? Json(*failure.detail) : Json(nullptr);
    return json;
}

} // namespace

int correctCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    const Overrides overrides = parseOptions(args, Command::correct);
    const AppSettingsSnapshot settings = applied(savedSettings(context), overrides);

    std::string text{std::istreambuf_iterator<char>(context.in), std::istreambuf_iterator<char>()};
    const auto fail = [&](const ProviderFailure& failure) {
        // The detail may quote the provider's own words.
        context.err << failure.title << "\n" << failure.message << "\n";
        if (failure.detail) {
            context.err << forTerminal(*failure.detail, context.errIsTerminal) << "\n";
        }
        if (overrides.json) {
            Json json = Json::object();
            json["failure"] = failureJson(failure);
            printJson(context.out, json);
        }
        return 1;
    };
    if (unicode::trimmed(text).empty()) {
        return fail({"Nothing to correct", "Pipe the text to correct into vesk correct.", std::nullopt});
    }
    if (!unicode::isValidUtf8(text)) {
        return fail({"Couldn't read the text", "The input is not valid UTF-8.", std::nullopt});
    }

    const CorrectionRun run{settings.selectedProvider, settings.currentModel(), settings.correction,
                            settings.endpoint(settings.selectedProvider)};
    auto keys = std::make_shared<EnvironmentFirstKeyStore>(context.keyring, context.environment);
    std::optional<AcceptedCorrection> recorded;
    const auto keep = [&recorded](const AcceptedCorrection& accepted) { recorded = accepted; };
    BlockingExecutor mainThread;
    CorrectionSession session(CorrectionSession::Reading{}, text, {}, std::string(commandLineSource),
                              CorrectionEngine::providers(
                                  keys, context.transport, [run] { return run; }, keep),
                              mainThread.executor());
    session.start();
    mainThread.runUntil([&] { return !session.isRunning(); });

    if (const auto* failed = std::get_if<CorrectionSession::Failed>(&session.state())) {
        return fail(failed->failure);
    }
    const auto* result = std::get_if<CorrectionSession::Result>(&session.state());
    const std::optional<std::string> accepted = session.accept();
    if (result == nullptr || !accepted) {
        return fail({"Couldn't correct", "The correction did not finish.", std::nullopt});
    }
    if (overrides.json) {
        Json json = Json::object();
        json["corrected"] = *accepted;
        json["changeCount"] = result->diff.changeCount();
        json["changes"] = Json::array();
        for (const auto& change : result->diff.changes) {
            json["changes"].push_back({{"original", change.original}, {"replacement", change.replacement}});
        }
        json["provider"] = rawValue(run.provider);
        json["model"] = run.model;
        const auto& usage = session.usage();
        json["usage"] = usage
                            ? Json{{"promptTokens", usage->promptTokens}, {"completionTokens", usage->completionTokens}}
                            : Json(nullptr);
        json["estimatedCost"] = Pricing::estimatedCost(run.model, usage);
        printJson(context.out, json);
    } else {
        context.out << forTerminal(*accepted, context.outIsTerminal);
    }
    if (recorded && !overrides.noHistory) {
        keepInHistory(*recorded, context);
    }
    return 0;
}


} // namespace vesk::app::cli
