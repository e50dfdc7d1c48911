#include "endings.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <new>

namespace {

constexpr int SIGNAL_STATUS = 128;  // what shells add to the number of a signal

volatile sig_atomic_t noted = 0;

void note(int signal) { noted = signal; }

// Nothing catches an exception on the way through the GL and the window system.
[[noreturn]] void endUncaught() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const std::bad_alloc&) {
        std::puts("[!] There is not enough memory.");
    } catch (...) {
        std::abort();
    }
    std::exit(-1);
}

// The next file or connection opened takes the lowest free number: without a standard output the window system's
// connection would be it, and every line printed would go there.
void openMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDWR);
}

}  // namespace

void ryl_watchEndings(void) {
    openMissingStreams();
    struct sigaction once = {};
    once.sa_handler = note;
    once.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int ending : {SIGINT, SIGTERM, SIGHUP}) sigaction(ending, &once, nullptr);
    signal(SIGPIPE, SIG_IGN);
    std::set_terminate(endUncaught);
}

void ryl_endIfAsked(void) {
    if (noted == 0) return;
    std::printf("[*] Ended by signal %d.\n", static_cast<int>(noted));
    std::exit(SIGNAL_STATUS + noted);
}
