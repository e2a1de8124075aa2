#include "core/ProviderClient.h"

#include "core/CorrectionValidator.h"
#include "core/Json.h"
#include "core/JsonFields.h"
#include "core/Limits.h"
#include "core/UnicodeText.h"

#include <chrono>
#include <exception>
#include <utility>

namespace vesk {

namespace {

constexpr std::string_view dataPrefix = "data:";
constexpr std::string_view doneSentinel = "[DONE]";
constexpr std::string_view redacted = "[redacted]";

using Clock = std::chrono::steady_clock;
// About two frames: held-back text never waits longer than this once more bytes arrive.
constexpr auto deliveryInterval = std::chrono::milliseconds(33);

// More user-perceived characters than the cap, found without counting past it.
bool exceedsSelectionCap(std::string_view text)
{
    return text.size() > limits::selectionCharacters &&
           unicode::firstGraphemes(text, limits::selectionCharacters).size() < text.size();
}

std::string_view trimmedBlanks(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string masked(std::string text, std::string_view apiKey)
{
    if (apiKey.empty()) {
        return text;
    }
    for (auto at = text.find(apiKey); at != std::string::npos; at = text.find(apiKey, at + redacted.size())) {
        text.replace(at, apiKey.size(), redacted);
    }
    return text;
}

// Frames the body into server-sent events and collects the reply. It runs inside the transport, so nothing
// may be thrown out of it: a failure is kept and stops the reading.
class StreamReader final : public ResponseHandler
{
public:
    StreamReader(const ProviderDialect& dialect, const std::function<void(CorrectionEvent)>& onEvent,
                 std::string_view apiKey, std::stop_token stop)
        : m_dialect(dialect), m_onEvent(onEvent), m_apiKey(apiKey), m_stop(std::move(stop))
    {
    }

    void onHead(int status) override { m_status = status; }

    bool onLine(std::string_view line) override
    {
        if (m_stop.stop_requested() || m_failure) {
            return false;
        }
        if (!isSuccess()) {
            // Enough of the body for any provider's message; the rest is not read.
            m_errorBody.append(line.substr(0, limits::errorBodyBytes - m_errorBody.size())).append("\n");
            return m_errorBody.size() < limits::errorBodyBytes;
        }
        try {
            return readLine(line);
        } catch (...) {
            m_failure = std::current_exception();
            return false;
        }
    }

    [[nodiscard]] bool hasHead() const { return m_status.has_value(); }
    [[nodiscard]] bool isSuccess() const { return m_status && *m_status >= 200 && *m_status <= 299; }
    [[nodiscard]] int status() const { return m_status.value_or(0); }
    [[nodiscard]] const std::string& errorBody() const { return m_errorBody; }
    [[nodiscard]] const std::string& text() const { return m_text; }
    [[nodiscard]] std::exception_ptr failure() const { return m_failure; }

    // Hands on the text held back for the next delta event.
    void flush()
    {
        if (!m_pending.empty()) {
            m_delivered += m_pending.size();
            m_lastDelivery = Clock::now();
            m_onEvent(CorrectionEvent::makeDelta(std::exchange(m_pending, {})));
        }
    }

    // A count never reported is 0.
    [[nodiscard]] TokenUsage usage() const { return {m_promptTokens.value_or(0), m_completionTokens.value_or(0)}; }

    // Nothing when the provider said the reply was finished: "[DONE]", Anthropic's message_stop, or a stop
    // reason of a finished reply. A stream that merely ends is cut off, whatever text it had.
    [[nodiscard]] std::optional<ProviderError> incompleteness() const
    {
        if (m_stopReason == StopReason::tooLong) {
            return ProviderError::replyTooLong();
        }
        if (m_stopReason == StopReason::finished || (m_ended && !m_stopReason)) {
            return std::nullopt;
        }
        return ProviderError::cutOff();
    }

    // What the body was when it was not a stream of events, or nothing.
    [[nodiscard]] std::optional<ProviderError> notAStream() const
    {
        if (!m_notAStream) {
            return std::nullopt;
        }
        const std::string_view body = unicode::trimmed(m_errorBody);
        if (body.starts_with('<')) {
            return ProviderError::invalidResponse("a web page instead of a stream of events");
        }
        const bool isJson = Json::accept(body);
        return ProviderError::invalidResponse((isJson ? "plain JSON" : "plain text") +
                                              std::string(" instead of a stream of events: ") +
                                              ProviderClient::errorMessage(body, m_apiKey));
    }

private:
    // A line no event stream has: markup, JSON, or text that starts like a sentence rather than a field.
    static bool isForeign(std::string_view line)
    {
        if (line.empty() || line.front() == ':' || line.front() == ' ' || line.front() == '\t') {
            return false;
        }
        const std::string_view field = line.substr(0, line.find(':'));
        return field != "data" && field != "event" && field != "id" && field != "retry";
    }

    // Event names, comments, keep-alives and blank lines carry nothing the reply needs. A body that turns
    // out not to be an event stream (a gateway's page, a server that ignored "stream") is kept, as much
    // as an error body, to say what it was.
    bool readLine(std::string_view line)
    {
        if (m_notAStream || (m_text.empty() && isForeign(line))) {
            m_notAStream = true;
            m_errorBody.append(line.substr(0, limits::errorBodyBytes - m_errorBody.size())).append("\n");
            return m_errorBody.size() < limits::errorBodyBytes;
        }
        if (!line.starts_with(dataPrefix)) {
            return true;
        }
        const std::string_view payload = trimmedBlanks(line.substr(dataPrefix.size()));
        if (payload == doneSentinel) {
            m_ended = true;
            return false;
        }
        ProviderEvent event = m_dialect.parseEvent(payload);
        // Dropping a payload would drop words from the middle of the reply.
        if (event.undecodable) {
            return fail(ProviderError::invalidResponse("a part of the reply could not be read"));
        }
        if (event.error) {
            return fail(ProviderError::streamError(masked(std::move(*event.error), m_apiKey)));
        }
        if (event.promptTokens) {
            m_promptTokens = event.promptTokens;
        }
        if (event.completionTokens) {
            m_completionTokens = event.completionTokens;
        }
        if (event.stopReason) {
            m_stopReason = event.stopReason;
        }
        m_ended = m_ended || event.endOfMessage;
        if (event.delta && !event.delta->empty()) {
            if (m_text.size() + event.delta->size() > limits::replyBytes) {
                return fail(ProviderError::replyTooLarge());
            }
            m_text += *event.delta;
            deliver(*event.delta);
        }
        return true;
    }

    // Consumers typically keep the whole reply so far in view, which costs them a copy of it per event. So
    // a piece is held back while it is small next to what was delivered and the last event is recent: the
    // number of events then grows with the logarithm of the reply's size (plus one per interval), and the
    // consumers' work stays linear in it, however many tiny deltas a server sends.
    void deliver(std::string_view piece)
    {
        m_pending += piece;
        if (m_pending.size() * 8 >= m_delivered || Clock::now() - m_lastDelivery >= deliveryInterval) {
            flush();
        }
    }

    bool fail(ProviderError error)
    {
        m_failure = std::make_exception_ptr(std::move(error));
        return false;
    }

    const ProviderDialect& m_dialect;
    const std::function<void(CorrectionEvent)>& m_onEvent;
    std::string_view m_apiKey;
    std::stop_token m_stop;
    std::optional<int> m_status;
    std::string m_errorBody;
    std::string m_text;
    std::string m_pending;       // text not yet delivered
    std::size_t m_delivered = 0; // bytes delivered
    Clock::time_point m_lastDelivery;
    std::optional<std::int64_t> m_promptTokens;
    std::optional<std::int64_t> m_completionTokens;
    std::optional<StopReason> m_stopReason; // the last one reported
    bool m_ended = false;                   // "[DONE]" or the end of the message arrived
    bool m_notAStream = false;              // the body is something else, kept in m_errorBody
    std::exception_ptr m_failure;
};

// An exception from the dialect, the consumer's callback or the transport ends the stream as an error
// rather than unwinding into the caller's event loop.
ProviderError fromException(std::exception_ptr failure, std::string_view apiKey)
{
    try {
        std::rethrow_exception(std::move(failure));
    } catch (const ProviderError& error) {
        return error;
    } catch (const std::exception& error) {
        return ProviderError::transport(masked(error.what(), apiKey));
    } catch (...) {
        return ProviderError::transport("Unexpected failure while reading the reply.");
    }
}

} // namespace

ProviderClient::ProviderClient(ProviderID provider, std::shared_ptr<const ProviderDialect> dialect,
                               std::shared_ptr<ProviderTransport> transport)
    : m_provider(provider), m_dialect(std::move(dialect)), m_transport(std::move(transport))
{
}

ProviderClient::ProviderClient(ProviderID provider, std::shared_ptr<ProviderTransport> transport, std::string baseUrl)
    : ProviderClient(provider, makeDialect(provider, std::move(baseUrl)), std::move(transport))
{
}

std::optional<ProviderError> ProviderClient::stream(std::string_view systemPrompt, std::string_view text,
                                                    std::string_view model, std::string_view apiKey,
                                                    const std::function<void(CorrectionEvent)>& onEvent,
                                                    std::stop_token stop) const
{
    try {
        if (stop.stop_requested()) {
            return std::nullopt;
        }
        if (exceedsSelectionCap(text)) {
            return ProviderError::selectionTooLong();
        }
        auto request = m_dialect->makeRequest(systemPrompt, text, model, apiKey);
        if (!request) {
            return ProviderError::transport(request.error());
        }

        StreamReader reader(*m_dialect, onEvent, apiKey, stop);
        const std::optional<ProviderError> sendError = m_transport->send(*request, reader, stop);
        // The consumer has gone: whatever the transfer ended with is of no interest to anyone.
        if (stop.stop_requested()) {
            return std::nullopt;
        }
        if (reader.failure()) {
            return fromException(reader.failure(), apiKey);
        }
        reader.flush();
        if (auto other = reader.notAStream()) {
            return other;
        }
        if (sendError) {
            return sendError;
        }
        if (!reader.hasHead()) {
            return ProviderError::invalidResponse();
        }
        if (!reader.isSuccess()) {
            return ProviderError::http(reader.status(), errorMessage(reader.errorBody(), apiKey));
        }
        if (auto incomplete = reader.incompleteness()) {
            return incomplete;
        }

        // Only the verdict matters here; the caller cleans the text it has collected from the deltas.
        auto verdict = CorrectionValidator::validate(text, reader.text());
        if (!verdict) {
            return verdict.error();
        }
        onEvent(CorrectionEvent::makeDone(reader.usage()));
        return std::nullopt;
    } catch (...) {
        return fromException(std::current_exception(), apiKey);
    }
}

std::string ProviderClient::errorMessage(std::string_view body, std::string_view apiKey)
{
    const Json envelope = Json::parse(body, nullptr, /*allow_exceptions=*/false);
    const std::optional<std::string> message = JsonFields::errorMessage(envelope);
    std::string text = masked(message ? *message : std::string(unicode::trimmed(body)), apiKey);
    // Masked before it is cut, so no part of a key survives at the cut.
    const std::string_view shown = unicode::firstGraphemes(text, limits::errorMessageCharacters);
    if (shown.size() < text.size()) {
        text.resize(shown.size());
        text += "\u2026";
    }
    return text;
}

std::shared_ptr<const ProviderDialect> makeDialect(ProviderID provider, std::string baseUrl)
{
    switch (provider) {
    case ProviderID::anthropic:
        return baseUrl.empty() ? makeAnthropicDialect() : makeAnthropicDialect(baseUrl);
    case ProviderID::openai:
        break;
    }
    return baseUrl.empty() ? makeOpenAIDialect() : makeOpenAIDialect(baseUrl);
}

} // namespace vesk
