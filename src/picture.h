// picture.h - the picture last drawn: blended into the next one (motion blur), and read back
//
//   ryl_blendPicture(width, height, 0.2f);   // last thing before the buffer swap
//
// Needs    a current GL context after glewInit; the GL thread; the window bound as framebuffer. A GL without
//          EXT_framebuffer_blit keeps and blends nothing; a line says so once.
// Leaves   all GL state as it was, but for the texture bound to GL_TEXTURE_2D.
// Never    reads the window after a swap: a driver that flips its buffers instead of copying them leaves an older
//          picture, or nothing, in the back buffer, and the front buffer lacks what other windows cover. The
//          kept copy is the picture on every driver.
#pragma once

// Replaces the picture in the back buffer, lower left width x height pixels, by (1 - weight) times itself
// plus `weight` (0 to 1) times the picture kept by the call before, in the 8-bit values of the screen; then
// keeps the result. So after white, black frames at weight 0.2 read 51, 10, 2, 0. The first call, and the
// first after the size has changed, only keeps. What of the picture lies outside of the window is kept black.
void ryl_blendPicture(int width, int height, float weight);

// For who draws the next picture over the kept one himself, blending included. ryl_beginPicture binds the kept picture in
// place of the window and returns true; where none of this size is kept it returns false and changes nothing. Until
// ryl_showPicture the projection is turned upside down, because the picture is kept so: its first row is the top one, as
// window systems have it, which makes showing it a plain copy. ryl_showPicture makes that copy to the back buffer and
// binds the window.
bool ryl_beginPicture(int width, int height);
void ryl_showPicture(void);

// Copies the kept picture to the back buffer once more and returns true; returns false where none of this size is kept.
bool ryl_showPictureAgain(int width, int height);

// Reads the lower left width x height pixels of the kept picture, or of the window while none is kept, as four bytes
// each: B, G, R and one that means nothing. Leaves `pixels` alone where the picture does not reach. Returns whether the
// rows come from top to bottom.
bool ryl_readPicture(int width, int height, unsigned char* pixels);
