// png_writer.h - pictures as PNG files (ISO/IEC 15948), fast enough for a frame every few milliseconds
//
// Needs    nothing of the GL. Compresses on four threads whatever the processors, so the bytes are the same everywhere.
#pragma once

#include <cstddef>
#include <cstdio>

// Writes width x height pixels (both above 0) of four bytes, B, G, R and one that is ignored, as 8-bit RGB with zlib
// `level` 0 (stored) to 9 (smallest). `pixels` is the file's first row; the next is `rowStep` bytes further, or before
// where that is negative. Returns false when the memory cannot be had or the file does not take it all; the file is then
// torn. `file` stays the caller's and open.
bool ryl_writePng(std::FILE* file, int width, int height, const unsigned char* pixels, std::ptrdiff_t rowStep,
                  int level);
