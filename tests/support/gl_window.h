// gl_window.h - a GLUT window (double buffered, RGBA, depth) on a private display, with GLEW initialised
#pragma once

#include <ostream>

struct Pixel {
    int red, green, blue, alpha;  // 0 to 255
    bool operator==(const Pixel&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Pixel& pixel);

// Opens the window and makes its context current; once per process.
void openTestWindow(int width, int height);

// Of the framebuffer that is bound for reading; row 0 is the bottom.
Pixel pixelAt(int x, int y);

// Whether no channel, alpha aside, is further than `tolerance` from the expected one.
bool isColour(const Pixel& pixel, int red, int green, int blue, int tolerance = 1);
