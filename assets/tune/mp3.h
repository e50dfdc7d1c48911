// mp3.h - encodes a finished mix
#pragma once

#include "audio.h"
#include "score.h"

#include <string>

// Writes the mix as an mp3 file with title tags. The file's first frame tells a decoder how many samples the encoder
// has put before and after the music, so a decoder that heeds it hands out exactly the samples of the mix. Returns
// false after a line on standard error if it fails.
bool writeMp3(const Stereo& mix, const Score& score, const std::string& path);
