// fbo.h - off-screen render targets
//
//   int id = ryl_loadFBO(1280, 800);                  // once, while loading
//   GLuint picture = ryl_enableFBO(id, 0, 0, 0);      // draw into the target ...
//   ryl_disableFBO(1280, 800, 0, 0, 0);               // ... and back to the window
//
// Needs    a current GL context after glewInit; the GL thread; the modelview matrix current.
// Leaves   framebuffer and viewport switched, current matrix = translation by (0, 0, -RYL_CAMERA_Z).
// Clear    both clear with the colour set BEFORE the call; (red, green, blue), with alpha 0, is what the
//          NEXT clear uses, on whichever target.
// Fails    the 65th ryl_loadFBO prints "Maximum numbers of fbo's reached.. exiting" and ends the process
//          with -1. Ids are not checked; their completeness is not queried. Targets are never deleted.
#pragma once

// Where the camera stands on the z axis, looking along -z; scene units.
constexpr float RYL_CAMERA_Z = 50;

// Makes a target of width x height pixels: an RGBA texture of 8 bits per channel and a 24-bit depth buffer.
// Returns its id, from 0 in order of creation. The texture and the renderbuffer stay bound.
int ryl_loadFBO(int width, int height);

// Sends drawing to target `id`, over its whole size, and clears it. Returns its colour texture, and binds none.
unsigned ryl_enableFBO(int id, float red, float green, float blue);

// Sends drawing to the window, viewport screenWidth x screenHeight pixels (truncated), and clears it.
void ryl_disableFBO(float screenWidth, float screenHeight, float red, float green, float blue);

// A texture to draw into, with or without a depth buffer. All 0 before its first ryl_resizeTarget.
struct ColourTarget {
    unsigned texture = 0, framebuffer = 0, renderbuffer = 0;
    int width = 0, height = 0;  // pixels; 0 if the GL could not make it
};

enum class TargetDepth { none, bits24 };

// Makes the target, or makes it anew, with width x height undefined pixels of 8 bits per channel in the order of a
// window's pixels. Leaves its texture and its framebuffer bound. Returns false if the GL lacks the memory or refuses
// the size; callers must not draw to the target then.
bool ryl_resizeTarget(ColourTarget& target, int width, int height, TargetDepth depth = TargetDepth::none);
