#include "support/Process.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vesk::test {

namespace {

std::vector<std::string> environmentFor(const ProcessOptions& options)
{
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable(*entry);
        const std::string name = variable.substr(0, variable.find('='));
        const bool dropped = options.setEnvironment.contains(name) ||
                             std::find(options.unsetEnvironment.begin(), options.unsetEnvironment.end(), name) !=
                                 options.unsetEnvironment.end();
        if (!dropped) {
            result.push_back(variable);
        }
    }
    for (const auto& [name, value] : options.setEnvironment) {
        result.push_back(name + "=" + value);
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& strings)
{
    std::vector<char*> result;
    for (auto& s : strings) {
        result.push_back(s.data());
    }
    result.push_back(nullptr);
    return result;
}

} // namespace

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options)
{
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) {
        return {-1, {}, "pipe failed"};
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);

    std::vector<std::string> argv{program};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<std::string> envp = environmentFor(options);
    auto argvPointers = pointers(argv);
    auto envpPointers = pointers(envp);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argvPointers.data(), envpPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    close(err[1]);
    if (spawned != 0) {
        close(in[1]);
        close(out[0]);
        close(err[0]);
        return {-1, {}, std::string("spawn failed: ") + std::strerror(spawned)};
    }

    // Feed standard input and drain both outputs together, so neither side can block the other.
    ProcessResult result;
    std::size_t written = 0;
    int inFd = in[1];
    fcntl(inFd, F_SETFL, O_NONBLOCK);
    const auto deadline = std::chrono::steady_clock::now() + options.timeout;
    bool outOpen = true;
    bool errOpen = true;
    std::signal(SIGPIPE, SIG_IGN);
    while (outOpen || errOpen) {
        if (inFd >= 0 && written == options.input.size()) {
            close(inFd);
            inFd = -1;
        }
        std::array<pollfd, 3> fds{{{out[0], outOpen ? POLLIN : short(0), 0},
                                   {err[0], errOpen ? POLLIN : short(0), 0},
                                   {inFd, inFd >= 0 ? POLLOUT : short(0), 0}}};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            kill(pid, SIGKILL);
            break;
        }
        if (poll(fds.data(), fds.size(), static_cast<int>(left.count())) < 0) {
            break;
        }
        std::array<char, 65536> buffer{};
        const auto drain = [&](int index, bool& open, std::string& into) {
            if ((fds[index].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
                const ssize_t n = read(fds[index].fd, buffer.data(), buffer.size());
                if (n <= 0) {
                    open = false;
                } else {
                    into.append(buffer.data(), static_cast<std::size_t>(n));
                }
            }
        };
        drain(0, outOpen, result.out);
        drain(1, errOpen, result.err);
        if (inFd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
            const ssize_t n = write(inFd, options.input.data() + written, options.input.size() - written);
            if (n < 0) {
                close(inFd);
                inFd = -1;
            } else {
                written += static_cast<std::size_t>(n);
            }
        }
    }
    if (inFd >= 0) {
        close(inFd);
    }
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace vesk::test
