#include "tests/tools/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

extern char** environ;

namespace pdf417 {
namespace test {

namespace {

// Standard input and output go through unlinked scratch files, so neither
// side can block the other however much either writes.
int scratchFile() {
    std::string name = (std::filesystem::temp_directory_path() / "pdf417scan-io-XXXXXX").string();
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd >= 0) {
        ::unlink(name.c_str());
    }
    return fd;
}

// Everything from fd's start, or until the far end of a terminal closes (EIO).
std::string readAll(int fd, bool fromStart) {
    std::string text;
    char buffer[1 << 16];
    if (fromStart) {
        ::lseek(fd, 0, SEEK_SET);
    }
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got > 0) {
            text.append(buffer, static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return text;
        }
    }
}

// The child's end of a pseudo-terminal in slave, the end that reads what it
// writes in master; bytes pass as they are (no newline translation).
bool openTerminal(int& master, int& slave) {
    master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const char* name = master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0
                           ? nullptr
                           : ::ptsname(master);
    slave = name == nullptr ? -1 : ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios mode;
    if (slave >= 0 && ::tcgetattr(slave, &mode) == 0) {
        ::cfmakeraw(&mode);
        ::tcsetattr(slave, TCSANOW, &mode);
    }
    return slave >= 0;
}

} // namespace

ChildProcess::Result ChildProcess::run(const std::vector<std::string>& argv,
                                       const std::string& input, bool errToTerminal) {
    Result result;
    int in = scratchFile(), out = scratchFile(), err = -1, terminal = -1;
    const auto closeAll = [&] {
        for (int fd : {in, out, err, terminal}) {
            if (fd >= 0) {
                ::close(fd);
            }
        }
    };
    const bool ready = in >= 0 && out >= 0 &&
                       (errToTerminal ? openTerminal(terminal, err) : (err = scratchFile()) >= 0) &&
                       ::write(in, input.data(), input.size()) == ssize_t(input.size()) &&
                       ::lseek(in, 0, SEEK_SET) == 0;
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    pid_t pid = 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    const bool spawned = ready && !argv.empty() &&
                         posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (spawned && errToTerminal) {
        // Only the child holds the terminal now: drain it while it runs.
        ::close(err);
        err = -1;
        result.err = readAll(terminal, false);
    }
    int status = 0;
    pid_t waited = -1;
    while (spawned && (waited = ::waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
    }
    if (waited == pid) {
        result.out = readAll(out, true);
        result.err += errToTerminal ? "" : readAll(err, true);
        result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    closeAll();
    return result;
}

} // namespace test
} // namespace pdf417
