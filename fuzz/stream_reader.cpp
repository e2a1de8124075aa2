// A whole provider response through the provider client: the first byte picks the provider and the status,
// the rest is the body, cut into lines as the transport cuts it. Whatever arrives, the client ends in a
// result or a failure, and the failure and the reply can be shown and written out as JSON.

#include "core/CorrectionDiff.h"
#include "core/Json.h"
#include "core/LineSplitter.h"
#include "core/ProviderClient.h"
#include "core/ProviderFailure.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace {

class BytesTransport final : public vesk::ProviderTransport
{
public:
    BytesTransport(int status, std::string_view body) : m_status(status), m_body(body) {}

    std::optional<vesk::ProviderError> send(const vesk::HttpRequest&, vesk::ResponseHandler& handler,
                                            std::stop_token) override
    {
        handler.onHead(m_status);
        vesk::LineSplitter splitter([&](std::string_view line) { return handler.onLine(line); });
        if (splitter.feed(m_body)) {
            splitter.finish();
        }
        return std::nullopt;
    }

private:
    int m_status;
    std::string_view m_body;
};

constexpr int statuses[] = {200, 200, 200, 200, 400, 401, 429, 500};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const auto provider = (data[0] & 1) != 0 ? vesk::ProviderID::anthropic : vesk::ProviderID::openai;
    const int status = statuses[(data[0] >> 1) % std::size(statuses)];
    const std::string_view body(reinterpret_cast<const char*>(data + 1), size - 1);
    const vesk::ProviderClient client(provider, std::make_shared<BytesTransport>(status, body));

    const std::string original = "Their going home.";
    std::string reply;
    const auto error = client.stream("Fix it.", original, "model", "sk-fuzz",
                                     [&](vesk::CorrectionEvent event) { reply += event.text; });
    vesk::Json shown = vesk::Json::object();
    if (error) {
        const vesk::ProviderFailure failure = vesk::ProviderFailure::from(*error, provider);
        shown["title"] = failure.title;
        shown["message"] = failure.message;
        shown["detail"] = failure.detail ? vesk::Json(*failure.detail) : vesk::Json(nullptr);
    } else {
        const vesk::CorrectionDiffPlan plan = vesk::CorrectionDiff::plan(original, reply);
        shown["corrected"] = reply;
        shown["changeCount"] = plan.changeCount();
    }
    static_cast<void>(vesk::dumpReplacingInvalidUtf8(shown));
    return 0;
}
