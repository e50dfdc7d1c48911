// make_mp3.h - mp3 files for tests, made on the spot
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Mp3Format {
    int rate = 44100;  // Hz
    int channels = 2;  // 1 or 2
    int kbps = 128;
};

// The bytes of an mp3 file of `frames` frames of loud noise that never repeats, so that any two places differ. With an
// info frame that tells the encoder's additions, where the bit rate leaves room for one.
std::string makeMp3(const Mp3Format& format, int frames);

// Every sample of the file, interleaved, as the decoder library gives them when it is asked for nothing else. The file
// must be whole.
std::vector<std::int16_t> decodeWhole(const std::string& path);
