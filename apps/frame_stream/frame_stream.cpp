// frame_stream - runs the demo in capture mode and passes its frames on as they are written
//
//     frame_stream WIDTHxHEIGHT FIRST LAST PROGRAM [ARGUMENT ...]
//
// Starts PROGRAM in the working directory and waits for its "[CAPTURE] frame N" lines. Each frame from FIRST to
// LAST (numbered from 1) goes to standard output as raw pixels: WIDTH x HEIGHT x 3 bytes, red, green, blue, the
// picture's top row first. Every file capture/N.png is removed once it is passed on or skipped. A LAST of the form
// ~N means that the program's own end is the end, N being what is expected.
// Progress goes to descriptor 3 where that is open: a bar on a terminal, else plain lines.
// Exit status 0: every frame was passed on. 1: a frame is missing, empty, damaged or of another size, or the program
// failed or went silent; one "[!]" line on standard error says which. 2: wrong arguments. 3: the reader of standard
// output is gone.
//
// The program is never more than a few frames ahead: its lines go through a pipe in packet mode, in which each line
// takes one of a fixed number of places, and a full pipe makes it wait.
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
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int FAILED = 1, WRONG_ARGUMENTS = 2, NO_READER = 3;
constexpr int PROGRESS = 3;                // descriptor
constexpr int SILENCE_LIMIT_MS = 120'000;  // the slowest frame, loading included, takes seconds
constexpr int LINES_AHEAD = 16;            // places in the program's pipe: how many frames may wait
constexpr int PAGE = 4096;                 // bytes in one place of a pipe
constexpr int FRAME_PIPE_BYTES = 1 << 20;  // the most that an ordinary user may ask for
constexpr std::size_t LINES_KEPT = 6;      // of the program's other output, to show when it fails
constexpr int PLAIN_LINE_EVERY = 200;      // frames
constexpr auto BAR_EVERY = std::chrono::milliseconds(100);
constexpr int BAR_WIDTH = 30;  // characters
constexpr std::string_view FRAME_LINE = "[CAPTURE] frame ";

struct Range {
    int first = 0, last = 0;  // frame numbers
    bool open = false;        // last is only expected: the program's end decides
};

struct Size {
    unsigned width = 0, height = 0;  // pixels
};

// The program and what it has printed besides its frame lines. There is one, for the signal handler.
struct Source {
    volatile pid_t process = -1;
    int lines = -1;  // descriptor
    std::string text;
    std::deque<std::string> remarks;
};
Source source;

// ---- The program --------------------------------------------------------------------------------------------------

// Only what a signal handler may call. Returns the status as waitpid gives it.
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
    std::exit(FAILED);
}

void startProgram(char** command) {
    struct sigaction ending = {}, inherited = {};
    ending.sa_handler = onSignal;
    // What a shell or nohup has had ignored stays so.
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP})
        if (sigaction(signalNumber, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
            sigaction(signalNumber, &ending, nullptr);
    signal(SIGPIPE, SIG_IGN);

    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_DIRECT) != 0) fail("no pipe for the demo's lines: %s", std::strerror(errno));
    // Without room for that many places the pipe stays as it is, which is fewer.
    fcntl(ends[1], F_SETPIPE_SZ, LINES_AHEAD * PAGE);
    const pid_t parent = getpid();
    source.process = fork();
    if (source.process < 0) fail("the demo does not start: %s", std::strerror(errno));
    if (source.process == 0) {
        // Goes with its parent, whichever way that ends.
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

// The number in a frame line, 0 in any other.
int frameNumber(std::string_view line) {
    if (!line.starts_with(FRAME_LINE)) return 0;
    line.remove_prefix(FRAME_LINE.size());
    int number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    return error == std::errc() && end == line.data() + line.size() ? number : 0;
}

// Reads on to the next frame line. 0 at the end of the program's output.
int nextFrame() {
    std::string line;
    while (nextLine(line)) {
        const int number = frameNumber(line);
        if (number != 0) return number;
        source.remarks.push_back(line);
        if (source.remarks.size() > LINES_KEPT) source.remarks.pop_front();
    }
    return 0;
}

// ---- Frames -------------------------------------------------------------------------------------------------------

// The chunk that every PNG file ends with: no data, its name, its checksum.
constexpr std::array<unsigned char, 12> PNG_END = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xae, 0x42, 0x60, 0x82};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string fileOf(int frame) { return "capture/" + std::to_string(frame) + ".png"; }

