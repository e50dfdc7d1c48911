// frame_stream - runs the demo in capture mode and passes its frames on as they are written
//
//     frame_stream WIDTHxHEIGHT FIRST LAST PROGRAM [ARGUMENT ...]
//
// Starts PROGRAM in the working directory and waits for its "[CAPTURE] frame N" lines. Each frame from FIRST to LAST
// (numbered from 1) goes to standard output as raw pixels: WIDTH x HEIGHT x 3 bytes, red, green, blue, the picture's
// top row first. Every file capture/N.png is removed after it was passed on or skipped. The program may begin with
// any frame up to FIRST. If LAST is ~N, the last frame is where the program ends, expected at N; if it is <N, the
// same, but no frame after N; if it is ~ alone, nothing is known of it. Progress goes to descriptor 3 if it is open:
// a bar on a terminal, else plain lines. Exit status 0: every frame was passed on. 1: a frame is missing, empty,
// damaged or of another size, or the program failed or went silent; one "[!]" line on standard error says which. 2:
// wrong arguments. 3: the reader of standard output is gone.
//
// The program is never more than a few frames ahead: its lines go through a pipe in packet mode, where each line
// takes one of a fixed number of places, and a full pipe makes it wait. A second thread passes decoded frames on, at
// most two frames behind, so decoding goes on while the encoder is busy.
#include <fcntl.h>
#include <png.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int FAILED = 1, WRONG_ARGUMENTS = 2, NO_READER = 3;
constexpr int PROGRESS = 3;                  // descriptor
constexpr int SILENCE_LIMIT_MS = 120'000;    // the slowest frame, loading included, takes seconds
constexpr int LINES_AHEAD = 16;              // places in the program's pipe: how many frames may wait
constexpr int PAGE = 4096;                   // bytes in one place of a pipe
constexpr int FRAME_PIPE_BYTES = 1 << 20;    // the most that an ordinary user may ask for
constexpr std::size_t PICTURES_AT_ONCE = 3;  // one is being decoded, the others wait to be passed on
constexpr std::size_t LINES_KEPT = 6;        // of the program's other output, to show when it fails
constexpr int PLAIN_LINE_EVERY = 200;        // frames
constexpr auto BAR_EVERY = std::chrono::milliseconds(100);
constexpr int BAR_WIDTH = 30;  // characters
constexpr std::string_view FRAME_LINE = "[CAPTURE] frame ", LENGTH_LINE = "DEV: DEMO_LENGTH = ";
constexpr int FRAME_MS = 25;  // of demo time

struct Range {
    int first = 0, last = 0;  // frame numbers; last 0: not known
    bool open = false;        // the program's end decides
    bool limited = false;     // if open: at the latest after the last; else the last is only an expectation

    bool isOver(int frame) const { return (!open || limited) && frame >= last; }
};

struct Size {
    unsigned width = 0, height = 0;  // pixels
};

// The program and its output other than frame lines. Global, because the signal handler needs it.
struct Source {
    volatile pid_t process = -1;
    int lines = -1;  // descriptor
    std::string text;
    std::deque<std::string> remarks;
    int lengthMs = 0;  // the sum of its scenes' lengths; 0 until it has printed that
};
Source source;

// ---- The program --------------------------------------------------------------------------------------------------

// Makes only calls that are allowed in a signal handler. Returns the status of waitpid.
int endProgram(int signalNumber) {
    int status = 0;
    if (source.process <= 0) return status;
    if (signalNumber != 0) kill(source.process, signalNumber);
    while (waitpid(source.process, &status, 0) < 0 && errno == EINTR) {
    }
    source.process = -1;
    return status;
}

void onSignal(int signalNumber) {
    endProgram(SIGKILL);
    _exit(128 + signalNumber);
}

