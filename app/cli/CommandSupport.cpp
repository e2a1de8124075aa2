#include "app/cli/CommandSupport.h"

#include "app/services/AppSettings.h"
#include "core/UnicodeText.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace vesk::app::cli {

namespace {

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

} // namespace

// Every argument may end up in JSON, which only carries UTF-8.
void requireUtf8(const std::vector<std::string>& args)
{
    if (!std::all_of(args.begin(), args.end(), [](const std::string& arg) { return unicode::isValidUtf8(arg); })) {
        throw UsageError{"arguments must be UTF-8 text"};
    }
}

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
            if (const auto problem = value->empty() ? std::nullopt : endpointProblem(*value)) {
                throw UsageError{"the endpoint \"" + *value + "\" is not a usable address: " + *problem};
            }
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

ProviderID parseProvider(const std::string& value)
{
    return parseCase<ProviderID>("provider", value);
}

std::string forTerminal(std::string_view text, bool terminal)
{
    if (!terminal) {
        return std::string(text);
    }
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool lineEnd = byte == '\n' || byte == '\t' || (byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n');
        if (byte == 0x7F) {
            shown += "\u2421"; // ␡
        } else if (byte < 0x20 && !lineEnd) {
            // The control pictures block: U+2400 + the control's code, ␛ for escape.
            shown += static_cast<char>(0xE2);
            shown += static_cast<char>(0x90);
            shown += static_cast<char>(0x80 + byte);
        } else if (byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
            shown += "\uFFFD"; // a C1 control, which some terminals obey like its escape sequence
            ++i;
        } else {
            shown += text[i];
        }
    }
    return shown;
}

const AppSettingsSnapshot& savedSettings(const CommandLineContext& context)
{
    for (const std::string& warning : context.settings.warnings()) {
        context.err << "vesk: " << warning << "\n";
    }
    return context.settings.snapshot();
}

void printJson(std::ostream& out, const Json& json, int indent)
{
    out << json.dump(indent, ' ', false, Json::error_handler_t::replace) << "\n";
}

} // namespace vesk::app::cli
