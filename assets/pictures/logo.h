// logo.h - the demo's name: inflated letters with depth and glow, on a fan of ribbons
//
//   const Logo logo = makeLogo(font, 306);
//   paint(canvas, 3, [&](float x, float y) { return logoAt(logo, x - left, y - top); });
#pragma once

#include "canvas.h"
#include "distance.h"

// Width over height of the logo, as it is seen on the screen.
constexpr float LOGO_ASPECT = 4.19f;

// Distances in field pixels, positive inside.
struct Logo {
    float height;   // pixels
    Field letters;  // to the contour of the inflated letters
    Field relief;   // the same without creases where strokes meet
    Field body;     // to the contour of the letters with their depth
};

// Draws the letters of the TrueType file `font`. Ends the program with a message if the font cannot be used.
Logo makeLogo(const char* font, float height);

// The logo at a point, in pixels from its top left corner; clear outside. Safe on several threads.
Texel logoAt(const Logo& logo, float x, float y);
