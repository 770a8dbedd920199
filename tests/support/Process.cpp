#include "support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace velmora::test {
namespace {

void applyEnvironment(const std::map<std::string, std::string>& environment) {
    for (const auto& [name, value] : environment) {
        if (value.empty()) {
            ::unsetenv(name.c_str());
        } else {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
    }
}

[[noreturn]] void execute(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& environment) {
    const int devNull = ::open("/dev/null", O_RDONLY);
    if (devNull >= 0) ::dup2(devNull, STDIN_FILENO);
    ::signal(SIGINT, SIG_DFL);
    applyEnvironment(environment);
    std::vector<std::string> copies{program.string()};
    copies.insert(copies.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& argument : copies) argv.push_back(argument.data());
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

// Reads both pipes until both are closed, so that neither can fill up and block the child; while
// `moment` is pending it is asked after every look at the pipes.
void drain(int outFd, int errFd, ProcessResult& result, const std::function<bool()>& moment) {
    std::array<pollfd, 2> fds{{{outFd, POLLIN, 0}, {errFd, POLLIN, 0}}};
    std::array<std::string*, 2> sinks{&result.out, &result.err};
    int open = 2;
    bool pending = static_cast<bool>(moment);
    char buffer[4096];
    while (open > 0) {
        if (pending && moment()) pending = false;
        if (::poll(fds.data(), fds.size(), pending ? 0 : -1) < 0) continue;
        for (std::size_t i = 0; i < fds.size(); ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            const ssize_t count = ::read(fds[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(count));
            } else {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
}

ProcessResult run(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                  const std::map<std::string, std::string>& environment,
                  const std::function<bool(const std::string&)>& moment) {
    int outPipe[2];
    int errPipe[2];
    if (::pipe2(outPipe, O_CLOEXEC) != 0 || ::pipe2(errPipe, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) {
        ::dup2(outPipe[1], STDOUT_FILENO);
        ::dup2(errPipe[1], STDERR_FILENO);
        execute(program, arguments, environment);
    }
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    ProcessResult result;
    std::function<bool()> interrupt;
    if (moment) {
        interrupt = [&] { return moment(result.out) && ::kill(child, SIGINT) == 0; };
    }
    drain(outPipe[0], errPipe[0], result, interrupt);
    int status = 0;
    ::waitpid(child, &status, 0);
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return result;
}

}  // namespace

ProcessResult runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
    return run(program, arguments, environment, {});
}

ProcessResult interruptWhen(const std::function<bool(const std::string& out)>& moment,
                            const std::filesystem::path& program, const std::vector<std::string>& arguments,
                            const std::map<std::string, std::string>& environment) {
    return run(program, arguments, environment, moment);
}

}  // namespace velmora::test
