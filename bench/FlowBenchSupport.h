#pragma once

// What the desktop flow benchmarks share besides the end-to-end tests' desktop drivers: a scripted provider
// that notes when each request arrives, and the percentile line they print per measure.

#include "e2e/DesktopDriver.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vesk::bench {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// The scripted provider answering every request with the corrected text, streamed in four parts.
class TimedProvider
{
public:
    TimedProvider()
    {
        m_server.respondWith([this](const test::RecordedRequest&) {
            {
                std::lock_guard lock(m_mutex);
                m_arrivals.push_back(Clock::now());
            }
            return test::ScriptedResponse::events(test::streams::openAI(test::streams::split(e2e::fixedText, 4)));
        });
    }

    [[nodiscard]] std::string url() const { return m_server.url(""); }
    [[nodiscard]] std::size_t count() const
    {
        std::lock_guard lock(m_mutex);
        return m_arrivals.size();
    }
    // When the latest request arrived; only meaningful once count() says there is one.
    [[nodiscard]] Clock::time_point last() const
    {
        std::lock_guard lock(m_mutex);
        return m_arrivals.back();
    }

private:
    test::ScriptedProviderServer m_server;
    mutable std::mutex m_mutex;
    std::vector<Clock::time_point> m_arrivals;
};

// One line: the count, median, 95th percentile and maximum of `values` in milliseconds.
inline void printPercentiles(const char* what, std::vector<double> values)
{
    if (values.empty()) {
        return;
    }
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) {
        const auto index = static_cast<std::size_t>(std::ceil(q * static_cast<double>(values.size()))) - 1;
        return values[std::min(index, values.size() - 1)];
    };
    std::printf("%-52s n=%2zu  p50 %7.1f ms  p95 %7.1f ms  max %7.1f ms\n", what, values.size(), at(0.5), at(0.95),
                values.back());
}

// A process's resident memory from /proc/<pid>/status (readable even when the process can't be traced): the
// anonymous part (heaps, the QML engine's own pages) beside the pages of mapped files (mostly libraries' code).
struct Resident
{
    long total = 0;
    long anonymous = 0;
    long files = 0;
    long shared = 0;

    static std::optional<Resident> of(int pid)
    {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        Resident resident;
        bool found = false;
        const auto read = [](const std::string& line, const char* key, long& into) {
            if (!line.starts_with(key)) {
                return false;
            }
            into = std::atol(line.c_str() + std::char_traits<char>::length(key));
            return true;
        };
        for (std::string line; std::getline(status, line);) {
            found = read(line, "VmRSS:", resident.total) || found;
            read(line, "RssAnon:", resident.anonymous);
            read(line, "RssFile:", resident.files);
            read(line, "RssShmem:", resident.shared);
        }
        return found ? std::optional(resident) : std::nullopt;
    }
};

// One line: the resident memory in MB, then its parts.
inline void printResident(const std::string& what, const std::optional<Resident>& resident)
{
    if (!resident) {
        std::printf("%-52s unknown\n", what.c_str());
        return;
    }
    const auto mb = [](long kib) { return static_cast<double>(kib) / 1024.0; };
    std::printf("%-52s %5.1f MB (anonymous %.1f, files %.1f, shared %.1f)\n", what.c_str(), mb(resident->total),
                mb(resident->anonymous), mb(resident->files), mb(resident->shared));
}

} // namespace vesk::bench
