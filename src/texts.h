// texts.h - texts from files
//
//   const std::string& greeting = ryl_loadText("data/greeting.txt");   // once, while loading
//   ryl_drawPolygonText(greeting.c_str(), -20, 0, 0);
//
// Needs no GL; one thread.
#pragma once

#include <string>

// The text of a file, without the end of its last line. The reference stays valid; with --live the text changes when
// the file is saved, unless it is empty then. A file that cannot be read ends the process with a message and -1.
const std::string& ryl_loadText(const char* path);
