// png_writer.h - pictures as PNG files (ISO/IEC 15948), fast enough for a frame every few milliseconds
//
// Needs    nothing of the GL. Never flips rows: the first row given is the file's first.
#pragma once

#include <cstdio>

// Writes width x height pixels (both above 0) of four bytes, B, G, R and one that is ignored, as 8-bit RGB with zlib
// `level` 0 (stored) to 9 (smallest). Returns false when the memory cannot be had or the file does not take it all; the
// file is then torn. `file` stays the caller's and open.
bool ryl_writePng(std::FILE* file, int width, int height, const unsigned char* pixels, int level);
