#pragma once

#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// Runs a program as a child process, feeding it standard input and capturing
// what it writes, for tests of command-line tools.
class ChildProcess {
public:
    struct Result {
        // The exit status, or -1 when the child did not exit normally (a
        // signal, such as a sanitizer's abort) or could not be started.
        int exitStatus = -1;
        int signal = 0;
        std::string out;
        std::string err;
    };

    // argv[0] is the program's path; no shell is involved. With
    // `errToTerminal` the child's standard error is a pseudo-terminal, as
    // when a person watches it.
    static Result run(const std::vector<std::string>& argv, const std::string& input = "",
                      bool errToTerminal = false);
};

} // namespace test
} // namespace pdf417
