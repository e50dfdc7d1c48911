// png_writer.h - pictures as PNG files (ISO/IEC 15948), fast enough for a frame every few milliseconds
//
// Needs    no GL. Compresses on four threads on every machine, so the bytes are the same everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

// A piece of the picture's zlib stream (RFC 1950) that ends on a byte and does not refer to earlier pieces.
struct PngBand {
    unsigned long checksum = 0;                           // Adler-32 of the filtered rows
    std::size_t length = 0;                               // of the filtered rows, bytes
    std::unique_ptr<unsigned char[]> deflated = nullptr;  // null if there was no memory
    std::size_t deflatedLength = 0;
};

// The number is fixed, so that the same picture gives the same file on every machine.
constexpr std::size_t RYL_PNG_BANDS = 4;

// A picture on its way to a file.
struct CompressedPng {
    int width = 0, height = 0;  // pixels
    std::array<PngBand, RYL_PNG_BANDS> bands = {};
};

// Compresses width x height pixels (both above 0) of four bytes, B, G, R and one that is ignored, as 8-bit RGB with
// zlib `level` 0 (stored) to 9 (smallest). `pixels` is the file's first row; each row begins `rowStep` bytes, which
// may be negative, after the one before.
CompressedPng ryl_compressPng(int width, int height, const unsigned char* pixels, std::ptrdiff_t rowStep, int level);

// Writes the file. Returns false if a band has no memory or if writing fails; the file is then incomplete. `file`
// stays open and belongs to the caller.
bool ryl_writePng(std::FILE* file, const CompressedPng& picture);
