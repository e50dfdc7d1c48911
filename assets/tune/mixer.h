// mixer.h - plays a score: all tracks through their channels, the shared effects, the master
#pragma once

#include "audio.h"
#include "score.h"

// Renders the whole tune. False, with a line on standard error, when a track names an instrument that does
// not exist. Uses all processors; the result does not depend on how many there are.
bool playScore(const Score& score, Stereo& mix);
