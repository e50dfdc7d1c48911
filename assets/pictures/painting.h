// painting.h - what each picture's source defines: one call that paints it
//
// The program around it is picture_main.cpp: "make_NAME FILE.png FONT.ttf".
#pragma once

#include "canvas.h"

// The finished picture. `font` is the path of the TrueType file for whatever text it has.
Canvas paintPicture(const char* font);
