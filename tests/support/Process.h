#pragma once

// Runs programs the way a person's shell would, for end-to-end tests of the `vesk` binary.

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vesk::test {

using namespace std::chrono_literals;

struct ProcessResult
{
    int exitCode = -1; // -1 when the program was killed (time-out or signal)
    std::string out;
    std::string err;
};

struct ProcessOptions
{
    std::string input;                                 // written to standard input, then closed
    std::map<std::string, std::string> setEnvironment; // added to (or replacing in) this process's environment
    std::vector<std::string> unsetEnvironment;
    std::chrono::milliseconds timeout = std::chrono::seconds(30);
};

// `program` is looked up on PATH unless it holds a slash.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options = {});

// The file's bytes; empty when it can't be read.
std::string readFile(const std::filesystem::path& path);

// Polls `condition` every `interval` until it holds (true) or `timeout` has passed (false).
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval = 25ms);

// A program left running while the test goes on, its output appended to `logFile`; stopped (SIGTERM, then
// SIGKILL) when destroyed.
class BackgroundProcess
{
public:
    BackgroundProcess(const std::string& program, const std::vector<std::string>& args, const std::string& logFile,
                      const std::map<std::string, std::string>& setEnvironment = {});
    ~BackgroundProcess() { stop(); }
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

    [[nodiscard]] int pid() const { return m_pid; }
    // Whether it still runs; reaps it once it has ended.
    bool isRunning();
    // Ends it; its exit status, or -1 when a signal ended it.
    int stop();

private:
    int m_pid = -1;
    int m_status = -1;
};

} // namespace vesk::test
