// glmimg_png.h - what the PNG reader keeps for the process
//
// glmReadPNG itself is in glm.h. It reads one image at a time, on one thread, because libpng's errors come back
// through one jump buffer.
#pragma once

#include <png.h>

#include <csetjmp>
#include <cstdint>

// Result of the last glmReadPNG: 0 the image was read, 1 the file was not opened, 2 there was no memory for decoder
// or image, 3 decoding failed.
extern std::int32_t pngerror;

// err_callback returns here; set while an image is decoded.
extern std::jmp_buf setjmp_buffer;

// libpng's reports, each a line on standard error. An error jumps instead of returning.
void warn_callback(png_structp png, png_const_charp message);
[[noreturn]] void err_callback(png_structp png, png_const_charp message);
