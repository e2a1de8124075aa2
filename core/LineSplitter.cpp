#include "core/LineSplitter.h"

#include <utility>

namespace vesk {

LineSplitter::LineSplitter(Sink sink) : m_sink(std::move(sink)) {}

bool LineSplitter::emit(std::string_view line)
{
    if (!m_sink(line)) {
        m_stopped = true;
    }
    return !m_stopped;
}

bool LineSplitter::feed(std::string_view bytes)
{
    if (m_stopped) {
        return false;
    }
    if (m_afterCR && !bytes.empty()) {
        m_afterCR = false;
        if (bytes.front() == '\n') {
            bytes.remove_prefix(1);
        }
    }
    while (!bytes.empty()) {
        const auto end = bytes.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            m_partial.append(bytes);
            return true;
        }
        // Lines that arrive whole are handed on straight from the chunk; only a line split across chunks is
        // copied.
        bool delivered = false;
        if (m_partial.empty()) {
            delivered = emit(bytes.substr(0, end));
        } else {
            m_partial.append(bytes.substr(0, end));
            delivered = emit(m_partial);
            m_partial.clear();
        }
        if (!delivered) {
            return false;
        }
        const bool isCR = bytes[end] == '\r';
        bytes.remove_prefix(end + 1);
        if (isCR) {
            if (bytes.empty()) {
                m_afterCR = true;
            } else if (bytes.front() == '\n') {
                bytes.remove_prefix(1);
            }
        }
    }
    return true;
}

bool LineSplitter::finish()
{
    if (m_stopped) {
        return false;
    }
    m_afterCR = false;
    if (m_partial.empty()) {
        return true;
    }
    std::string last = std::move(m_partial);
    m_partial.clear();
    return emit(last);
}

} // namespace vesk
