#pragma once

// Splits a byte stream that arrives in arbitrary chunks into lines, as the bytes arrive.

#include <functional>
#include <string>
#include <string_view>

namespace vesk {

// Lines end at LF, CR or CRLF; the terminator is not part of the line. A CRLF split across two chunks is
// one line break. Bytes pass through untouched, so text that is not valid UTF-8 reaches the sink as sent.
class LineSplitter
{
public:
    // Receives each line; returning false stops the splitter (nothing is emitted after that).
    using Sink = std::function<bool(std::string_view line)>;

    explicit LineSplitter(Sink sink);

    // Emits every line that `bytes` completes. Returns false once the sink has asked to stop.
    bool feed(std::string_view bytes);
    // End of input: emits the last line if it had no terminator. Returns false if the sink stopped.
    bool finish();

    [[nodiscard]] bool isStopped() const { return m_stopped; }

private:
    bool emit(std::string_view line);

    Sink m_sink;
    std::string m_partial;  // bytes of a line whose terminator has not arrived yet
    bool m_afterCR = false; // the last byte seen was CR, so a leading LF in the next chunk belongs to it
    bool m_stopped = false;
};

} // namespace vesk
