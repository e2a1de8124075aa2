#include "support/Process.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace vesk::test {

namespace {

// Starts `program` through env(1), which changes the environment and looks the program up on PATH, then
// becomes it (same pid). Standard input comes from the file `in`; the outputs are appended to the files `out`
// and `err`. Its pid, or -1.
pid_t spawn(const std::string& program, const std::vector<std::string>& args,
            const std::map<std::string, std::string>& set, const std::vector<std::string>& unset, const std::string& in,
            const std::string& out, const std::string& err)
{
    std::vector<std::string> argv{"env"};
    for (const auto& name : unset) {
        argv.insert(argv.end(), {"-u", name});
    }
    for (const auto& [name, value] : set) {
        argv.push_back(name + "=" + value);
    }
    argv.push_back(program);
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> pointers;
    for (auto& arg : argv) {
        pointers.push_back(arg.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    pid_t pid = -1;
    const int spawned = posix_spawnp(&pid, "env", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return spawned == 0 ? pid : -1;
}

} // namespace

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options)
{
    // Files rather than pipes: nothing to drain, and a daemon the program leaves behind cannot hold them.
    char pattern[] = "/tmp/vesk-process.XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        return {-1, {}, "no temporary directory"};
    }
    const std::filesystem::path dir(pattern);
    std::ofstream(dir / "in", std::ios::binary) << options.input;
    const pid_t pid =
        spawn(program, args, options.setEnvironment, options.unsetEnvironment, dir / "in", dir / "out", dir / "err");
    int status = 0;
    if (pid > 0 && !waitUntil([&] { return waitpid(pid, &status, WNOHANG) == pid; }, options.timeout, 1ms)) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    ProcessResult result{pid > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(dir / "out"),
                         readFile(dir / "err")};
    std::filesystem::remove_all(dir);
    return result;
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(interval);
    }
    return true;
}

BackgroundProcess::BackgroundProcess(const std::string& program, const std::vector<std::string>& args,
                                     const std::string& logFile,
                                     const std::map<std::string, std::string>& setEnvironment)
    : m_pid(spawn(program, args, setEnvironment, {}, "/dev/null", logFile, logFile))
{
}

bool BackgroundProcess::isRunning()
{
    int status = 0;
    if (m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        m_pid = -1;
    }
    return m_pid > 0;
}

int BackgroundProcess::stop()
{
    if (isRunning()) {
        kill(m_pid, SIGTERM);
        if (!waitUntil([this] { return !isRunning(); }, 2s, 20ms)) {
            kill(m_pid, SIGKILL);
            waitUntil([this] { return !isRunning(); }, 10s, 1ms);
        }
    }
    return m_status;
}

} // namespace vesk::test
