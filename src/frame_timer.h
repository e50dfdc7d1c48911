// frame_timer.h - where the time of a frame goes
//
// Only the benchmark build (RYL_FRAME_TIMER) measures; elsewhere the call is nothing.
#pragma once

enum class FramePhase {
    content,      // noise, positions, colours
    submission,   // the scene's GL calls
    rasterising,  // until the scene target is drawn
    composite,    // the scene's picture, bands and overlay on the window
    blur,
    swap,
    end,
};

// The frame's phase from here to the next call. Time spent in a phase entered twice adds up.
#ifdef RYL_FRAME_TIMER
void ryl_enterPhase(FramePhase next);
#else
inline void ryl_enterPhase(FramePhase) {}
#endif
