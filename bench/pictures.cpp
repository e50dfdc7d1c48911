// Times screenshots and textures, each beside a plain implementation that calls libgd for every pixel. Runs in the
// run directory.
#include "gl_window.h"
#include "picture.h"
#include "textures.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>
#include <gd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int WIDTH = 1280, HEIGHT = 720;
constexpr char TEXTURE[] = "data/images/spheres.png", OVERLAY[] = "data/images/focus_overlay2.png";
constexpr char SCREENSHOT[] = "benchmark.png";

void plainScreenshot(int width, int height, const char* filename, int level) {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    gdImage* image = gdImageCreateTrueColor(width, height);
    const unsigned char* pixel = pixels.data();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixel += 3)
            gdImageSetPixel(image, x, y, pixel[0] * 65536 + pixel[1] * 256 + pixel[2]);
    std::FILE* file = std::fopen(filename, "wb");
    gdImagePngEx(image, file, level);
    std::fclose(file);
    gdImageDestroy(image);
}

unsigned plainLoadPNG(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) std::abort();
    gdImage* image = gdImageCreateFromPng(file);
    std::fclose(file);
    std::vector<unsigned char> texels;
    for (int y = 0; y < gdImageSY(image); ++y)
        for (int x = 0; x < gdImageSX(image); ++x) {
            const int pixel = gdImageGetPixel(image, x, y);
            texels.push_back(static_cast<unsigned char>(gdImageRed(image, pixel)));
            texels.push_back(static_cast<unsigned char>(gdImageGreen(image, pixel)));
            texels.push_back(static_cast<unsigned char>(gdImageBlue(image, pixel)));
            texels.push_back(static_cast<unsigned char>((127 - gdImageAlpha(image, pixel)) * 255 / 127));
        }
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, 4, gdImageSX(image), gdImageSY(image), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 texels.data());
    gdImageDestroy(image);
    return texture;
}

void drawOverWindow(const char* path) {
    const GLuint texture = ryl_loadPNG(path);
    glEnable(GL_TEXTURE_2D);
    glBegin(GL_QUADS);
    for (const auto& [s, t] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
        glTexCoord2i(s, t);
        glVertex2i(2 * s - 1, 2 * t - 1);
    }
    glEnd();
    glDisable(GL_TEXTURE_2D);
    glDeleteTextures(1, &texture);
}

// Draws and keeps a picture like those of the demo: smooth in the middle, with the grain of the overlay around it.
void drawPicture() {
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    drawOverWindow(TEXTURE);
    drawOverWindow(OVERLAY);
    ryl_blendPicture(WIDTH, HEIGHT, 0);
}

// The part of a screenshot before the encoding.
void runReadBack(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<unsigned char> pixels(static_cast<std::size_t>(WIDTH) * HEIGHT * 4);
        ryl_readPicture(WIDTH, HEIGHT, pixels.data());
        benchmark::DoNotOptimize(pixels.data());
    }
}

template <void (*screenshot)(int, int, const char*, int)>
void runScreenshot(benchmark::State& state) {
    for (auto _ : state) screenshot(WIDTH, HEIGHT, SCREENSHOT, static_cast<int>(state.range(0)));
    std::remove(SCREENSHOT);
}

template <unsigned (*loadPNG)(const char*)>
void runLoadPNG(benchmark::State& state) {
    for (auto _ : state) {
        const GLuint texture = loadPNG(TEXTURE);
        glDeleteTextures(1, &texture);
    }
}

}  // namespace

BENCHMARK(runScreenshot<plainScreenshot>)->Name("screenshot/plain")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(runScreenshot<ryl_screenshot>)->Name("screenshot/ryl")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(runReadBack)->Name("screenshot/read-back")->Unit(benchmark::kMillisecond);
BENCHMARK(runLoadPNG<plainLoadPNG>)->Name("texture/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(runLoadPNG<ryl_loadPNG>)->Name("texture/ryl")->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    openTestWindow(WIDTH, HEIGHT);
    drawPicture();
    benchmark::RunSpecifiedBenchmarks();
}
