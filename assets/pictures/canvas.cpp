#include "canvas.h"

#include "file.h"

#include <gd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {

constexpr int PNG_LEVEL = 6;  // zlib level: beyond it the files hardly shrink

struct FreeImage {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};

int toByte(float value) { return static_cast<int>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f)); }

// Alpha for libgd: 0 opaque to 127 clear. Seven bits would show as bands in soft edges, so partly clear
// pixels are dithered by up to half a step; fully clear and fully opaque ones stay what they are.
int gdAlphaOf(float alpha, int x, int y) {
    const float clearness = (1.0f - std::clamp(alpha, 0.0f, 1.0f)) * gdAlphaMax;
    if (alpha <= 0.0f || alpha >= 1.0f) return static_cast<int>(std::lround(clearness));
    return std::clamp(static_cast<int>(std::floor(clearness + hash01(x, y, 7))), 0, gdAlphaMax);
}

// Colours without their alpha, also where nothing is painted: filtering draws on them. The rim around what is painted
// takes the mean of the painted neighbours, ring by ring; further out lies the picture's mean colour.
constexpr int RINGS = 4;
constexpr float DIAGONAL = 0.125f;  // weight of a neighbour across a corner

Texel plus(Texel a, Texel b) { return {a.red + b.red, a.green + b.green, a.blue + b.blue, a.alpha + b.alpha}; }

// The pixel at (x, y) from its painted neighbours; clear when there are none.
Texel fromNeighbours(const Canvas& canvas, int x, int y) {
    Texel sum = CLEAR;
    for (int ny = std::max(0, y - 1); ny <= std::min(canvas.height - 1, y + 1); ++ny)
        for (int nx = std::max(0, x - 1); nx <= std::min(canvas.width - 1, x + 1); ++nx) {
            const Texel& near = canvas.texels[static_cast<size_t>(ny) * canvas.width + nx];
            const float weight = nx == x || ny == y ? 1.0f : DIAGONAL;
            sum = plus(sum, faded(near, weight));
        }
    return sum;
}

void growRing(Canvas& canvas) {
    const Canvas before = canvas;
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            Texel& texel = canvas.texels[static_cast<size_t>(y) * canvas.width + x];
            if (texel.alpha > 0) continue;
            const Texel near = fromNeighbours(before, x, y);
            if (near.alpha > 0) texel = faded(near, 1.0f / near.alpha);
        }
}

std::vector<Vec3> continuedColours(Canvas canvas) {
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            Texel& texel = canvas.texels[static_cast<size_t>(y) * canvas.width + x];
            if (gdAlphaOf(texel.alpha, x, y) == gdAlphaTransparent) texel = CLEAR;
        }
    for (int ring = 0; ring < RINGS; ++ring) growRing(canvas);
    Texel mean = CLEAR;
    for (const Texel& texel : canvas.texels) mean = plus(mean, texel);
    std::vector<Vec3> colours;
    colours.reserve(canvas.texels.size());
    for (const Texel& own : canvas.texels) {
        const Texel& texel = own.alpha > 0 ? own : mean;
        const float scale = texel.alpha > 0 ? 1.0f / texel.alpha : 0.0f;
        colours.push_back({texel.red * scale, texel.green * scale, texel.blue * scale});
    }
    return colours;
}

}  // namespace

Canvas makeCanvas(int width, int height) {
    return {width, height, std::vector<Texel>(static_cast<size_t>(width) * height, CLEAR)};
}

void forEachRow(int rows, const std::function<void(int row)>& body) {
    std::atomic<int> next{0};
    const auto work = [&] {
        for (int row = next++; row < rows; row = next++) body(row);
    };
    std::vector<std::thread> helpers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) helpers.emplace_back(work);
    work();
    for (std::thread& helper : helpers) helper.join();
}

void paint(Canvas& canvas, int samples, const Shader& shader) {
    const float step = 1.0f / static_cast<float>(samples);
    forEachRow(canvas.height, [&](int row) {
        for (int column = 0; column < canvas.width; ++column) {
            Texel sum = CLEAR;
            for (int j = 0; j < samples; ++j)
                for (int i = 0; i < samples; ++i) {
                    const float x = static_cast<float>(column) + (static_cast<float>(i) + 0.5f) * step;
                    const float y = static_cast<float>(row) + (static_cast<float>(j) + 0.5f) * step;
                    sum = plus(sum, shader(x, y));
                }
            Texel& pixel = canvas.texels[static_cast<size_t>(row) * canvas.width + column];
            pixel = over(faded(sum, step * step), pixel);
        }
    });
}

bool writePng(const Canvas& canvas, const char* path) {
    const std::unique_ptr<gdImage, FreeImage> image(gdImageCreateTrueColor(canvas.width, canvas.height));
    const File file(std::fopen(path, "wb"));
    if (!image || !file) {
        std::fprintf(stderr, "[! %s] cannot be written\n", path);
        return false;
    }
    gdImageSaveAlpha(image.get(), 1);
    const std::vector<Vec3> colours = continuedColours(canvas);
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            const size_t i = static_cast<size_t>(y) * canvas.width + x;
            const Vec3 colour = colours[i];
            const int alpha = gdAlphaOf(canvas.texels[i].alpha, x, y);
            gdImageTrueColorPixel(image.get(), x, canvas.height - 1 - y) =
                gdTrueColorAlpha(toByte(colour.x), toByte(colour.y), toByte(colour.z), alpha);
        }
    gdImagePngEx(image.get(), file.get(), PNG_LEVEL);
    if (std::fflush(file.get()) == 0 && !std::ferror(file.get())) return true;
    std::remove(path);  // a broken file would look finished to the next build
    std::fprintf(stderr, "[! %s] cannot be written\n", path);
    return false;
}

// The integer mixing of Bob Jenkins' and Thomas Wang's hashes.
float hash01(int x, int y, int seed) {
    uint32_t h = static_cast<uint32_t>(x) * 0x8da6b343u + static_cast<uint32_t>(y) * 0xd8163841u +
                 static_cast<uint32_t>(seed) * 0xcb1ab31fu;
    h = (h ^ (h >> 16)) * 0x7feb352du;
    h = (h ^ (h >> 15)) * 0x846ca68bu;
    h ^= h >> 16;
    return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}
