// picture.h - keeps the picture last drawn, blends it into the next one (motion blur), shows it again, reads it back
//
//   ryl_blendPicture(width, height, 0.2f);   // last thing before the buffer swap
//
// Needs    a current GL context after glewInit; the GL thread. If the GL lacks EXT_framebuffer_blit, or the memory,
//          nothing is kept or blended; a line says so once.
// Leaves   all GL state as it was, except the texture bound to GL_TEXTURE_2D and the framebuffer, which is the
//          window's.
// Never    reads the window after a swap: if a driver flips its buffers instead of copying them, the back buffer then
//          holds an older picture or nothing, and the front buffer lacks what other windows cover.
#pragma once

// Whether this GL can keep pictures, and show pictures that were drawn off the window.
bool ryl_canKeepPicture(void);

// Replaces the picture in the bound framebuffer, lower left width x height pixels, by (1 - weight) times itself plus
// `weight` (0 to 1) times the picture kept by the call before, in the 8-bit values of the screen. Keeps the result
// and puts it into the window's back buffer. So after white, black frames at weight 0.2 read 51, 10, 2, 0. The first
// call, and the first after the size has changed, blends nothing. If the picture was drawn on the window, the part
// outside the window is kept as black.
void ryl_blendPicture(int width, int height, float weight);

// For callers that draw the next picture over the kept one and do the blending themselves. ryl_beginPicture binds the
// kept picture, turns the projection upside down and returns true; if none of this size is kept, it changes nothing
// and returns false. ryl_showPicture turns the projection back, copies the picture to the back buffer and binds the
// window. The kept picture's first row is the top one, as in window systems, so showing it is a plain copy.
bool ryl_beginPicture(int width, int height);
void ryl_showPicture(void);

// Copies the kept picture to the back buffer once more and returns true. Returns false if none of this size is kept.
bool ryl_showPictureAgain(int width, int height);

// Reads the lower left width x height pixels of the kept picture, or of the window if none is kept, as four bytes
// each: B, G, R and one that means nothing. Does not write to pixels outside the picture. Returns whether the first
// row is the top one.
bool ryl_readPicture(int width, int height, unsigned char* pixels);
