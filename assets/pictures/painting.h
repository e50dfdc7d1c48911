// painting.h - the one function that each picture's source defines
//
// The program around it is picture_main.cpp: "make_NAME FILE.png FONT.ttf".
#pragma once

#include "canvas.h"

// Returns the finished picture. `font` is the path of the TrueType file for its text.
Canvas paintPicture(const char* font);
