#include "tests/tools/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

extern char** environ;

namespace pdf417 {
namespace test {

namespace {

void closeFd(int& fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

// The child's end of a pseudo-terminal in slave, the end that reads what it
// writes in master.
bool openTerminal(int& master, int& slave) {
    master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const char* name = master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0
                           ? nullptr
                           : ::ptsname(master);
    slave = name == nullptr ? -1 : ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    // Keep the child's bytes as they are (no newline translation).
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
    // A child that stops reading must not kill the test with SIGPIPE.
    ::signal(SIGPIPE, SIG_IGN);
    // Read and write ends of standard input, output and error.
    int in[2] = {-1, -1}, out[2] = {-1, -1}, err[2] = {-1, -1};
    const auto closeAll = [&] {
        for (int* fd : {&in[0], &in[1], &out[0], &out[1], &err[0], &err[1]}) {
            closeFd(*fd);
        }
    };
    if (argv.empty() || ::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 ||
        !(errToTerminal ? openTerminal(err[0], err[1]) : ::pipe2(err, O_CLOEXEC) == 0)) {
        closeAll();
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    closeFd(in[0]);
    closeFd(out[1]);
    closeFd(err[1]);
    if (spawned != 0) {
        closeAll();
        return result;
    }

    // Feed and drain together, or a chatty child and a large input block
    // each other.
    std::size_t written = 0;
    if (input.empty()) {
        closeFd(in[1]);
    } else {
        ::fcntl(in[1], F_SETFL, O_NONBLOCK);
    }
    char buffer[1 << 16];
    while (out[0] >= 0 || err[0] >= 0) {
        pollfd fds[3] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}, {in[1], POLLOUT, 0}};
        if (::poll(fds, 3, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        int* readers[2] = {&out[0], &err[0]};
        std::string* sinks[2] = {&result.out, &result.err};
        for (int i = 0; i < 2; ++i) {
            if (fds[i].revents == 0) {
                continue;
            }
            const ssize_t got = ::read(*readers[i], buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                closeFd(*readers[i]); // a terminal reports the closed far end as EIO
            }
        }
        if (fds[2].revents != 0) {
            const ssize_t put = ::write(in[1], input.data() + written, input.size() - written);
            written += put > 0 ? static_cast<std::size_t>(put) : 0;
            if ((put < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
                closeFd(in[1]);
            }
        }
    }
    closeAll();

    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return result;
        }
    }
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
    }
    return result;
}

} // namespace test
} // namespace pdf417