// Decodes a whole frame, so that no damage passes. Its rows run from the bottom of the picture to the top;
// `pixels` takes them top row first.
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

void passOn(const std::vector<std::uint8_t>& pixels) {
    std::size_t done = 0;
    while (done < pixels.size()) {
        const ssize_t count = write(STDOUT_FILENO, pixels.data() + done, pixels.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EPIPE) {
            endProgram(SIGKILL);
            std::exit(NO_READER);
        }
        if (count < 0) fail("frames cannot be passed on: %s", std::strerror(errno));
        done += static_cast<std::size_t>(count);
    }
}

// ---- Progress -----------------------------------------------------------------------------------------------------

struct Progress {
    bool terminal = isatty(PROGRESS) != 0;
    Clock::time_point start = Clock::now(), shown;
};

void showProgress(Progress& progress, int frame, const Range& range, bool finished) {
    const Clock::time_point now = Clock::now();
    const bool due = progress.terminal ? now - progress.shown >= BAR_EVERY : frame % PLAIN_LINE_EVERY == 0;
    if (!due && !finished) return;
    progress.shown = now;
    const double seconds = std::max(std::chrono::duration<double>(now - progress.start).count(), 1e-3);
    const double rate = frame / seconds;
    const int left = finished ? 0 : static_cast<int>(std::lround(std::max(range.last - frame, 0) / rate));
    std::string bar;
    if (progress.terminal) {
        const int filled = finished ? BAR_WIDTH : std::min(BAR_WIDTH * frame / range.last, BAR_WIDTH);
        bar = "[" + std::string(static_cast<std::size_t>(filled), '#') +
              std::string(static_cast<std::size_t>(BAR_WIDTH - filled), '.') + "] ";
    }
    dprintf(PROGRESS, "%s[*] %sframe %d of %s%d, %.1f frames per second, %d:%02d left%s",
            progress.terminal ? "\r" : "", bar.c_str(), frame, range.open && !finished ? "about " : "",
            finished ? frame : range.last, rate, left / 60, left % 60, progress.terminal && !finished ? " " : "\n");
}

// ---- Arguments ----------------------------------------------------------------------------------------------------

// Takes a positive number off the front of `text`, 0 where there is none.
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
    range.open = last.starts_with('~');
    if (range.open) last.remove_prefix(1);
    range.first = takeNumber(first);
    range.last = takeNumber(last);
    return first.empty() && last.empty() && range.first > 0 && range.last >= range.first;
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
    std::vector<std::uint8_t> pixels;
    int frame = 0;
    while (range.open || frame < range.last) {
        const int next = nextFrame();
        if (next == 0) {
            checkEnd(frame, range);
            break;
        }
        if (next != frame + 1) fail("frame %d came after frame %d", next, frame);
        frame = next;
        if (frame >= range.first) {
            readFrame(frame, size, pixels);
            passOn(pixels);
        }
        const std::string name = fileOf(frame);
        if (unlink(name.c_str()) != 0) fail("frame %d is missing: %s: %s", frame, name.c_str(), std::strerror(errno));
        showProgress(progress, frame, range, false);
    }
    showProgress(progress, frame, range, true);
}

}  // namespace

int main(int argc, char** argv) {
    Size size;
    Range range;
    if (argc < 5 || !readSize(argv[1], size) || !readRange(argv[2], argv[3], range)) {
        std::fputs("[!] frame_stream WIDTHxHEIGHT FIRST LAST|~LAST PROGRAM [ARGUMENT ...]\n", stderr);
        return WRONG_ARGUMENTS;
    }
    // A progress descriptor that nobody gave must not become the pipe.
    if (fcntl(PROGRESS, F_GETFD) < 0) dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), PROGRESS);
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, FRAME_PIPE_BYTES);
    startProgram(argv + 4);
    streamFrames(size, range);
    endProgram(SIGKILL);
    return 0;
}