[[noreturn]] __attribute__((format(printf, 1, 2))) void fail(const char* format, ...) {
    endProgram(SIGKILL);
    // The message starts on a line of its own, below the bar.
    if (isatty(PROGRESS) != 0) dprintf(PROGRESS, "\n");
    std::va_list arguments;
    va_start(arguments, format);
    std::fputs("[!] ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    for (const std::string& remark : source.remarks) std::fprintf(stderr, "    %s\n", remark.c_str());
    _exit(FAILED);  // not exit: the passing thread may be waiting for the reader
}

void startProgram(char** command) {
    struct sigaction ending = {}, inherited = {};
    ending.sa_handler = onSignal;
    // Signals that a shell or nohup has set to be ignored stay ignored.
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP})
        if (sigaction(signalNumber, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
            sigaction(signalNumber, &ending, nullptr);
    signal(SIGPIPE, SIG_IGN);

    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_DIRECT) != 0) fail("no pipe for the demo's lines: %s", std::strerror(errno));
    // If the system refuses that many places, the pipe keeps fewer.
    fcntl(ends[1], F_SETPIPE_SZ, LINES_AHEAD * PAGE);
    const pid_t parent = getpid();
    source.process = fork();
    if (source.process < 0) fail("the demo does not start: %s", std::strerror(errno));
    if (source.process == 0) {
        // The program ends with its parent, however that ends.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(FAILED);
        signal(SIGPIPE, SIG_DFL);
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(PROGRESS);
        execvp(command[0], command);
        dprintf(STDERR_FILENO, "%s: %s\n", command[0], std::strerror(errno));
        _exit(127);
    }
    close(ends[1]);
    source.lines = ends[0];
}

