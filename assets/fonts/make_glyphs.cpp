// make_glyphs - writes the glyph strip of the texture font, the letters a to z in equally wide cells, as a
// TGA file
//
// Uncompressed true-colour, 32 bit: white letters whose alpha is their coverage, bottom row first, so that a
// letter stands upright on a quad whose texture coordinates grow upwards.

#include "file.h"
#include "text.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int LETTERS = 26;
constexpr int CELL = 64;           // pixels, width and height
constexpr float EM = 56.0f;        // size of the face in a cell
constexpr float BASELINE = 45.0f;  // pixels from the top: leaves room for the tails of g and y
constexpr int BYTES_PER_PIXEL = 4;
constexpr unsigned char WHITE = 255;

Mask letterCell(const char* font, char letter) {
    const std::string text(1, letter);
    const TextExtent extent = measureText(font, text, EM);
    return textMask(font, text, EM, CELL, CELL, (CELL - extent.left - extent.right) / 2, BASELINE);
}

// Truevision TGA header: type 2 (uncompressed true-colour), origin in the lower left corner, 8 alpha bits.
std::array<unsigned char, 18> header(int width, int height) {
    std::array<unsigned char, 18> bytes{};
    bytes[2] = 2;
    bytes[12] = static_cast<unsigned char>(width % 256);
    bytes[13] = static_cast<unsigned char>(width / 256);
    bytes[14] = static_cast<unsigned char>(height % 256);
    bytes[15] = static_cast<unsigned char>(height / 256);
    bytes[16] = 8 * BYTES_PER_PIXEL;
    bytes[17] = 8;
    return bytes;
}

std::vector<unsigned char> strip(const char* font) {
    constexpr int WIDTH = LETTERS * CELL;
    std::vector<unsigned char> pixels(static_cast<size_t>(WIDTH) * CELL * BYTES_PER_PIXEL, WHITE);
    for (int letter = 0; letter < LETTERS; ++letter) {
        const Mask cell = letterCell(font, static_cast<char>('a' + letter));
        for (int y = 0; y < CELL; ++y)
            for (int x = 0; x < CELL; ++x) {
                const float coverage = cell.coverage[static_cast<size_t>(y) * CELL + x];
                const size_t at = static_cast<size_t>(CELL - 1 - y) * WIDTH + static_cast<size_t>(letter * CELL + x);
                pixels[at * BYTES_PER_PIXEL + 3] = static_cast<unsigned char>(std::lround(coverage * 255.0f));
            }
    }
    return pixels;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fputs("usage: make_glyphs FONT.ttf STRIP.tga\n", stderr);
        return 1;
    }
    const std::array<unsigned char, 18> head = header(LETTERS * CELL, CELL);
    const std::vector<unsigned char> pixels = strip(argv[1]);
    const File file(std::fopen(argv[2], "wb"));
    if (file && std::fwrite(head.data(), 1, head.size(), file.get()) == head.size() &&
        std::fwrite(pixels.data(), 1, pixels.size(), file.get()) == pixels.size() && std::fflush(file.get()) == 0)
        return 0;
    std::remove(argv[2]);  // a broken file would look finished to the next build
    std::fprintf(stderr, "[! %s] cannot be written\n", argv[2]);
    return 1;
}
