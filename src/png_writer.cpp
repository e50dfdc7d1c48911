#include "png_writer.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstddef>

namespace {

// Run lengths behind the filter "sub" are as small as what the low levels find with matches, in half the time: most of a
// frame is smooth from pixel to pixel.
constexpr int LAST_RUN_LENGTH_LEVEL = 3;
constexpr std::size_t CHUNK_BYTES = 1 << 16;  // of the file's data, each with its own checksum and write

// libpng jumps back to the setjmp on any error: no object with a destructor may live in here.
bool writeRows(png_structp png, png_infop info, std::FILE* file, int width, int height, const unsigned char* pixels,
               int level) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_compression_level(png, level);
    png_set_compression_buffer_size(png, CHUNK_BYTES);
    if (level <= LAST_RUN_LENGTH_LEVEL) png_set_compression_strategy(png, Z_RLE);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
    for (int row = 0; row < height; ++row) png_write_row(png, pixels + static_cast<std::size_t>(row) * rowBytes);
    png_write_end(png, info);
    return true;
}

// What failed is the caller's to say.
void ignoreWarning(png_structp, png_const_charp) {}
[[noreturn]] void jumpBack(png_structp png, png_const_charp) { png_longjmp(png, 1); }

}  // namespace

bool ryl_writePng(std::FILE* file, int width, int height, const unsigned char* pixels, int level) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jumpBack, ignoreWarning);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    const bool written = info != nullptr && writeRows(png, info, file, width, height, pixels, level);
    png_destroy_write_struct(&png, &info);
    return written;
}
