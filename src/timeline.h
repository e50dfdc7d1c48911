// timeline.h - the order of a show: loading steps behind a bar, then scenes that take over from each other
//
//   struct Show { int l_model = 0, l_tune = 0; GLMmodel* model = nullptr; };  // what outlives a frame is the caller's
//   constexpr LoadStep<Show> LOADING[] = {{&Show::l_model, loadModel}, {&Show::l_tune, loadTune}};
//   constexpr TimelineScene<Show> SCENES[] = {{10.4f, drawField}, {20, drawModel}};
//
//   static Timeline timeline;                                                  // in the function that draws a frame
//   static Show show;
//   if (timeline.loaded == 0 && ryl_loadStep(timeline, LOADING, show, 37)) ryl_startTimeline(timeline, SCENES);
//   ryl_playScenes(timeline, SCENES, [](const auto& scene, float t) { scene.draw(t, show); });
//   if (timeline.loaded == 0) drawBar(timeline.progress);
//
// Needs    the framework core for the clock, the tune and the start scene ("-s"); no GL.
// Prints   what ryl_setDemoLength prints for each scene, and two lines if the show begins with a later scene.
// Never    draws, clears or remembers what is drawn: that is up to the steps and scenes.
#pragma once

#include "ryl.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>

// Where the show is. Starts with its defaults; written by these functions only.
struct Timeline {
    int loaded = 0;             // not 0 once the scenes play
    float progress = 0;         // length of the loading bar, in the unit that the caller chooses
    int queue = -1;             // the current scene; out of range while loading, before the first, after the last
    int songStartPosition = 0;  // where the start scene begins, ms of demo time
    float loadingTime = 0;      // where the current scene begins, seconds of demo time
    int jumps = 0;              // of ryl_jumpTo that it has followed
};

// A step of loading; a frame takes one, so that the bar moves between them.
template <typename Memory>
struct LoadStep {
    int Memory::*done;            // 0 until the step is taken
    void (*run)(Memory& memory);  // null: nothing to load
};

// A row of a table of scenes. A table may have rows of any other record that has a `sceneTime`.
template <typename Memory>
struct TimelineScene {
    float sceneTime;                        // length, seconds
    void (*draw)(float t, Memory& memory);  // t: seconds since the scene began; negative after a seek back
};

// ---- Loading ------------------------------------------------------------------------------------------------------

// Lets the bar grow by one frame: by a share of `full`, which is the length of the full bar, if a step was taken, and
// a little in any case. The steps together leave one share to the frames after them.
void ryl_growBar(Timeline& timeline, bool stepTaken, std::size_t steps, double full);

// Takes the first step that is not done and lets the bar grow. Returns whether all is done and the bar is full.
template <typename Memory, std::size_t STEPS>
bool ryl_loadStep(Timeline& timeline, const LoadStep<Memory> (&steps)[STEPS], Memory& memory, double full) {
    const auto next = std::find_if(std::begin(steps), std::end(steps),
                                   [&](const LoadStep<Memory>& step) { return memory.*step.done == 0; });
    const bool stepTaken = next != std::end(steps);
    if (stepTaken) {
        memory.*next->done = 1;
        if (next->run != nullptr) next->run(memory);
    }
    ryl_growBar(timeline, stepTaken, STEPS, full);
    const bool allTaken = std::all_of(std::begin(steps), std::end(steps),
                                      [&](const LoadStep<Memory>& step) { return memory.*step.done != 0; });
    return timeline.progress >= full && allTaken;
}

// ---- Scenes -------------------------------------------------------------------------------------------------------

// Registers the lengths, starts the tune and the clock, and goes to the start scene. That scene begins a little early
// in the tune, because only the whole seconds of the scenes before it count.
void ryl_startTimeline(Timeline& timeline, std::span<const float> lengths);

// Seconds since the current scene began.
float ryl_sceneTime(const Timeline& timeline);

// Goes on to the next scene if scene k is over, its t being above its length, or back to the one before if t is below
// -3. From the first scene it goes back to none: the show is over.
void ryl_handOver(Timeline& timeline, std::span<const float> lengths, int k, float t);

struct SceneStart {
    int scene;    // its index
    float start;  // seconds of demo time
};

// The scene that plays at a demo time, in seconds, if all of them play in their order; beyond the end their number.
SceneStart ryl_sceneAt(std::span<const float> lengths, float time);

// Goes to the scene that plays at the demo time, if ryl_jumpTo has moved the clock.
void ryl_followJump(Timeline& timeline, std::span<const float> lengths);

// How much of a scene to show, 0 to 1, if it fades in over its first `in` seconds and out over the last `out` seconds
// before `end`; 0: at once.
float ryl_fade(float t, float end, float in, float out);

template <typename Scene, std::size_t SCENES>
std::array<float, SCENES> ryl_sceneLengths(const Scene (&scenes)[SCENES]) {
    static_assert(SCENES <= MAX_SCENES);
    std::array<float, SCENES> lengths{};
    std::transform(std::begin(scenes), std::end(scenes), lengths.begin(),
                   [](const Scene& scene) { return scene.sceneTime; });
    return lengths;
}

template <typename Scene, std::size_t SCENES>
void ryl_startTimeline(Timeline& timeline, const Scene (&scenes)[SCENES]) {
    ryl_startTimeline(timeline, ryl_sceneLengths(scenes));
}

// Calls play(scene, t) for the current scene. If the scene is over, the next one plays in the same frame too; a scene
// that was sought before its beginning hands back in the next frame. Returns false if the last scene is over.
template <typename Scene, std::size_t SCENES, typename Play>
bool ryl_playScenes(Timeline& timeline, const Scene (&scenes)[SCENES], Play play) {
    const std::array<float, SCENES> lengths = ryl_sceneLengths(scenes);
    ryl_followJump(timeline, lengths);
    for (int k = 0; k < static_cast<int>(SCENES); ++k) {
        if (timeline.queue != k) continue;
        const float t = ryl_sceneTime(timeline);
        play(scenes[k], t);
        ryl_handOver(timeline, lengths, k, t);
    }
    return timeline.queue < static_cast<int>(SCENES);
}
