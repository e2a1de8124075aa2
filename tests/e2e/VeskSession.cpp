#include "e2e/VeskSession.h"

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>
#include <thread>

namespace vesk::e2e {

namespace fs = std::filesystem;

VeskSession::VeskSession()
{
    // Keys come from the keyring only: one in the environment would win over it.
    unsetenv("OPENAI_API_KEY");
    unsetenv("ANTHROPIC_API_KEY");
    char pattern[] = "/tmp/vesk-e2e.XXXXXX";
    if (mkdtemp(pattern) != nullptr) {
        m_directory = pattern;
    }
    for (const char* sub : {"config", "data", "cache", "run"}) {
        fs::create_directories(m_directory / sub);
    }
    chmod((m_directory / "run").c_str(), 0700);
}

VeskSession::~VeskSession()
{
    m_editor.reset();
    stop();
    std::error_code ignored;
    fs::remove_all(m_directory, ignored);
}

std::string VeskSession::configure(const std::string& endpoint)
{
    const test::ProcessResult settings = run({"settings", "--endpoint", endpoint, "--setup-done", "on"});
    if (settings.exitCode != 0) {
        return "vesk settings: " + settings.err;
    }
    const test::ProcessResult key = run({"key", "set", "openai"}, "sk-e2e-0123456789abcdef\n");
    return key.exitCode == 0 ? std::string() : "vesk key set: " + key.err;
}

namespace {

std::map<std::string, std::string> environmentFor(const fs::path& directory)
{
    return {{"XDG_CONFIG_HOME", (directory / "config").string()},
            {"XDG_DATA_HOME", (directory / "data").string()},
            {"XDG_CACHE_HOME", (directory / "cache").string()},
            {"XDG_RUNTIME_DIR", (directory / "run").string()},
            {"QT_LOGGING_RULES", "vesk.*=true"},
            {"QT_MESSAGE_PATTERN", "%{time process} %{category}: %{message}"}};
}

} // namespace

test::ProcessResult VeskSession::run(const std::vector<std::string>& args, const std::string& input) const
{
    test::ProcessOptions options;
    options.input = input;
    options.setEnvironment = environmentFor(m_directory);
    options.unsetEnvironment = {"http_proxy", "HTTP_PROXY"};
    options.timeout = 15s;
    return test::runProcess(VESK_BINARY, args, options);
}

bool VeskSession::start(const std::vector<std::string>& alsoLogged)
{
    m_vesk = std::make_unique<BackgroundProcess>(VESK_BINARY, std::vector<std::string>{},
                                                 (m_directory / "vesk.log").string(), environmentFor(m_directory));
    std::vector<std::string> lines{"Ready"};
    lines.insert(lines.end(), alsoLogged.begin(), alsoLogged.end());
    const bool x11 = std::getenv("WAYLAND_DISPLAY") == nullptr;
    const auto ready = [&] {
        const std::string text = log();
        const auto logged = [&](const std::string& line) { return text.find(line) != std::string::npos; };
        return std::all_of(lines.begin(), lines.end(), logged) &&
               (!x11 || !runTool("xdotool", {"search", "--pid", std::to_string(pid())}).out.empty());
    };
    return m_vesk->pid() > 0 && waitUntil(ready, 10s, 50ms);
}

bool VeskSession::openEditor(const std::string& text, const std::string& program, const std::function<bool()>& focused)
{
    m_document = m_directory / "notes.txt";
    writeFile(m_document, text);
    m_editor = std::make_unique<BackgroundProcess>(program, std::vector<std::string>{m_document.string()},
                                                   (m_directory / "editor.log").string());
    const std::function<bool()> mousepadActive = [this] { return isEditorActive(); };
    if (!waitUntil(focused ? focused : mousepadActive, 15s)) {
        return false;
    }
    // Nobody types into a window in the instant it appears: it may still be setting up its input.
    std::this_thread::sleep_for(300ms);
    return true;
}

bool VeskSession::isEditorActive() const
{
    return activeWindowName().find("notes.txt - Mousepad") != std::string::npos;
}

bool VeskSession::isEditorModified()
{
    return activeWindowName().starts_with("*");
}

std::string VeskSession::saveUntil(const std::string& expected, std::chrono::milliseconds timeout,
                                   const std::function<void()>& save) const
{
    std::string content;
    waitUntil(
        [&] {
            content = readFile(m_document);
            if (content != expected) {
                if (save) {
                    save();
                } else if (isEditorActive()) {
                    pressKeys("ctrl+s");
                }
            }
            return content == expected;
        },
        timeout, 150ms);
    return content;
}

} // namespace vesk::e2e
