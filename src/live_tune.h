// live_tune.h - copies of the tune that can be played while its file is saved
//
// Needs no GL and no sound library.
#pragma once

#include <string>

struct TuneCopy {
    std::string path = {};   // where the copy can be opened, until the second call from now
    std::string wrong = {};  // the message if the file cannot be read or is not complete; there is no copy then
};

// Copies an mp3 file into memory. The file may then be written over, which would change what is being played.
TuneCopy ryl_copyTune(const std::string& path);
