// text.h - text as coverage masks, drawn by libgd from a TrueType file
//
// Needs    the font file; libgd with FreeType. Never touches a display.
#pragma once

#include <string>
#include <vector>

// How much of each pixel is covered, 0..1. Row 0 is the top row.
struct Mask {
    int width, height;
    std::vector<float> coverage;
};

// Extent of a line of text, pixels from the pen's start on the baseline: x to the right, y down (top is
// negative).
struct TextExtent {
    float left, top, right, bottom;
};

// `size` is the em size in pixels. Ends the program with a message on standard error if the font cannot be used.
TextExtent measureText(const char* font, const std::string& text, float size);

// A mask of the given size with the text's pen starting at (x, baseline).
Mask textMask(const char* font, const std::string& text, float size, int width, int height, float x, float baseline);
