// screenshot.h - a picture read back from the GL, and a PNG file made of it
//
// Needs    for reading, a current GL context and the GL thread; for writing nothing, on any thread.
// Prints   on standard output what cannot be had or written, in the words of ryl_screenshot.
#pragma once

#include "png_writer.h"

#include <cstddef>
#include <memory>

// Rows of four bytes a pixel, B, G, R and one that means nothing, as the GL holds them. Taken over and over again by
// ryl_readScreenshot, it keeps its memory.
struct Screenshot {
    int width = 0, height = 0;                         // pixels
    bool topFirst = false;                             // whether the first row is the upper one
    std::unique_ptr<unsigned char[]> bytes = nullptr;  // null where the size, or the memory for it, cannot be had
    std::size_t capacity = 0;                          // bytes
};

// Reads the lower left width x height pixels of the picture last drawn, black where it does not reach.
void ryl_readScreenshot(int width, int height, Screenshot& shot);

// What the file will hold, bottom row first, with zlib `level` 0 to 9; nothing for a level out of range or without bytes.
CompressedPng ryl_compressScreenshot(const Screenshot& shot, int level);

// Writes the file. One that cannot be written whole is removed; one that is being written delays the end by a signal
// (endings.h).
void ryl_writeScreenshot(const Screenshot& shot, const CompressedPng& png, const char* filename, int level);
