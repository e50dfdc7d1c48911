#include "canvas.h"

#include <gd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {

constexpr int PNG_LEVEL = 6;  // zlib level: beyond it the files hardly shrink

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
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

// Colours without their alpha. Where a pixel is clear, the colour is averaged from ever coarser copies of the
// picture (push-pull), so it continues that of the nearest covered pixels.
struct Level {
    int width, height;
    std::vector<Texel> texels;  // premultiplied
};

Level halved(const Level& fine) {
    Level coarse{(fine.width + 1) / 2, (fine.height + 1) / 2, {}};
    coarse.texels.assign(static_cast<size_t>(coarse.width) * coarse.height, CLEAR);
    for (int y = 0; y < fine.height; ++y)
        for (int x = 0; x < fine.width; ++x) {
            const Texel& from = fine.texels[static_cast<size_t>(y) * fine.width + x];
            Texel& to = coarse.texels[static_cast<size_t>(y / 2) * coarse.width + x / 2];
            to = {to.red + from.red, to.green + from.green, to.blue + from.blue, to.alpha + from.alpha};
        }
    for (Texel& texel : coarse.texels)
        if (texel.alpha > 1.0f) texel = faded(texel, 1.0f / texel.alpha);
    return coarse;
}

std::vector<Vec3> continuedColours(const Canvas& canvas) {
    std::vector<Level> levels{{canvas.width, canvas.height, canvas.texels}};
    while (levels.back().width > 1 || levels.back().height > 1) levels.push_back(halved(levels.back()));
    for (size_t i = levels.size() - 1; i-- > 0;) {
        Level& fine = levels[i];
        const Level& coarse = levels[i + 1];
        for (int y = 0; y < fine.height; ++y)
            for (int x = 0; x < fine.width; ++x) {
                Texel& texel = fine.texels[static_cast<size_t>(y) * fine.width + x];
                texel = over(texel, coarse.texels[static_cast<size_t>(y / 2) * coarse.width + x / 2]);
            }
    }
    std::vector<Vec3> colours;
    colours.reserve(canvas.texels.size());
    for (size_t i = 0; i < canvas.texels.size(); ++i) {
        const Texel& own = canvas.texels[i];
        const Texel& texel = own.alpha > 1.0f / 64 ? own : levels[0].texels[i];
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
                    const Texel texel = shader(x, y);
                    sum = {sum.red + texel.red, sum.green + texel.green, sum.blue + texel.blue,
                           sum.alpha + texel.alpha};
                }
            Texel& pixel = canvas.texels[static_cast<size_t>(row) * canvas.width + column];
            pixel = over(faded(sum, step * step), pixel);
        }
    });
}

bool writePng(const Canvas& canvas, const char* path) {
    const std::unique_ptr<gdImage, FreeImage> image(gdImageCreateTrueColor(canvas.width, canvas.height));
    const std::unique_ptr<FILE, CloseFile> file(std::fopen(path, "wb"));
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
