#pragma once

// One Vesk on a throwaway desktop: its own settings, data and runtime directories, the key in the
// session's keyring, the scripted server as its provider, and an editor as the program it corrects in.

#include "e2e/Desktop.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vesk::e2e {

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

    // Starts `vesk` in the background and waits until it has logged "Ready" and each of `alsoLogged` (and on
    // X11 has a window); false when it did not.
    bool start(const std::vector<std::string>& alsoLogged = {});
    [[nodiscard]] int pid() const { return m_vesk ? m_vesk->pid() : -1; }
    [[nodiscard]] bool isRunning() const { return m_vesk && m_vesk->isRunning(); }
    void stop() { m_vesk.reset(); }

    // Opens `text` in `program` and waits until `focused` holds (by default: mousepad is X11's active
    // window); false when it never did.
    bool openEditor(const std::string& text, const std::string& program = "mousepad",
                    const std::function<bool()>& focused = {});
    [[nodiscard]] bool isEditorActive() const;
    // Mousepad marks a modified document with a leading '*' in its title.
    [[nodiscard]] static bool isEditorModified();
    // Saves with `save` (by default Ctrl+S whenever the X11 editor has the focus) until the file holds
    // `expected`; returns what the file held last.
    [[nodiscard]] std::string saveUntil(const std::string& expected, std::chrono::milliseconds timeout = 5s,
                                        const std::function<void()>& save = {}) const;
    [[nodiscard]] std::string documentOnDisk() const { return readFile(m_document); }

    [[nodiscard]] const std::filesystem::path& directory() const { return m_directory; }
    [[nodiscard]] std::string log() const { return readFile(m_directory / "vesk.log"); }

private:
    std::filesystem::path m_directory;
    std::filesystem::path m_document;
    std::unique_ptr<BackgroundProcess> m_vesk;
    std::unique_ptr<BackgroundProcess> m_editor;
};

} // namespace vesk::e2e
