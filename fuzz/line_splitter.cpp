// The line splitter fed the input in chunks whose sizes come from the input itself: the lines must be the
// same as when the whole input arrives at once, and none may hold a line break.

#include "core/LineSplitter.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<std::string> linesOf(std::string_view bytes, std::string_view chunkSizes)
{
    std::vector<std::string> lines;
    vesk::LineSplitter splitter([&](std::string_view line) {
        if (line.find_first_of("\r\n") != std::string_view::npos) {
            std::abort();
        }
        lines.emplace_back(line);
        return true;
    });
    std::size_t next = 0;
    while (!bytes.empty()) {
        const std::size_t size = chunkSizes.empty()
                                     ? bytes.size()
                                     : 1 + static_cast<unsigned char>(chunkSizes[next++ % chunkSizes.size()]) % 16;
        splitter.feed(bytes.substr(0, size));
        bytes.remove_prefix(std::min(size, bytes.size()));
    }
    splitter.finish();
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = size == 0 ? 0 : std::min<std::size_t>(data[0] % 8, size - 1) + 1;
    const std::string_view chunkSizes = input.substr(0, split);
    const std::string_view bytes = input.substr(split);
    if (linesOf(bytes, chunkSizes) != linesOf(bytes, {})) {
        std::abort();
    }
    return 0;
}
