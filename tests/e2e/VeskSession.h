#pragma once

// One Vesk on a throwaway desktop: its own settings, data and runtime directories, the key in the
// session's keyring, the scripted server as its provider, and an editor as the program it corrects in.

#include "support/Process.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vesk::e2e {

using namespace std::chrono_literals;
using test::BackgroundProcess;
using test::readFile;
using test::waitUntil;

// Runs a program found on PATH; the tools are small and quick, so the time-out is short.
inline test::ProcessResult runTool(const std::string& name, const std::vector<std::string>& args,
                                   const std::string& input = {}, std::chrono::milliseconds timeout = 10s)
{
    return test::runProcess(name, args, {input, {}, {}, timeout});
}

class VeskSession
{
public:
    VeskSession();
    ~VeskSession();
    VeskSession(const VeskSession&) = delete;
    VeskSession& operator=(const VeskSession&) = delete;

    // Points Vesk at `endpoint`, marks the first-launch guide as done and saves an OpenAI key in the keyring;
    // an empty string, or what failed.
    std::string configure(const std::string& endpoint);

    // Runs `vesk <args>` as a command, with this session's directories.
    [[nodiscard]] test::ProcessResult run(const std::vector<std::string>& args, const std::string& input = {}) const;

    // Its directories and logging, as `vesk` runs with them.
    [[nodiscard]] std::map<std::string, std::string> environment() const;
    // Starts `vesk` in the background and waits until it has logged "Ready" and each of `alsoLogged`; false
    // when it did not.
    bool start(const std::vector<std::string>& alsoLogged = {});
    [[nodiscard]] int pid() const { return m_vesk ? m_vesk->pid() : -1; }
    [[nodiscard]] bool isRunning() const { return m_vesk && m_vesk->isRunning(); }
    void stop() { m_vesk.reset(); }

    // The document the editor has open.
    [[nodiscard]] std::filesystem::path document() const { return m_directory / "notes.txt"; }
    [[nodiscard]] std::string documentOnDisk() const { return readFile(document()); }

    [[nodiscard]] const std::filesystem::path& directory() const { return m_directory; }
    [[nodiscard]] std::string log() const { return readFile(m_directory / "vesk.log"); }

private:
    std::filesystem::path m_directory;
    std::unique_ptr<BackgroundProcess> m_vesk;
};

} // namespace vesk::e2e
