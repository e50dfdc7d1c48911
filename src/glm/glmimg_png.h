// glmimg_png.h - what the PNG reader keeps for the process
//
// glmReadPNG itself is in glm.h. One image is read at a time, on one thread: libpng's errors come back
// through one jump buffer.
#pragma once

#include <png.h>

#include <csetjmp>
#include <cstdint>

// Result of the last glmReadPNG: 0 read, 1 file not opened, 2 decoder or image memory not obtained, 3
// decoding error.
extern std::int32_t pngerror;

// Where err_callback returns to: set while an image is being decoded.
extern std::jmp_buf setjmp_buffer;

// libpng's reports: a line on standard error. An error does not return, it jumps.
void warn_callback(png_structp png, png_const_charp message);
[[noreturn]] void err_callback(png_structp png, png_const_charp message);
