#include "png_writer.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace {

// Each band of rows is compressed on its own thread.
constexpr int BANDS = static_cast<int>(RYL_PNG_BANDS);
constexpr std::size_t PIXEL_BYTES = 4, SAMPLES = 3;
constexpr unsigned char FILTER_SUB = 1;  // each sample is stored as the difference from the pixel before

// Up to this level the filtered rows are compressed by run lengths alone. Most of a frame is smooth from pixel to
// pixel, so run lengths compress as well as the matches of the low levels, in half the time.
constexpr int LAST_RUN_LENGTH_LEVEL = 3;

struct Picture {
    int width, height;            // pixels
    const unsigned char* pixels;  // B, G, R and one byte more
    std::ptrdiff_t rowStep;       // bytes
};

struct EndStream {
    void operator()(z_stream* stream) const { deflateEnd(stream); }
};

void filterRow(const unsigned char* pixel, int width, unsigned char* filtered) {
    std::array<unsigned char, SAMPLES> before{};
    *filtered++ = FILTER_SUB;
    for (int x = 0; x < width; ++x, pixel += PIXEL_BYTES)
        for (std::size_t i = 0; i < SAMPLES; ++i) {
            const unsigned char sample = pixel[SAMPLES - 1 - i];
            *filtered++ = static_cast<unsigned char>(sample - before[i]);
            before[i] = sample;
        }
}

// The first band opens the stream. The last closes it, except for the checksum of all bands.
PngBand compressBand(const Picture& picture, int index, int level) {
    constexpr int DEFAULT_MEM_LEVEL = 8;
    constexpr uLong FLUSH_BYTES = 16;  // zlib's bound does not count a flush
    const auto rowOf = [&](int band) { return static_cast<int>(std::int64_t{picture.height} * band / BANDS); };
    const int firstRow = rowOf(index), endRow = rowOf(index + 1);
    std::vector<unsigned char> filtered(1 + static_cast<std::size_t>(picture.width) * SAMPLES);
    PngBand band = {adler32(0, nullptr, 0), filtered.size() * static_cast<std::size_t>(endRow - firstRow)};
    z_stream state = {};
    if (deflateInit2(&state, level, Z_DEFLATED, index == 0 ? MAX_WBITS : -MAX_WBITS, DEFAULT_MEM_LEVEL,
                     level <= LAST_RUN_LENGTH_LEVEL ? Z_RLE : Z_DEFAULT_STRATEGY) != Z_OK)
        return band;
    const std::unique_ptr<z_stream, EndStream> stream(&state);
    const uLong bound = deflateBound(stream.get(), static_cast<uLong>(band.length)) + FLUSH_BYTES;
    std::unique_ptr<unsigned char[]> deflated(new (std::nothrow) unsigned char[bound]);
    if (!deflated) return band;
    stream->next_out = deflated.get();
    stream->avail_out = static_cast<uInt>(bound);
    for (int row = firstRow; row < endRow; ++row) {
        filterRow(picture.pixels + row * picture.rowStep, picture.width, filtered.data());
        band.checksum = adler32(band.checksum, filtered.data(), static_cast<uInt>(filtered.size()));
        stream->next_in = filtered.data();
        stream->avail_in = static_cast<uInt>(filtered.size());
        deflate(stream.get(), Z_NO_FLUSH);
    }
    deflate(stream.get(), index == BANDS - 1 ? Z_FINISH : Z_SYNC_FLUSH);
    assert(stream->avail_in == 0 && stream->avail_out > 0);
    band.deflatedLength = bound - stream->avail_out;
    band.deflated = std::move(deflated);
    return band;
}

std::array<PngBand, RYL_PNG_BANDS> compressBands(const Picture& picture, int level) {
    std::array<std::future<PngBand>, BANDS> compressing;
    // If there is no thread, get() compresses the band.
    for (int i = 0; i < BANDS; ++i)
        compressing[static_cast<std::size_t>(i)] = std::async([=] { return compressBand(picture, i, level); });
    std::array<PngBand, RYL_PNG_BANDS> bands{};
    std::transform(compressing.begin(), compressing.end(), bands.begin(), [](auto& band) { return band.get(); });
    return bands;
}

std::array<unsigned char, 4> checksumOf(const std::array<PngBand, RYL_PNG_BANDS>& bands) {
    uLong sum = adler32(0, nullptr, 0);
    for (const PngBand& band : bands) sum = adler32_combine(sum, band.checksum, static_cast<z_off_t>(band.length));
    return {static_cast<unsigned char>(sum >> 24), static_cast<unsigned char>(sum >> 16),
            static_cast<unsigned char>(sum >> 8), static_cast<unsigned char>(sum)};
}

// libpng jumps back to the setjmp on any error, so no object here may have a destructor.
bool writeChunks(png_structp png, png_infop info, std::FILE* file, const CompressedPng& picture) {
    constexpr png_byte DATA[] = "IDAT", END[] = "IEND";
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (const PngBand& band : picture.bands) png_write_chunk(png, DATA, band.deflated.get(), band.deflatedLength);
    const std::array<unsigned char, 4> checksum = checksumOf(picture.bands);
    png_write_chunk(png, DATA, checksum.data(), checksum.size());
    png_write_chunk(png, END, nullptr, 0);
    return true;
}

// libpng's words are dropped: callers report the failure.
void ignoreWarning(png_structp, png_const_charp) {}
[[noreturn]] void jumpBack(png_structp png, png_const_charp) { png_longjmp(png, 1); }

}  // namespace

CompressedPng ryl_compressPng(int width, int height, const unsigned char* pixels, std::ptrdiff_t rowStep,
                              int level) try {
    return {width, height, compressBands({width, height, pixels, rowStep}, level)};
} catch (const std::bad_alloc&) {
    return {width, height};
}

bool ryl_writePng(std::FILE* file, const CompressedPng& picture) {
    const auto& bands = picture.bands;
    if (std::any_of(bands.begin(), bands.end(), [](const PngBand& band) { return !band.deflated; })) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jumpBack, ignoreWarning);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    const bool written = info != nullptr && writeChunks(png, info, file, picture);
    png_destroy_write_struct(&png, &info);
    return written;
}
