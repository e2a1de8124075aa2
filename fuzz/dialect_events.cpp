// One stream payload through both dialects' event parsing: never a crash, and an undecodable payload
// carries nothing else.

#include "core/ProviderDialect.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void check(const vesk::ProviderEvent& event)
{
    if (event.undecodable && (event.delta || event.promptTokens || event.completionTokens || event.stopReason ||
                              event.error || event.endOfMessage)) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto openAI = vesk::makeOpenAIDialect();
    static const auto anthropic = vesk::makeAnthropicDialect();
    const std::string_view payload(reinterpret_cast<const char*>(data), size);
    check(openAI->parseEvent(payload));
    check(anthropic->parseEvent(payload));
    return 0;
}
