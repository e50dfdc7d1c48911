// show.h - a whole frame around a timeline, for demos that need nothing special: a loading bar, scenes that fade in
// and out, motion blur, the pause line, the end
//
//   void draw() {
//       static ShowFrame frame;
//       static Memory memory;                              // what outlives a frame: whatever the scenes need
//       ryl_drawShow(frame, LOADING, SCENES, memory);
//   }
//   int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
//
// LOADING and SCENES are tables as in timeline.h. Each scene draws with the modelview matrix current, at the camera,
// into a black target of the size of the window when loading began. A scene that needs a target of its own draws it
// first and then calls ryl_enableFBO(frame.target, 0, 0, 0).
//
// Needs    ryl_init, and a current GL context; the GL thread.
// Leaves   the GL as the scenes leave it; a scene that switches something on switches it off again.
// Ends     the process with status 0 after the last scene.
#pragma once

#include "timeline.h"

#include <cstdlib>

// Starts with its defaults; callers may set the first three.
struct ShowFrame {
    float fadeIn = 1, fadeOut = 1;  // seconds at the start and at the end of each scene; 0: cuts
    float blur = 0.2f;              // weight of the frame before in the motion blur, 0 to 1
    Timeline timeline = {};
    int target = -1;       // render target; -1 before the first frame
    unsigned picture = 0;  // its texture in a frame with a scene
    float opacity = 0;     // of the picture
};

// The full loading bar; small, so that it does not wait long after the last step.
constexpr float RYL_SHOW_BAR = 6;

// The parts of ryl_drawShow.
void ryl_beginShowFrame(ShowFrame& frame);
void ryl_beginShowScene(ShowFrame& frame, float t, float length);
void ryl_endShowFrame(const ShowFrame& frame);

template <typename Memory, typename Scene, std::size_t SCENES>
void ryl_playShow(ShowFrame& frame, const Scene (&scenes)[SCENES], Memory& memory) {
    const bool more = ryl_playScenes(frame.timeline, scenes, [&](const Scene& scene, float t) {
        ryl_beginShowScene(frame, t, scene.sceneTime);
        scene.draw(t, memory);
    });
    if (!more) std::exit(0);
    ryl_endShowFrame(frame);
}

// Draws one frame and shows it: a step of loading, or the scene that plays.
template <typename Memory, std::size_t STEPS, typename Scene, std::size_t SCENES>
void ryl_drawShow(ShowFrame& frame, const LoadStep<Memory> (&steps)[STEPS], const Scene (&scenes)[SCENES],
                  Memory& memory) {
    ryl_beginShowFrame(frame);
    if (frame.timeline.loaded == 0 && ryl_loadStep(frame.timeline, steps, memory, RYL_SHOW_BAR))
        ryl_startTimeline(frame.timeline, scenes);
    ryl_playShow(frame, scenes, memory);
}

// The same without anything to load.
template <typename Memory, typename Scene, std::size_t SCENES>
void ryl_drawShow(ShowFrame& frame, const Scene (&scenes)[SCENES], Memory& memory) {
    ryl_beginShowFrame(frame);
    if (frame.timeline.loaded == 0) ryl_startTimeline(frame.timeline, scenes);
    ryl_playShow(frame, scenes, memory);
}
