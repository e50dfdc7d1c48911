// screenshot.h - reads a picture back from the GL and makes a PNG file of it
//
// Needs    a current GL context and the GL thread to read; nothing to compress and write, on any thread.
// Prints   ryl_screenshot's messages on standard output.
#pragma once

#include "png_writer.h"

#include <cstddef>
#include <memory>

// Rows of four bytes a pixel, B, G, R and one that means nothing, as the GL holds them. ryl_readScreenshot uses the
// memory of a record again if it is large enough.
struct Screenshot {
    int width = 0, height = 0;                         // pixels
    bool topFirst = false;                             // whether the first row is the upper one
    std::unique_ptr<unsigned char[]> bytes = nullptr;  // null if the size is no size or there is no memory for it
    std::size_t capacity = 0;                          // bytes
};

// Reads the lower left width x height pixels of the picture last drawn; what lies outside it is black.
void ryl_readScreenshot(int width, int height, Screenshot& shot);

// Which row a file begins with.
enum class RowOrder { bottomFirst, topFirst };

// Compresses the picture in the given order of rows with zlib `level` 0 to 9. Returns an empty record if the level is
// out of range or the picture has no bytes.
CompressedPng ryl_compressScreenshot(const Screenshot& shot, int level, RowOrder order = RowOrder::bottomFirst);

// Writes the file and removes it if it cannot be written whole. While it writes, the end by a signal waits
// (endings.h).
void ryl_writeScreenshot(const Screenshot& shot, const CompressedPng& png, const char* filename, int level);
