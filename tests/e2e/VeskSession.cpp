#include "e2e/VeskSession.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sys/stat.h>

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

std::map<std::string, std::string> VeskSession::environment() const
{
    return {{"XDG_CONFIG_HOME", (m_directory / "config").string()},
            {"XDG_DATA_HOME", (m_directory / "data").string()},
            {"XDG_CACHE_HOME", (m_directory / "cache").string()},
            {"XDG_RUNTIME_DIR", (m_directory / "run").string()},
            {"QT_LOGGING_RULES", "vesk.*=true"},
            {"QT_MESSAGE_PATTERN", "%{time boot} %{category}: %{message}"}};
}

test::ProcessResult VeskSession::run(const std::vector<std::string>& args, const std::string& input) const
{
    return test::runProcess(VESK_BINARY, args,
                            {input, environment(), {"http_proxy", "HTTP_PROXY"}, std::chrono::milliseconds(15s)});
}

bool VeskSession::start(const std::vector<std::string>& alsoLogged)
{
    m_vesk = std::make_unique<BackgroundProcess>(VESK_BINARY, std::vector<std::string>{},
                                                 (m_directory / "vesk.log").string(), environment());
    const auto ready = [&] {
        const std::string text = log();
        const auto logged = [&](const std::string& line) { return text.find(line) != std::string::npos; };
        return logged("Ready") && std::all_of(alsoLogged.begin(), alsoLogged.end(), logged);
    };
    return m_vesk->pid() > 0 && waitUntil(ready, 10s, 50ms);
}

} // namespace vesk::e2e
