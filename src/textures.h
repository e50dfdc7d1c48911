// textures.h - loads image files as GL textures, and writes the picture to an image file
//
//   GLuint logo = ryl_loadPNG("data/images/banner.png");
//   ryl_screenshot(1280, 800, "screenshot.png", 0);
//
// Needs    a current GL context; the GL thread.
// Leaves   the new texture bound to GL_TEXTURE_2D, both filters GL_NEAREST, wrap modes at the GL's defaults, size
//          as in the file, four components. Row 0 of the file is row 0 (t = 0) of the texture: nothing is flipped.
// Fails    loaders never return an error: they print "[!..." with the file's name and end the process with -1.
#pragma once

#include <string>
#include <vector>

// Decodes PNG files on its own thread, one after the other. The first ryl_loadPNG of each file takes the decoded
// image, after waiting until all are decoded. Needs no GL, so files can be decoded while the GL's driver starts.
// Prints nothing; ryl_loadPNG says what could not be read. A second call waits for the first and drops the images
// that nobody took; exit waits too.
void ryl_decodeAhead(const std::vector<std::string>& paths);

// A PNG file of any kind that libgd reads. libgd's alpha, 127 (clear) to 0 (opaque), becomes 0 to 255 (opaque).
// Returns a texture name that the caller owns.
unsigned ryl_loadPNG(const char* path);

// An uncompressed true-colour Truevision TGA file of 24 or 32 bits per pixel, with no ID field, no colour map
// and its origin at (0, 0); prints that it is loaded. Returns a texture name that the caller owns.
unsigned ryl_loadTGA(const char* path);

// A black opaque texture of 512 x 512. Returns a texture name that the caller owns.
unsigned ryl_loadBlack(void);

// Writes the lower left `width` x `height` pixels of the picture last drawn to the PNG file `filename`, 8
// bits RGB, zlib compression `level` 0 (none) to 9. The bottom row of the picture becomes the top row of the
// file. What lies outside the window is black. A file that cannot be opened or written, or a level out of
// range, gives a message and the program goes on; a refused level leaves an empty file, a failed write none.
void ryl_screenshot(int width, int height, const char* filename, int level);

// The same with the top row of the picture first, so that it stands upright in viewers.
void ryl_screenshotUpright(int width, int height, const char* filename, int level);
