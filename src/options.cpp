#include "options.h"

#include "version.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>

namespace {

constexpr char HELP[] =
    "Usage: ryl [OPTION ...]\n"
    "A real-time audiovisual demo: scenes of OpenGL in step with a soundtrack, 137 seconds.\n"
    "\n"
    "  -nf                  a window instead of the full screen\n"
    "  -w WIDTH -h HEIGHT   pixels of the window, the screen mode, captured frames; both or neither\n"
    "  -m                   silent: no sound, and its own clock\n"
    "  -s SCENE             start at scene 1, 3, 5 (greetings), 2, 4 (walls) or 6 (the end)\n"
    "  -c LEVEL             capture: a picture for every 25 ms, capture/1.png, 2.png ...; PNG level 0 to 9\n"
    "  --from-frame N       capture from frame N on; earlier frames are not written\n"
    "  --delay MS           show the picture MS milliseconds later than the sound, or earlier: --delay -80\n"
    "  --upright            the key s saves the picture with its top row first\n"
    "  --live               load shaders, pictures, texts, tracks and the tune again when their file is saved\n"
    "  --help, --version    print this, or the version, and end\n"
    "\n"
    "Keys: space (pause), left and right (one second), s (screenshot.png), Escape (quit).\n"
    "Keys of --live: home, end, page up and down (scenes), comma and full stop (frames), l (loops the scene).\n";

constexpr int MIN_SIDE = 2;  // pixels; GLUT never draws a window that is one pixel wide or high

// The number that `text` is; nothing if it is none or null.
std::optional<int> wholeNumber(const char* text) {
    const std::string_view digits = text == nullptr ? "" : text;
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

int frameNumber(const char* value) {
    const std::optional<int> number = wholeNumber(value);
    if (number >= 1) return *number;
    std::puts("[!] --from-frame <number from 1>");
    std::exit(-1);
}

int delayOf(const char* value) {
    const std::optional<int> delay = wholeNumber(value);
    if (delay && *delay >= -RYL_MAX_DELAY && *delay <= RYL_MAX_DELAY) return *delay;
    std::printf("[/] --delay takes milliseconds from -%d to %d, it is ignored: %s\n", RYL_MAX_DELAY, RYL_MAX_DELAY,
                value != nullptr ? value : "none given");
    return 0;
}

// Tests one argument against every option. `value` is the argument after it, null at the end; callers test it as an
// option too.
void readOption(std::string_view option, const char* value, Options& options) {
    if (option == "-w" && options.size.width == 0 && value != nullptr) options.size.width = std::atoi(value);
    if (option == "-h" && options.size.height == 0 && value != nullptr) options.size.height = std::atoi(value);
    if (option == "-nf") options.fullScreen = false;
    if (option == "-m") options.sound = false;
    if (option == "--upright") options.upright = true;
    if (option == "-c") {
        if (value == nullptr) {
            std::puts("[!] -c <compressionlevel 0-9>");
            std::exit(-1);
        }
        options.level = std::atoi(value);
        options.capture = true;
    }
    if (option == "--from-frame") options.fromFrame = frameNumber(value);
    if (option == "--live") options.live = true;
    if (option == "-s" && value != nullptr) options.scene = std::atoi(value);
    if (option == "--delay") options.delay = delayOf(value);
}

struct SizeRule {
    const char* name;  // what has the size
    PixelSize standard;
    bool silent;  // no line if the size is missing
};

const SizeRule& ruleOf(SizeUse use) {
    static constexpr SizeRule WINDOW = {"a window", {640, 480}, true};
    static constexpr SizeRule SCREEN_MODE = {"a screen mode", {1280, 800}, true};
    static constexpr SizeRule CAPTURED = {"captured frames", {640, 480}, false};
    switch (use) {
    case SizeUse::window:
        return WINDOW;
    case SizeUse::screenMode:
        return SCREEN_MODE;
    case SizeUse::capture:
        break;
    }
    return CAPTURED;
}

}  // namespace

void ryl_printHelpOrVersion(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (option != "--help" && option != "--version") continue;
        if (option == "--help")
            std::fputs(HELP, stdout);
        else
            std::printf("ryl %s\n", RYL_VERSION);
        std::exit(0);
    }
}

Options ryl_readOptions(int argc, const char* const* argv) {
    Options options;
    for (int i = 1; i < argc; ++i) readOption(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, options);
    return options;
}

PixelSize ryl_usableSize(SizeUse use, const PixelSize& asked, int maxSide) {
    const auto fits = [&](int side) { return side >= MIN_SIDE && side <= maxSide; };
    if (fits(asked.width) && fits(asked.height)) return asked;
    const auto& [name, standard, silent] = ruleOf(use);
    const bool missing = asked.width == 0 || asked.height == 0;
    if (!missing || !silent)
        std::printf("[/] %d x %d is no size for %s, taking %d x %d\n", asked.width, asked.height, name,
                    standard.width, standard.height);
    return standard;
}
