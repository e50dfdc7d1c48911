#include "timeline.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace {

constexpr int MS_PER_S = 1000;
constexpr float REWIND_LIMIT_S = -3;  // if the scene time is below this, the scene before takes over

// Milliseconds; counts only the whole seconds of each scene before `queue`.
int startPosition(std::span<const float> lengths, int queue) {
    const auto before = lengths.first(std::min(lengths.size(), static_cast<std::size_t>(queue)));
    int position = 0;
    for (const float length : before) position += static_cast<int>(length) * MS_PER_S;
    return position;
}

// ryl_Get returns the number of "-s" as a float, which may lie just beyond the int range.
int startScene() {
    const float scene = ryl_Get(RYL_START_SCENE);
    constexpr int LAST = std::numeric_limits<int>::max();
    return scene >= static_cast<float>(LAST) ? LAST : static_cast<int>(scene);
}

}  // namespace

void ryl_growBar(Timeline& timeline, bool stepTaken, std::size_t steps, double full) {
    constexpr double GROWTH = 0.2;
    const auto shares = static_cast<double>(steps + 1);
    if (stepTaken) timeline.progress = static_cast<float>(timeline.progress + full / shares);
    if (full > timeline.progress) timeline.progress = static_cast<float>(timeline.progress + GROWTH);
}

void ryl_startTimeline(Timeline& timeline, std::span<const float> lengths) {
    timeline.queue = startScene();
    timeline.loaded = 1;
    for (const float length : lengths) ryl_setDemoLength(length);
    ryl_startMusic();
    if (timeline.queue <= 0) return;
    std::printf("## got queue %d\n", timeline.queue);
    timeline.songStartPosition = startPosition(lengths, timeline.queue);
    std::printf("song start pos = %d\n", timeline.songStartPosition);
    ryl_skipTo(timeline.songStartPosition);
    const int startSecond = timeline.songStartPosition / MS_PER_S;
    timeline.loadingTime = static_cast<float>(startSecond);
}

float ryl_sceneTime(const Timeline& timeline) {
    return static_cast<float>(ryl_Get(RYL_TIME) / 1000.0 - timeline.loadingTime);
}

void ryl_handOver(Timeline& timeline, std::span<const float> lengths, int k, float t) {
    const auto scene = static_cast<std::size_t>(k);
    if (t > lengths[scene]) {
        timeline.queue += 1;
        timeline.loadingTime += lengths[scene];
    }
    if (t < REWIND_LIMIT_S) {
        timeline.queue -= 1;
        if (k > 0) timeline.loadingTime -= lengths[scene - 1];
    }
}

SceneStart ryl_sceneAt(std::span<const float> lengths, float time) {
    SceneStart found = {0, 0};
    for (const float length : lengths) {
        if (found.start + length >= time) break;
        found.start += length;
        ++found.scene;
    }
    return found;
}

void ryl_followJump(Timeline& timeline, std::span<const float> lengths) {
    if (timeline.jumps == ryl_jumpCount()) return;
    timeline.jumps = ryl_jumpCount();
    const auto [scene, start] = ryl_sceneAt(lengths, static_cast<float>(ryl_Get(RYL_TIME) / 1000.0));
    timeline.queue = scene;
    timeline.loadingTime = start;
}

float ryl_fade(float t, float end, float in, float out) {
    const float shown = in > 0 ? t / in : 1, left = out > 0 ? (end - t) / out : 1;
    return std::clamp(std::min(shown, left), 0.0f, 1.0f);
}
