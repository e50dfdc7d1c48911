// frame_writer.h - writes captured frames to files on its own threads while the next ones are drawn
//
//   ryl_handOverFrame(1280, 720, "capture/1.png", 1, "[CAPTURE] frame 1");
//
// Needs    a current GL context and the GL thread.
// Memory   at most RYL_FRAMES_AT_ONCE pictures of four bytes a pixel, and what it takes to compress two of them.
// Never    loses a frame that was handed over: exit waits until all are written.
#pragma once

#include <string>

constexpr int RYL_FRAMES_AT_ONCE = 4;  // two being compressed or written, two waiting or being read back

// Reads back the picture last drawn, like ryl_screenshot, and returns; a thread writes the file later. Files are
// written in the order of the calls. When a file is closed, `line` and a line end are printed on standard output; if
// the file could not be written, ryl_screenshot's message comes before it. Waits while RYL_FRAMES_AT_ONCE frames are
// on their way.
void ryl_handOverFrame(int width, int height, const std::string& filename, int level, const std::string& line);

// Waits until every frame that was handed over is written and its line printed. Callers that print a line which
// belongs after those call it first.
void ryl_finishFrames(void);
