#include "x_server.h"

#include "child.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int START_LIMIT_MS = 20000;
constexpr int DISPLAY_FD = 3;  // of the server's

pid_t server = 0;
pid_t owner = 0;

// A death test's child inherits this handler with the parent's server: only the owner may end it.
void stopServer() {
    if (getpid() != owner) return;
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
}

[[noreturn]] void runServer(const std::vector<std::string>& command, int displayFd) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (displayFd != DISPLAY_FD) dup2(displayFd, DISPLAY_FD);
    execute(command);
}

// The number and a line end come once the server accepts connections; nothing if it does not start.
std::string readDisplayNumber(int fd) {
    std::string number;
    pollfd waiting{fd, POLLIN, 0};
    while (number.find('\n') == std::string::npos) {
        char byte = 0;
        if (poll(&waiting, 1, START_LIMIT_MS) <= 0 || read(fd, &byte, 1) != 1) return {};
        number += byte;
    }
    number.pop_back();
    return number;
}

}  // namespace

bool startPrivateServer(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe(ends) != 0) return false;
    const pid_t child = fork();
    if (child == 0) runServer(command, ends[1]);
    close(ends[1]);
    if (child > 0) {
        owner = getpid();
        server = child;
        std::atexit(stopServer);
    }
    const std::string number = readDisplayNumber(ends[0]);
    close(ends[0]);
    setenv("DISPLAY", (":" + number).c_str(), 1);
    // The second alone does nothing where another vendor's GLX answers first.
    setenv("__GLX_VENDOR_LIBRARY_NAME", "mesa", 0);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
    return !number.empty();
}

void startPrivateDisplay(int width, int height) {
    if (server != 0) return;
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    if (startPrivateServer({"Xvfb", "-displayfd", "3", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"}))
        return;
    std::fputs("private display: Xvfb does not start\n", stderr);
    std::exit(EXIT_FAILURE);
}

void signalPrivateDisplay(int signal) { kill(server, signal); }
