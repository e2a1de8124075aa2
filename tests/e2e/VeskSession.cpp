#include "e2e/VeskSession.h"

#include <cstdlib>
#include <sys/stat.h>
#include <thread>

namespace vesk::e2e {

namespace fs = std::filesystem;

namespace {

constexpr const char* openAIKey = "sk-e2e-0123456789abcdef";

} // namespace

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

std::map<std::string, std::string> VeskSession::environment() const
{
    return {{"XDG_CONFIG_HOME", (m_directory / "config").string()},
            {"XDG_DATA_HOME", (m_directory / "data").string()},
            {"XDG_CACHE_HOME", (m_directory / "cache").string()},
            {"XDG_RUNTIME_DIR", (m_directory / "run").string()},
            {"QT_LOGGING_RULES", "vesk.*=true"}};
}

std::string VeskSession::configure(const std::string& endpoint)
{
    if (m_directory.empty()) {
        return "no temporary directory";
    }
    const test::ProcessResult settings = run({"settings", "--endpoint", endpoint, "--setup-done", "on"});
    if (settings.exitCode != 0) {
        return "vesk settings: " + settings.err;
    }
    const test::ProcessResult key = run({"key", "set", "openai"}, std::string(openAIKey) + "\n");
    return key.exitCode == 0 ? std::string() : "vesk key set: " + key.err;
}

test::ProcessResult VeskSession::run(const std::vector<std::string>& args, const std::string& input) const
{
    test::ProcessOptions options;
    options.input = input;
    options.setEnvironment = environment();
    options.unsetEnvironment = {"http_proxy", "HTTP_PROXY"};
    options.timeout = 15s;
    return test::runProcess(VESK_BINARY, args, options);
}

bool VeskSession::start()
{
    m_vesk = std::make_unique<BackgroundProcess>(VESK_BINARY, std::vector<std::string>{},
                                                 (m_directory / "vesk.log").string(), environment());
    if (m_vesk->pid() <= 0) {
        return false;
    }
    // Vesk grabs its shortcut before it listens for other launches and makes its first window.
    return waitUntil(
        [&] {
            bool listening = false;
            for (const auto& entry : fs::directory_iterator(m_directory / "run")) {
                listening = listening || entry.is_socket();
            }
            return listening && !runTool("xdotool", {"search", "--pid", std::to_string(pid())}).out.empty();
        },
        10s, 50ms);
}

void VeskSession::stop()
{
    m_vesk.reset();
}

bool VeskSession::openEditor(const std::string& text)
{
    m_document = m_directory / "notes.txt";
    writeFile(m_document, text);
    m_editor = std::make_unique<BackgroundProcess>("mousepad", std::vector<std::string>{m_document.string()},
                                                   (m_directory / "mousepad.log").string());
    if (!waitUntil([&] { return isEditorActive(); }, 10s)) {
        return false;
    }
    // A window that has just become active may still be setting up its input; nobody types into a
    // window in the same instant it appears.
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

std::string VeskSession::saveUntil(const std::string& expected, std::chrono::milliseconds timeout) const
{
    std::string content;
    waitUntil(
        [&] {
            content = readFile(m_document);
            if (content == expected) {
                return true;
            }
            if (isEditorActive()) {
                pressKeys("ctrl+s");
            }
            return false;
        },
        timeout, 150ms);
    return content;
}

} // namespace vesk::e2e
