// png_writer.h - pictures as PNG files (ISO/IEC 15948), fast enough for a frame every few milliseconds
//
// Needs    nothing of the GL. Compresses on four threads whatever the processors, so the bytes are the same everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

// A piece of the picture's zlib stream (RFC 1950) that ends on a byte and refers to nothing before it.
struct PngBand {
    unsigned long checksum = 0;                           // Adler-32 of the filtered rows
    std::size_t length = 0;                               // of the filtered rows, bytes
    std::unique_ptr<unsigned char[]> deflated = nullptr;  // null where the memory could not be had
    std::size_t deflatedLength = 0;
};

// The number is fixed, so that the same picture gives the same file on every machine.
constexpr std::size_t RYL_PNG_BANDS = 4;

// A picture on its way to a file.
struct CompressedPng {
    int width = 0, height = 0;  // pixels
    std::array<PngBand, RYL_PNG_BANDS> bands = {};
};

// Compresses width x height pixels (both above 0) of four bytes, B, G, R and one that is ignored, as 8-bit RGB with zlib
// `level` 0 (stored) to 9 (smallest). `pixels` is the file's first row; the next is `rowStep` bytes further, or before
// where that is negative.
CompressedPng ryl_compressPng(int width, int height, const unsigned char* pixels, std::ptrdiff_t rowStep, int level);

// Writes the file. Returns false when compressing has found no memory or the file does not take it all; the file is then
// torn. `file` stays the caller's and open.
bool ryl_writePng(std::FILE* file, const CompressedPng& picture);
