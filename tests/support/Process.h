#pragma once

// Runs a program the way a person's shell would, for end-to-end tests of the `vesk` binary.

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace vesk::test {

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

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options = {});

} // namespace vesk::test
