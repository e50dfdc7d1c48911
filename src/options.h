// options.h - the command line, and whether the sizes that it asks for can be used
//
// Needs    no GL.
// Prints   on standard output what it refuses or replaces.
#pragma once

struct PixelSize {
    int width = 0, height = 0;

    bool operator==(const PixelSize&) const = default;
};

// What the command line asks for; the values as atoi reads them.
struct Options {
    PixelSize size = {};     // "-w", "-h": 0 where not given
    bool fullScreen = true;  // false: "-nf"
    bool sound = true;       // false: "-m"
    bool capture = false;    // "-c"
    int level = 0;           // PNG compression, the value of "-c"; not judged here
    int scene = 0;           // "-s"
    bool upright = false;    // "--upright": of the saved picture
    bool live = false;       // "--live"
    int delay = 0;           // "--delay": of the picture against the sound, milliseconds
    int fromFrame = 1;       // "--from-frame": the first that is captured, from 1
};

constexpr int RYL_MAX_DELAY = 5000;  // milliseconds, either way

// If an argument is "--help" or "--version", prints that text and ends the process with status 0.
void ryl_printHelpOrVersion(int argc, const char* const* argv);

// Reads argv[1] to argv[argc - 1]. Tests each as an option, even the values of other options, and ignores unknown
// ones. "-c" as the last argument, and "--from-frame" without a number from 1 after it, end the process with -1 after
// a message. A "--delay" that is no whole number, or beyond RYL_MAX_DELAY, is ignored with a "[/]" line.
Options ryl_readOptions(int argc, const char* const* argv);

// What a size is used for.
enum class SizeUse { window, screenMode, capture };

constexpr int RYL_MAX_SIDE = 16384;  // pixels; the largest texture that today's GLs offer throughout

// Returns `asked`, or the default size of that use if a side is missing (0), below 2 or above `maxSide` pixels.
// Prints a "[/]" line if it replaces a size, unless it is a window's or screen mode's and a side is missing.
PixelSize ryl_usableSize(SizeUse use, const PixelSize& asked, int maxSide);
