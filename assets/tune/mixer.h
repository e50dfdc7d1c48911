// mixer.h - plays a score: all tracks through their channels, the shared effects, the master
#pragma once

#include "audio.h"
#include "score.h"

// Renders the whole tune. Returns false after a line on standard error if a track names an instrument that does not
// exist. Uses all processors; the result does not depend on how many there are.
bool playScore(const Score& score, Stereo& mix);
