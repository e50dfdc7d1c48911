// Times the phases of the demo's frames. After the frames of interest it prints the median of each phase and ends the
// program.
#include "frame_timer.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Every scene shows all that it has between six and ten seconds after its start.
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

}  // namespace

void ryl_enterPhase(FramePhase next) {
    // What the phase before has submitted is part of it; only the scene's own drawing has a phase to itself.
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
