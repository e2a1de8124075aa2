#include "app/cli/CommandLine.h"

#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "app/common/Utf8.h"
#include "core/CorrectionEngine.h"
#include "core/CorrectionSession.h"
#include "core/HistoryFormat.h"
#include "core/Pricing.h"
#include "core/UnicodeText.h"

#include <QDateTime>
#include <condition_variable>
#include <deque>
#include <iostream>
#include <iterator>
#include <map>
#include <mutex>

namespace vesk::app {

namespace {

constexpr const char* usageText = R"(usage:
  vesk                      start the desktop app (or show the running one)
  vesk fix                  correct the selection in the focused app, like the shortcut
  vesk correct [options] [--json] [--no-history]
                            correct UTF-8 text from standard input and print the result;
                            it is kept in the history unless --no-history is given
  vesk history [--search TEXT] [--json]
                            print the history, newest first: local time, source, fixes,
                            model and the start of the correction, tab-separated
  vesk settings [options] [--review on|off] [--setup-done on|off]
                            print the saved settings, or change them (--setup-done on
                            skips the first-launch guide, for prepared installs)
  vesk key set PROVIDER     save the key read from standard input (openai or anthropic)
  vesk key remove PROVIDER  remove the saved key
  vesk key status           say which providers have a key
  vesk --version

options (for this run with `correct`, saved with `settings`):
  --provider openai|anthropic   --model M          --endpoint URL
  --strength S   --tone T   --language L           (raw values, e.g. grammarSpelling, preserve, auto)
  --meaning-lock on|off   --preserve-formatting on|off   --instructions TEXT
The environment's OPENAI_API_KEY or ANTHROPIC_API_KEY is used instead of the saved key.
)";

struct UsageError
{
    std::string message;
};

int usage(std::ostream& err, const std::string& message)
{
    err << "vesk: " << message << "\n" << usageText;
    return 2;
}

// Options shared by `correct` and `settings`, applied to a copy of the saved settings.
struct Overrides
{
    std::optional<ProviderID> provider;
    std::optional<std::string> model;
    std::optional<std::string> endpoint;
    std::optional<bool> review;
    std::optional<bool> setupDone;
    bool json = false;
    bool noHistory = false;
    std::map<std::string, std::string> correction; // option name -> raw value, validated on apply
};

bool parseSwitch(const std::string& value)
{
    if (value == "on") {
        return true;
    }
    if (value == "off") {
        return false;
    }
    throw UsageError{"expected on or off, not \"" + value + "\""};
}

template <typename E> E parseCase(const std::string& option, const std::string& value)
{
    if (const auto parsed = fromRawValue<E>(value)) {
        return *parsed;
    }
    std::string known;
    for (const E e : allCases<E>()) {
        known += (known.empty() ? "" : ", ") + std::string(rawValue(e));
    }
    throw UsageError{"unknown " + option + " \"" + value + "\" (one of " + known + ")"};
}

// Every argument may end up in JSON, which only carries UTF-8.
void requireUtf8(const std::vector<std::string>& args)
{
    if (!std::all_of(args.begin(), args.end(), [](const std::string& arg) { return unicode::isValidUtf8(arg); })) {
        throw UsageError{"arguments must be UTF-8 text"};
    }
}

enum class Command { correct, settings };

Overrides parseOptions(const std::vector<std::string>& args, Command command)
{
    requireUtf8(args);
    const bool forCorrect = command == Command::correct;
    Overrides o;
    for (std::size_t i = 1; i < args.size(); ++i) {
        std::string name = args[i];
        std::optional<std::string> value;
        if (const auto eq = name.find('='); name.starts_with("--") && eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        if (name == "--json" && forCorrect && !value) {
            o.json = true;
            continue;
        }
        if (name == "--no-history" && forCorrect && !value) {
            o.noHistory = true;
            continue;
        }
        static const char* const valued[] = {"--provider",     "--model",    "--endpoint",     "--strength",
                                             "--tone",         "--language", "--meaning-lock", "--preserve-formatting",
                                             "--instructions", "--review",   "--setup-done"};
        const bool known = std::find(std::begin(valued), std::end(valued), name) != std::end(valued) &&
                           ((name != "--review" && name != "--setup-done") || !forCorrect);
        if (!known) {
            throw UsageError{"unknown option \"" + name + "\""};
        }
        if (!value) {
            if (i + 1 >= args.size()) {
                throw UsageError{name + " needs a value"};
            }
            value = args[++i];
        }
        if (name == "--provider") {
            o.provider = parseCase<ProviderID>("provider", *value);
        } else if (name == "--model") {
            o.model = *value;
        } else if (name == "--endpoint") {
            o.endpoint = *value;
        } else if (name == "--review") {
            o.review = parseSwitch(*value);
        } else if (name == "--setup-done") {
            o.setupDone = parseSwitch(*value);
        } else {
            o.correction[name] = *value;
        }
    }
    return o;
}

// The snapshot with the options applied; model and endpoint belong to the provider in effect.
AppSettingsSnapshot applied(AppSettingsSnapshot s, const Overrides& o)
{
    if (o.provider) {
        s.selectedProvider = *o.provider;
    }
    if (o.model) {
        s.models[s.selectedProvider] = *o.model;
    }
    if (o.endpoint) {
        if (o.endpoint->empty()) {
            s.endpoints.erase(s.selectedProvider);
        } else {
            s.endpoints[s.selectedProvider] = *o.endpoint;
        }
    }
    if (o.setupDone) {
        s.hasOnboarded = *o.setupDone;
    }
    if (o.review) {
        s.reviewBeforeReplacing = *o.review;
    }
    for (const auto& [name, value] : o.correction) {
        CorrectionSettings& c = s.correction;
        if (name == "--strength") {
            c.strength = parseCase<CorrectionStrength>("strength", value);
        } else if (name == "--tone") {
            c.tone = parseCase<Tone>("tone", value);
        } else if (name == "--language") {
            c.language = parseCase<LanguageMode>("language", value);
        } else if (name == "--meaning-lock") {
            c.meaningLock = parseSwitch(value);
        } else if (name == "--preserve-formatting") {
            c.preserveFormatting = parseSwitch(value);
        } else if (name == "--instructions") {
            c.customInstructions = value;
        }
    }
    return s;
}

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
        context.err << "vesk: the history couldn't be saved; this correction is not in it.\n";
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

int correct(const std::vector<std::string>& args, const CommandLineContext& context)
{
    const Overrides overrides = parseOptions(args, Command::correct);
    const AppSettingsSnapshot settings = applied(context.settings.snapshot(), overrides);

    std::string text{std::istreambuf_iterator<char>(context.in), std::istreambuf_iterator<char>()};
    const auto fail = [&](const ProviderFailure& failure) {
        context.err << failure.title << "\n" << failure.message << "\n";
        if (failure.detail) {
            context.err << *failure.detail << "\n";
        }
        if (overrides.json) {
            Json json = Json::object();
            json["failure"] = failureJson(failure);
            context.out << json.dump() << "\n";
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
        context.out << json.dump() << "\n";
    } else {
        context.out << *accepted;
    }
    if (recorded && !overrides.noHistory) {
        keepInHistory(*recorded, context);
    }
    return 0;
}

std::int64_t millisecondsSinceEpoch(std::chrono::system_clock::time_point date)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
}

Json recordJson(const CorrectionRecord& record)
{
    const auto optional = [](const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); };
    Json json = Json::object();
    json["date"] = QDateTime::fromMSecsSinceEpoch(millisecondsSinceEpoch(record.date), Qt::UTC)
                       .toString(Qt::ISODateWithMs)
                       .toStdString();
    json["providerRaw"] = record.providerRaw;
    json["model"] = record.model;
    json["original"] = record.original;
    json["corrected"] = record.corrected;
    json["promptTokens"] = record.promptTokens;
    json["completionTokens"] = record.completionTokens;
    json["estimatedCost"] = record.estimatedCost;
    json["changeCount"] = record.changeCount;
    json["sourceApp"] = optional(record.sourceApp);
    json["strengthRaw"] = optional(record.strengthRaw);
    json["toneRaw"] = optional(record.toneRaw);
    return json;
}

// The correction's title as the app shows it, on one line (runs of white space, line breaks too, become one
// space) and cut after whole characters with an ellipsis.
std::string preview(const CorrectionRecord& record)
{
    constexpr std::size_t maxCharacters = 60;
    const std::string line = fromUtf8(historyformat::title(record)).simplified().toStdString();
    const std::string_view kept = unicode::firstGraphemes(line, maxCharacters);
    return kept.size() < line.size() ? std::string(kept) + "\u2026" : line;
}

// One record a line, fields split by tabs so that grep, cut and awk take it apart.
std::string recordLine(const CorrectionRecord& record)
{
    const QString date = QDateTime::fromMSecsSinceEpoch(millisecondsSinceEpoch(record.date))
                             .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    return date.toStdString() + '\t' + record.sourceLabel() + '\t' + record.fixesLabel() + '\t' + record.model + '\t' +
           preview(record);
}

int historyCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    requireUtf8(args);
    bool json = false;
    std::string query;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--json") {
            json = true;
        } else if (arg == "--search") {
            if (i + 1 >= args.size()) {
                throw UsageError{"--search needs a value"};
            }
            query = args[++i];
        } else if (arg.starts_with("--search=")) {
            query = arg.substr(arg.find('=') + 1);
        } else {
            throw UsageError{"unknown option \"" + arg + "\""};
        }
    }
    const std::unique_ptr<HistoryStore> history = context.openHistory(HistoryStore::Use::read);
    if (!history->isPersistent()) {
        context.err << "Couldn't open the history\nThe history file in Vesk's data folder can't be read or created.\n";
        return 1;
    }
    const std::vector<CorrectionRecord>& records = history->records();
    const std::vector<std::size_t> found = history->search(fromUtf8(query));
    if (json) {
        Json list = Json::array();
        for (const std::size_t index : found) {
            list.push_back(recordJson(records[index]));
        }
        // A damaged file may hold bytes that are not UTF-8; they are shown replaced rather than lost.
        context.out << list.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
        return 0;
    }
    if (records.empty()) {
        context.err << "No corrections yet.\n";
    }
    for (const std::size_t index : found) {
        context.out << recordLine(records[index]) << "\n";
    }
    return 0;
}

int settingsCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    const Overrides overrides = parseOptions(args, Command::settings);
    if (args.size() > 1) {
        context.settings.setSnapshot(applied(context.settings.snapshot(), overrides));
    }
    context.out << toJson(context.settings.snapshot()).dump(2) << "\n";
    return 0;
}

int keyCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    if (args.size() == 2 && args[1] == "status") {
        for (const ProviderID provider : allCases<ProviderID>()) {
            context.out << rawValue(provider) << ": " << (context.keyring->hasKey(provider) ? "key saved" : "no key")
                        << "\n";
        }
        return 0;
    }
    if (args.size() != 3 || (args[1] != "set" && args[1] != "remove")) {
        throw UsageError{"key takes set PROVIDER, remove PROVIDER or status"};
    }
    const ProviderID provider = parseCase<ProviderID>("provider", args[2]);
    if (args[1] == "remove") {
        if (!context.keyring->remove(provider)) {
            context.err << "Couldn't remove the key\n";
            return 1;
        }
        return 0;
    }
    std::string key;
    std::getline(context.in, key);
    if (unicode::trimmed(key).empty()) {
        context.err << "No key on standard input; nothing was saved.\n";
        return 1;
    }
    if (!context.keyring->save(key, provider)) {
        context.err << "Couldn't save the key\n";
        return 1;
    }
    context.out << displayName(provider) << " key saved.\n";
    return 0;
}

} // namespace

int runCommandLine(const std::vector<std::string>& args, const CommandLineContext& context)
{
    try {
        if (args.empty()) {
            return usage(context.err, "no command");
        }
        const std::string& command = args[0];
        if (command == "--version" || command == "version") {
            context.out << "vesk " << VESK_VERSION << "\n";
            return 0;
        }
        if (command == "--help" || command == "-h" || command == "help") {
            context.out << usageText;
            return 0;
        }
        if (command == "correct") {
            return correct(args, context);
        }
        if (command == "history") {
            return historyCommand(args, context);
        }
        if (command == "settings") {
            return settingsCommand(args, context);
        }
        if (command == "key") {
            return keyCommand(args, context);
        }
        return usage(context.err, "unknown command \"" + command + "\"");
    } catch (const UsageError& error) {
        return usage(context.err, error.message);
    }
}

} // namespace vesk::app
