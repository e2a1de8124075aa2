// A settings file's bytes through the settings decoder: never a crash, and whatever decodes writes out and
// decodes again to the same settings.

#include "core/AppSettingsSnapshot.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const vesk::Json json = vesk::Json::parse(text, nullptr, /*allow_exceptions=*/false);
    const auto decoded = vesk::appSettingsFromJson(json);
    if (!decoded) {
        return 0;
    }
    const vesk::Json written = vesk::Json::parse(vesk::dumpReplacingInvalidUtf8(vesk::toJson(*decoded)));
    const auto again = vesk::appSettingsFromJson(written);
    if (!again || !(*again == *decoded)) {
        std::abort();
    }
    return 0;
}
