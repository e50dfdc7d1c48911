#include "endings.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <new>

namespace {

constexpr int SIGNAL_STATUS = 128;  // shells add this to the number of a signal

// How long the program may take to end by itself; with what follows, less than two seconds.
constexpr time_t PATIENCE_S = 1;
constexpr suseconds_t PATIENCE_US = 750'000;
constexpr suseconds_t FILE_POLL_US = 20'000;

// A signal handler may run on any thread and must not take locks.
std::atomic<int> noted = 0;
std::atomic<bool> announced = false;  // the line has been printed
std::atomic<int> writing = 0;         // files being written; negative as soon as no more may be begun
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);
constexpr int NO_MORE = INT_MIN / 2;

// Signal handlers may call this: on Linux setitimer is a plain system call.
void callLater(time_t seconds, suseconds_t microseconds) {
    const itimerval once = {{0, 0}, {seconds, microseconds}};
    setitimer(ITIMER_REAL, &once, nullptr);
}

void note(int signal) {
    int none = 0;
    if (!noted.compare_exchange_strong(none, signal)) return;
    callLater(PATIENCE_S, PATIENCE_US);
}

// Prints the line of ryl_endIfAsked with calls that are allowed in a signal handler. Prints nothing into a full pipe.
void announceInHandler() {
    constexpr char TEXT[] = "[*] Ended by signal ";
    std::array<char, sizeof TEXT + 4> line{};
    std::size_t length = 0;
    for (; TEXT[length] != '\0'; ++length) line[length] = TEXT[length];
    const int signal = noted;
    if (signal >= 10) line[length++] = static_cast<char>('0' + signal / 10);
    line[length++] = static_cast<char>('0' + signal % 10);
    line[length++] = '.';
    line[length++] = '\n';
    pollfd room = {STDOUT_FILENO, POLLOUT, 0};
    if (poll(&room, 1, 0) != 1) return;
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line.data(), length);
}

// Runs when the time is over: the program hangs in the window system, in the sound, or while it ends.
void endNow(int) {
    int none = 0;
    if (!writing.compare_exchange_strong(none, NO_MORE)) return callLater(0, FILE_POLL_US);
    if (!announced) announceInHandler();
    _exit(SIGNAL_STATUS + noted);
}

bool isIgnored(int signal) {
    struct sigaction now = {};
    sigaction(signal, nullptr, &now);
    return now.sa_handler == SIG_IGN;
}

// An exception that leaves a callback ends here: the GL and the window system do not catch it.
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

// A file or connection takes the lowest free number. Without this, the window system's connection could become
// standard output, and every printed line would go into it.
void openMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDWR);
}

}  // namespace

void ryl_watchEndings(void) {
    openMissingStreams();
    struct sigaction first = {};
    first.sa_handler = note;
    // Signals that a shell or nohup has set to be ignored stay ignored.
    for (const int ending : {SIGINT, SIGTERM, SIGHUP})
        if (!isIgnored(ending)) sigaction(ending, &first, nullptr);
    struct sigaction late = {};
    late.sa_handler = endNow;
    sigaction(SIGALRM, &late, nullptr);
    signal(SIGPIPE, SIG_IGN);
    std::set_terminate(endUncaught);
}

void ryl_endIfAsked(void (*finish)(void)) {
    if (noted == 0) return;
    finish();
    std::printf("[*] Ended by signal %d.\n", noted.load());
    announced = true;
    std::exit(SIGNAL_STATUS + noted);
}

void ryl_delayEnding(bool isWriting) {
    if (!isWriting) {
        --writing;
        return;
    }
    if (++writing > 0) return;
    for (;;) pause();  // the process ends now
}