// False at the end of the program's output.
bool nextLine(std::string& line) {
    for (;;) {
        const std::size_t end = source.text.find('\n');
        if (end != std::string::npos) {
            line = source.text.substr(0, end);
            source.text.erase(0, end + 1);
            return true;
        }
        pollfd waiting{source.lines, POLLIN, 0};
        if (poll(&waiting, 1, SILENCE_LIMIT_MS) == 0)
            fail("the demo has written no frame for %d seconds", SILENCE_LIMIT_MS / 1000);
        std::array<char, PAGE> bytes{};
        const ssize_t count = read(source.lines, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        source.text.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

// The number after `start` in a line that begins with it; 0 in any other line.
int numberAfter(std::string_view start, std::string_view line) {
    if (!line.starts_with(start)) return 0;
    line.remove_prefix(start.size());
    int number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    return error == std::errc() && (end == line.data() + line.size() || *end == ' ') ? number : 0;
}

// Reads up to the next frame line and returns its number; 0 at the end of the program's output.
int nextFrame() {
    std::string line;
    while (nextLine(line)) {
        const int number = numberAfter(FRAME_LINE, line), length = numberAfter(LENGTH_LINE, line);
        if (number != 0) return number;
        if (length != 0) source.lengthMs = length;
        source.remarks.push_back(line);
        if (source.remarks.size() > LINES_KEPT) source.remarks.pop_front();
    }
    return 0;
}

// ---- Frames -------------------------------------------------------------------------------------------------------

// Every PNG file ends with this chunk: its length 0, its name, its checksum.
constexpr std::array<unsigned char, 12> PNG_END = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xae, 0x42, 0x60, 0x82};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string fileOf(int frame) { return "capture/" + std::to_string(frame) + ".png"; }

// Decodes a whole frame, so that damage is found. The file has the bottom row first, `pixels` the top row.
void readFrame(int frame, Size size, std::vector<std::uint8_t>& pixels) {
    const std::string name = fileOf(frame);
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
    if (!file) fail("frame %d is missing: %s: %s", frame, name.c_str(), std::strerror(errno));
    std::array<unsigned char, PNG_END.size()> end{};
    std::fseek(file.get(), 0, SEEK_END);
    if (std::ftell(file.get()) == 0) fail("frame %d is empty: %s", frame, name.c_str());
    std::fseek(file.get(), -static_cast<long>(end.size()), SEEK_END);
    if (std::fread(end.data(), end.size(), 1, file.get()) != 1 || end != PNG_END)
        fail("frame %d is torn: %s has no end", frame, name.c_str());
    std::rewind(file.get());

    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_stdio(&image, file.get()) == 0)
        fail("frame %d is damaged: %s: %s", frame, name.c_str(), image.message);
    if (image.width != size.width || image.height != size.height)
        fail("frame %d is of %u x %u pixels, %u x %u were asked for", frame, image.width, image.height, size.width,
             size.height);
    image.format = PNG_FORMAT_RGB;
    pixels.resize(PNG_IMAGE_SIZE(image));
    const int upwards = -static_cast<int>(PNG_IMAGE_ROW_STRIDE(image));
    if (png_image_finish_read(&image, nullptr, pixels.data(), upwards, nullptr) == 0)
        fail("frame %d is damaged: %s: %s", frame, name.c_str(), image.message);
}

// Returns 0, or what went wrong (errno).
int passOn(const std::vector<std::uint8_t>& pixels) {
    std::size_t done = 0;
    while (done < pixels.size()) {
        const ssize_t count = write(STDOUT_FILENO, pixels.data() + done, pixels.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        done += static_cast<std::size_t>(count);
    }
    return 0;
}

// A ring of decoded pictures. The passing thread owns those from passedOn up to decoded, the decoder the next one.
struct Pictures {
    std::array<std::vector<std::uint8_t>, PICTURES_AT_ONCE> ring;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t decoded = 0, passedOn = 0;  // from the start; guarded by the mutex
    bool over = false;                      // guarded by the mutex
    int error = 0;                          // errno of a failed write, after which nothing follows; guarded too

    std::vector<std::uint8_t>& place(std::size_t number) { return ring[number % ring.size()]; }
};

void passOnPictures(Pictures& pictures) {
    std::unique_lock lock(pictures.mutex);
    for (;;) {
        pictures.changed.wait(lock, [&] { return pictures.over || pictures.passedOn != pictures.decoded; });
        if (pictures.passedOn == pictures.decoded) return;
        const std::vector<std::uint8_t>& pixels = pictures.place(pictures.passedOn);
        lock.unlock();
        const int error = passOn(pixels);
        lock.lock();
        ++pictures.passedOn;
        pictures.error = error;
        pictures.changed.notify_all();
        if (error != 0) return;
    }
}

void checkPassing(int error) {
    if (error == 0) return;
    if (error != EPIPE) fail("frames cannot be passed on: %s", std::strerror(error));
    endProgram(SIGKILL);
    _exit(NO_READER);
}

void decode(int frame, Size size, Pictures& pictures) {
    std::unique_lock lock(pictures.mutex);
    pictures.changed.wait(
        lock, [&] { return pictures.decoded - pictures.passedOn < PICTURES_AT_ONCE || pictures.error != 0; });
    checkPassing(pictures.error);
    std::vector<std::uint8_t>& pixels = pictures.place(pictures.decoded);
    lock.unlock();
    readFrame(frame, size, pixels);
    lock.lock();
    ++pictures.decoded;
    pictures.changed.notify_all();
}

void finish(Pictures& pictures, std::thread& passing) {
    {
        const std::lock_guard lock(pictures.mutex);
        pictures.over = true;
    }
    pictures.changed.notify_all();
    passing.join();
    checkPassing(pictures.error);
}

// ---- Progress -----------------------------------------------------------------------------------------------------

struct Progress {
    bool terminal = isatty(PROGRESS) != 0;
    Clock::time_point start, shown;  // the first frame of the range, the last report
};

// What is known about the last frame: its number, and how certain that is.
struct Expected {
    int last;  // 0: not known
    const char* how;
};

Expected expectedEnd(int frame, const Range& range) {
    if (!range.open) return {range.last, ""};
    if (!range.limited && range.last != 0)
        return range.last >= frame ? Expected{range.last, "about "} : Expected{0, ""};
    const int registered = source.lengthMs / FRAME_MS + 1;
    const int atMost = range.limited && (registered < frame || registered > range.last) ? range.last : registered;
    return atMost >= frame ? Expected{atMost, "at most "} : Expected{0, ""};
}

std::string barOf(double share) {
    const auto filled = static_cast<std::size_t>(BAR_WIDTH * share);
    return "[" + std::string(filled, '#') + std::string(BAR_WIDTH - filled, '.') + "] ";
}

// Counts frames from the first of the range, and time from its arrival, because frames before it take much less time,
// or much more.
std::string progressOf(int frame, const Range& range, double seconds, bool bar) {
    const int done = frame - range.first + 1;
    const Expected expected = expectedEnd(frame, range);
    // The first frame starts the clock.
    const double rate = (done - 1) / std::max(seconds, 1e-3);
    std::string text = "frame " + std::to_string(done);
    std::array<char, 64> number{};
    if (expected.last != 0) {
        const int all = expected.last - range.first + 1;
        if (bar) text = barOf(static_cast<double>(done) / all) + text;
        text += std::string(" of ") + expected.how + std::to_string(all);
    }
    std::snprintf(number.data(), number.size(), ", %.1f frames per second", rate);
    text += number.data();
    if (expected.last == 0 || rate <= 0) return text;
    const long left = std::lround((expected.last - frame) / rate);
    std::snprintf(number.data(), number.size(), ", %s%ld:%02ld left", expected.how, left / 60, left % 60);
    return text + number.data();
}

// For each frame of the range but the last, which showEnd reports.
void showProgress(Progress& progress, int frame, const Range& range) {
    const Clock::time_point now = Clock::now();
    const bool due =
        progress.terminal ? now - progress.shown >= BAR_EVERY : (frame - range.first + 1) % PLAIN_LINE_EVERY == 0;
    if (!due) return;
    progress.shown = now;
    const double seconds = std::chrono::duration<double>(now - progress.start).count();
    // The line before may have been longer.
    constexpr char TO_LINE_END[] = "\033[K";
    const std::string text = progressOf(frame, range, seconds, progress.terminal);
    dprintf(PROGRESS, progress.terminal ? "\r[*] %s%s" : "[*] %s%s\n", text.c_str(),
            progress.terminal ? TO_LINE_END : "");
}

void showEnd(const Progress& progress, int frame, const Range& range) {
    const double seconds = std::chrono::duration<double>(Clock::now() - progress.start).count();
    const Range whole = {range.first, frame, false};
    const std::string text = progressOf(frame, whole, seconds, progress.terminal);
    dprintf(PROGRESS, "%s[*] %s\n", progress.terminal ? "\r" : "", text.c_str());
}

// ---- Arguments ----------------------------------------------------------------------------------------------------

// Takes a positive number off the front of `text`; 0 if there is none.
int takeNumber(std::string_view& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0) return 0;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool readSize(std::string_view text, Size& size) {
    size.width = static_cast<unsigned>(takeNumber(text));
    if (!text.starts_with('x')) return false;
    text.remove_prefix(1);
    size.height = static_cast<unsigned>(takeNumber(text));
    return text.empty() && size.width > 0 && size.height > 0;
}

bool readRange(std::string_view first, std::string_view last, Range& range) {
    range.limited = last.starts_with('<');
    range.open = range.limited || last.starts_with('~');
    if (range.open) last.remove_prefix(1);
    const bool unknown = range.open && !range.limited && last.empty();
    range.first = takeNumber(first);
    range.last = takeNumber(last);
    return first.empty() && last.empty() && range.first > 0 && (unknown || range.last >= range.first);
}

void checkEnd(int frame, const Range& range) {
    const int status = endProgram(0);
    if (WIFSIGNALED(status)) fail("the demo was ended by signal %d after frame %d", WTERMSIG(status), frame);
    if (WEXITSTATUS(status) != 0) fail("the demo ended with status %d after frame %d", WEXITSTATUS(status), frame);
    if (frame < range.first || (!range.open && frame < range.last))
        fail("the demo ended after frame %d, before frame %d", frame, range.open ? range.first : range.last);
}

void streamFrames(Size size, const Range& range) {
    Progress progress;
    Pictures pictures;
    std::thread passing(passOnPictures, std::ref(pictures));
    int frame = 0;
    while (!range.isOver(frame)) {
        const int next = nextFrame();
        if (next == 0) {
            checkEnd(frame, range);
            break;
        }
        const bool follows = frame == 0 ? next <= range.first : next == frame + 1;
        if (!follows) fail("frame %d came after frame %d", next, frame);
        frame = next;
        if (frame >= range.first) decode(frame, size, pictures);
        if (frame == range.first) progress.start = Clock::now();
        const std::string name = fileOf(frame);
        if (unlink(name.c_str()) != 0) fail("frame %d is missing: %s: %s", frame, name.c_str(), std::strerror(errno));
        if (frame >= range.first && !range.isOver(frame)) showProgress(progress, frame, range);
    }
    finish(pictures, passing);
    showEnd(progress, frame, range);
}

}  // namespace

int main(int argc, char** argv) {
    Size size;
    Range range;
    if (argc < 5 || !readSize(argv[1], size) || !readRange(argv[2], argv[3], range)) {
        std::fputs("[!] frame_stream WIDTHxHEIGHT FIRST LAST|~LAST|<LAST PROGRAM [ARGUMENT ...]\n", stderr);
        return WRONG_ARGUMENTS;
    }
    // If descriptor 3 is closed, the pipe must not get its number.
    if (fcntl(PROGRESS, F_GETFD) < 0) dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), PROGRESS);
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, FRAME_PIPE_BYTES);
    startProgram(argv + 4);
    streamFrames(size, range);
    endProgram(SIGKILL);
    return 0;
}
