// picture.h - the picture last drawn: kept, blended into the next one (motion blur), shown again, and read back
//
//   ryl_blendPicture(width, height, 0.2f);   // last thing before the buffer swap
//
// Needs    a current GL context after glewInit; the GL thread. A GL without EXT_framebuffer_blit, or without the memory,
//          keeps and blends nothing; a line says so once.
// Leaves   all GL state as it was, but for the texture bound to GL_TEXTURE_2D and the framebuffer, which is the window's.
// Never    reads the window after a swap: a driver that flips its buffers instead of copying them leaves an older
//          picture, or nothing, in the back buffer, and the front buffer lacks what other windows cover. The
//          kept copy is the picture on every driver.
#pragma once

// Whether this GL can keep pictures, and show what was drawn elsewhere than on the window.
bool ryl_canKeepPicture(void);

// Replaces the picture in the framebuffer that is bound, lower left width x height pixels, by (1 - weight) times itself
// plus `weight` (0 to 1) times the picture kept by the call before, in the 8-bit values of the screen; keeps the result,
// and shows it: it is then in the window's back buffer. So after white, black frames at weight 0.2 read 51, 10, 2, 0. The
// first call, and the first after the size has changed, blends nothing. What of a picture on the window lies outside of it
// is kept black.
void ryl_blendPicture(int width, int height, float weight);

// For callers that draw the next picture over the kept one, blending included. ryl_beginPicture binds the kept picture and
// returns true; where none of this size is kept it returns false and changes nothing. Until ryl_showPicture the projection
// is turned upside down, because the picture is kept so: its first row is the top one, as window systems have it, which
// makes showing it a plain copy. ryl_showPicture makes that copy to the back buffer and binds the window.
bool ryl_beginPicture(int width, int height);
void ryl_showPicture(void);

// Copies the kept picture to the back buffer once more and returns true; returns false where none of this size is kept.
bool ryl_showPictureAgain(int width, int height);

// Reads the lower left width x height pixels of the kept picture, or of the window while none is kept, as four bytes
// each: B, G, R and one that means nothing. Leaves `pixels` alone where the picture does not reach. Returns whether the
// rows come from top to bottom.
bool ryl_readPicture(int width, int height, unsigned char* pixels);
