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

// Closes a descriptor once, whichever path leaves the function.
class Fd {
public:
    Fd() = default;
    ~Fd() { close(); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;

    int get() const { return fd_; }
    int* out() { return &fd_; }
    void close() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_ = -1;
};

bool makePipe(Fd& read, Fd& write) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) {
        return false;
    }
    *read.out() = fds[0];
    *write.out() = fds[1];
    return true;
}

// A pseudo-terminal: `master` reads what is written to `slave`.
bool openTerminal(Fd& master, Fd& slave) {
    *master.out() = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master.get() < 0 || ::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0) {
        return false;
    }
    const char* name = ::ptsname(master.get());
    if (name == nullptr) {
        return false;
    }
    *slave.out() = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave.get() < 0) {
        return false;
    }
    // Keep the child's bytes as they are (no newline translation).
    termios mode;
    if (::tcgetattr(slave.get(), &mode) == 0) {
        ::cfmakeraw(&mode);
        ::tcsetattr(slave.get(), TCSANOW, &mode);
    }
    return true;
}

} // namespace

ChildProcess::Result ChildProcess::run(const std::vector<std::string>& argv,
                                       const std::string& input, bool errToTerminal) {
    Result result;
    if (argv.empty()) {
        return result;
    }
    // A child that stops reading must not kill the test with SIGPIPE.
    ::signal(SIGPIPE, SIG_IGN);

    Fd inRead, inWrite, outRead, outWrite, errRead, errWrite;
    if (!makePipe(inRead, inWrite) || !makePipe(outRead, outWrite)) {
        return result;
    }
    if (errToTerminal) {
        if (!openTerminal(errRead, errWrite)) {
            return result;
        }
    } else if (!makePipe(errRead, errWrite)) {
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inRead.get(), 0);
    posix_spawn_file_actions_adddup2(&actions, outWrite.get(), 1);
    posix_spawn_file_actions_adddup2(&actions, errWrite.get(), 2);

    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    inRead.close();
    outWrite.close();
    errWrite.close();
    if (spawned != 0) {
        return result;
    }

    // Feed and drain together, or a chatty child and a large input block
    // each other.
    std::size_t written = 0;
    if (input.empty()) {
        inWrite.close();
    } else {
        ::fcntl(inWrite.get(), F_SETFL, O_NONBLOCK);
    }
    char buffer[1 << 16];
    while (outRead.get() >= 0 || errRead.get() >= 0) {
        pollfd fds[3] = {
            {outRead.get(), POLLIN, 0}, {errRead.get(), POLLIN, 0}, {inWrite.get(), POLLOUT, 0}};
        if (::poll(fds, 3, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        Fd* readers[2] = {&outRead, &errRead};
        std::string* sinks[2] = {&result.out, &result.err};
        for (int i = 0; i < 2; ++i) {
            if (fds[i].revents == 0) {
                continue;
            }
            const ssize_t got = ::read(readers[i]->get(), buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                // A terminal reports the closed far end as EIO.
                readers[i]->close();
            }
        }
        if (fds[2].revents != 0) {
            const ssize_t put =
                ::write(inWrite.get(), input.data() + written, input.size() - written);
            if (put > 0) {
                written += static_cast<std::size_t>(put);
            }
            if ((put < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
                inWrite.close();
            }
        }
    }
    inWrite.close();

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
