// fonts.h - the texture font: a strip of glyphs in an image, laid out in 3D
//
//   ryl_loadTextureFont("data/font.tga", 26);                 // once, while loading: 'a' to 'z'
//   ryl_text("hello world", 2, -10, 0, 0, 0, 0, 0);
//
// Needs    a current GL context; the GL thread.
// Leaves   after any text the current colour is white and GL_TEXTURE_2D is off.
// Fails    a missing or broken image ends the process as in ryl_loadTGA; so does drawing before a font is loaded.
#pragma once

// Makes one glyph of 2 x 2 units, centred, for each of the `count` (from 1) equally wide cells of the strip
// `path`, standing for 'a', 'b' and so on. The strip is a TGA file; a path of another ending gives untextured
// glyphs. One font at a time: a later call replaces it. Returns the display list of the first glyph.
unsigned ryl_loadTextureFont(const char* path, int count);

// Draws `text`, one glyph every `spacing` units, at (x, y, z), turned by rotX, rotY, rotZ degrees about the
// axes in this order. Capital letters draw as small ones. A character without a glyph draws nothing and keeps
// its place. Each glyph lies 0.01 units before the one drawn ahead of it, starting at 0.01.
void ryl_text(const char* text, float spacing, float x, float y, float z, float rotX, float rotY, float rotZ);

// Draws the whole strip data/font.tga on a square of 10 units at the origin; the first call loads it and
// prints its texture name.
void ryl_testTextureFont(void);
