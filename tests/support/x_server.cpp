#include "x_server.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int START_LIMIT_MS = 20000;

pid_t server = 0;
pid_t owner = 0;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "private display: %s\n", what);
    std::exit(EXIT_FAILURE);
}

// A death test's child inherits this handler with the parent's server: only the owner may end it.
void stopServer() {
    if (getpid() != owner) return;
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
}

[[noreturn]] void runServer(int displayFd, const std::string& screen) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const std::string fd = std::to_string(displayFd);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp", "-noreset",
           nullptr);
    _exit(127);
}

// Xvfb writes the display number and a line end once it accepts connections.
std::string readDisplayNumber(int fd) {
    std::string number;
    pollfd waiting{fd, POLLIN, 0};
    while (number.find('\n') == std::string::npos) {
        char byte = 0;
        if (poll(&waiting, 1, START_LIMIT_MS) <= 0 || read(fd, &byte, 1) != 1) fail("Xvfb does not start");
        number += byte;
    }
    number.pop_back();
    return number;
}

}  // namespace

void startPrivateDisplay(int width, int height) {
    if (server != 0) return;
    int ends[2];
    if (pipe(ends) != 0) fail("no pipe");
    owner = getpid();
    server = fork();
    if (server == 0) runServer(ends[1], std::to_string(width) + "x" + std::to_string(height) + "x24");
    if (server < 0) fail("no process");
    close(ends[1]);
    const std::string number = readDisplayNumber(ends[0]);
    close(ends[0]);
    std::atexit(stopServer);
    setenv("DISPLAY", (":" + number).c_str(), 1);
    // The second alone does nothing where another vendor's GLX answers first.
    setenv("__GLX_VENDOR_LIBRARY_NAME", "mesa", 0);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
}

void signalPrivateDisplay(int signal) { kill(server, signal); }
