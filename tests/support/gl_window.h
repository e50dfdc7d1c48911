// gl_window.h - a real GL window for tests that look at pixels
//
// The window is a GLUT window (double buffered, RGBA, depth) on a private display; GLEW is initialised.
#pragma once

#include <ostream>

// One pixel as the GL reports it, 8 bits per channel.
struct Pixel {
    int red, green, blue, alpha;
    bool operator==(const Pixel&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Pixel& pixel);

// Opens the window and makes its context current. Call once per process, first thing in a test.
void openTestWindow(int width, int height);

// The pixel at column x, row y (row 0 is the bottom) of the framebuffer that is bound for reading.
Pixel pixelAt(int x, int y);

// True when no channel of `pixel` is further than `tolerance` from the expected red, green, blue.
bool isColour(const Pixel& pixel, int red, int green, int blue, int tolerance = 1);
