// frame_writer.h - captured frames become files on threads of their own, while the next ones are drawn
//
//   ryl_handOverFrame(1280, 720, "capture/1.png", 1, "[CAPTURE] frame 1");
//
// Needs    a current GL context and the GL thread.
// Memory   at most RYL_FRAMES_AT_ONCE pictures of four bytes a pixel, and what compressing two of them takes.
// Never    lets go of a frame that was handed over: when the process ends through exit, they are written first.
#pragma once

#include <string>

constexpr int RYL_FRAMES_AT_ONCE = 4;  // two being compressed or written, two waiting or being read back

// Reads the picture last drawn back, like ryl_screenshot, and has it written behind the caller's back: frame by frame in
// the order in which they come here. `line` is printed on standard output, with a line end, when the file is closed or
// could not be written, which a line before says in the words of ryl_screenshot. Waits while there is no place.
void ryl_handOverFrame(int width, int height, const std::string& filename, int level, const std::string& line);

// Waits until every frame that was handed over is written and its line printed. To be called before a line is printed
// that has its place behind theirs.
void ryl_finishFrames(void);
