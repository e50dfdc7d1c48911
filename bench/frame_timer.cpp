// Times the phases of the demo's frames. After the last frame that counts it prints the median of each phase and ends
// the program. The demo does not know of it: the linker replaces the calls that begin a phase with the functions at
// the end of this file (--wrap).
#include "fbo.h"
#include "layers.h"
#include "picture.h"
#include "scenes/cube_batch.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

enum class FramePhase {
    content,      // noise, positions, colours
    submission,   // the scene's GL calls
    rasterising,  // the driver's work until the scene target is drawn
    composite,    // the scene's picture, bands and overlay
    blur,
    swap,
    end,
};

// Six to ten seconds after its start every scene shows everything that it has.
constexpr std::size_t FIRST_FRAME = 240, FRAMES = 160;
constexpr std::size_t PHASES = static_cast<std::size_t>(FramePhase::end);

using FrameTimes = std::array<double, PHASES>;  // milliseconds

std::vector<FrameTimes> frames;
FrameTimes current{};
FramePhase phase = FramePhase::end;
Clock::time_point entered;

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void report() {
    const auto print = [](const auto& timeOf) {
        std::vector<double> times;
        for (auto frame = frames.begin() + FIRST_FRAME; frame != frames.end(); ++frame)
            times.push_back(timeOf(*frame));
        std::printf(" %7.2f", median(times));
    };
    std::fputs("FRAME", stdout);
    for (std::size_t i = 0; i < PHASES; ++i) print([i](const FrameTimes& frame) { return frame[i]; });
    print([](const FrameTimes& frame) { return std::accumulate(frame.begin(), frame.end(), 0.0); });
    std::puts("");
}

// Starts a phase of the frame, which lasts until the next call. The times of a phase that is entered twice add up.
void enterPhase(FramePhase next) {
    // A phase includes the drawing that it has submitted. Only the scene's drawing has its own phase, rasterising.
    if (next != FramePhase::submission && next != FramePhase::rasterising && next != FramePhase::content) glFinish();
    const auto now = Clock::now();
    if (phase != FramePhase::end)
        current[static_cast<std::size_t>(phase)] += std::chrono::duration<double, std::milli>(now - entered).count();
    phase = next;
    entered = now;
    if (phase != FramePhase::end) return;
    if (current[0] > 0) frames.push_back(current);
    current = {};
    if (frames.size() == FIRST_FRAME + FRAMES) {
        report();
        std::exit(0);
    }
}

}  // namespace

// RYL_WRAP(RESULT, NAME, SYMBOL, (PARAMETERS)): declares realNAME, the function of that symbol, and wrappedNAME,
// which the demo calls instead.
#define RYL_WRAP(result, name, symbol, parameters)      \
    result real##name parameters asm("__real_" symbol); \
    result wrapped##name parameters asm("__wrap_" symbol)

RYL_WRAP(unsigned, EnableFBO, "_Z13ryl_enableFBOifff", (int, float, float, float));
RYL_WRAP(void, DrawBatch, "_Z9drawBatchRKSt6vectorI10CubeCornerSaIS0_EE", (const CubeBatch&));
RYL_WRAP(void, FinishFrame, "_Z15ryl_finishFrameiiRK13PictureLayersfRKSt8functionIFvvEE",
         (int, int, const PictureLayers&, float, const DrawOver&));
RYL_WRAP(void, BlendPicture, "_Z16ryl_blendPictureiif", (int, int, float));
RYL_WRAP(void, SwapBuffers, "glutSwapBuffers", ());

unsigned wrappedEnableFBO(int id, float red, float green, float blue) {
    const unsigned texture = realEnableFBO(id, red, green, blue);
    enterPhase(FramePhase::content);
    return texture;
}

void wrappedDrawBatch(const CubeBatch& batch) {
    enterPhase(FramePhase::submission);
    realDrawBatch(batch);
    enterPhase(FramePhase::content);
}

// A frame with something to draw over it, even an empty function, is not finished in one pass.
void wrappedFinishFrame(int width, int height, const PictureLayers& layers, float blur, const DrawOver& over) {
    enterPhase(FramePhase::rasterising);
    enterPhase(FramePhase::composite);
    realFinishFrame(width, height, layers, blur, RYL_ONE_PASS || over ? over : DrawOver([] {}));
}

void wrappedBlendPicture(int width, int height, float weight) {
    enterPhase(FramePhase::blur);
    realBlendPicture(width, height, weight);
}

void wrappedSwapBuffers() {
    enterPhase(FramePhase::swap);
    realSwapBuffers();
    enterPhase(FramePhase::end);
}
