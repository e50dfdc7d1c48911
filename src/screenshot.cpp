#include "screenshot.h"

#include "endings.h"
#include "picture.h"
#include "system.h"

#include <algorithm>
#include <cstdio>
#include <new>

namespace {

constexpr std::size_t PIXEL_BYTES = 4;

bool isLevel(int level) { return level >= 0 && level <= 9; }

// Bytes that the picture takes; 0 if width or height is not above 0.
std::size_t bytesOf(int width, int height) {
    if (width <= 0 || height <= 0) return 0;
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * PIXEL_BYTES;
}

void reserve(Screenshot& shot, std::size_t count) {
    if (count != 0 && count <= shot.capacity) return;
    shot.bytes.reset();
    if (count != 0) shot.bytes.reset(new (std::nothrow) unsigned char[count]);
    shot.capacity = shot.bytes ? count : 0;
}

}  // namespace

void ryl_readScreenshot(int width, int height, Screenshot& shot) {
    const std::size_t count = bytesOf(width, height);
    shot.width = width;
    shot.height = height;
    reserve(shot, count);
    if (!shot.bytes) return;
    std::fill_n(shot.bytes.get(), count, static_cast<unsigned char>(0));
    shot.topFirst = ryl_readPicture(width, height, shot.bytes.get());
}

CompressedPng ryl_compressScreenshot(const Screenshot& shot, int level, RowOrder order) {
    if (!shot.bytes || !isLevel(level)) return {};
    const auto rowBytes = static_cast<std::ptrdiff_t>(shot.width) * static_cast<std::ptrdiff_t>(PIXEL_BYTES);
    const unsigned char* const first = shot.bytes.get();
    const unsigned char* const last = first + (shot.height - 1) * rowBytes;
    const bool turned = shot.topFirst != (order == RowOrder::topFirst);
    return ryl_compressPng(shot.width, shot.height, turned ? last : first, turned ? -rowBytes : rowBytes, level);
}

void ryl_writeScreenshot(const Screenshot& shot, const CompressedPng& png, const char* filename, int level) {
    if (!shot.bytes) {
        std::printf("[/] no memory for a picture of %d x %d. screenshot not performed\n", shot.width, shot.height);
        return;
    }
    ryl_delayEnding(true);
    File file(std::fopen(filename, "wb"));
    if (!file) {
        ryl_delayEnding(false);
        std::printf("couldn't open %s for writing. screenshot not performed\n", filename);
        return;
    }
    if (!isLevel(level)) {
        file.reset();
        ryl_delayEnding(false);
        std::puts("[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo");
        return;
    }
    const bool written = ryl_writePng(file.get(), png);
    const bool whole = std::fclose(file.release()) == 0 && written;
    if (!whole) std::remove(filename);
    ryl_delayEnding(false);
    if (!whole) std::printf("[/] couldn't write %s. screenshot not performed\n", filename);
}
