// tone_voices.h - pitched sounds that are not subtractive: bells and electric keys by frequency modulation,
// the growl
#pragma once

#include "voice.h"

void playBell(const Instrument& instrument, const Note& note, Stereo& out);
void playKeys(const Instrument& instrument, const Note& note, Stereo& out);
void playGrowl(const Instrument& instrument, const Note& note, Stereo& out);
void playRollingGrowl(const Instrument& instrument, const Note& note, Stereo& out);
void playSub(const Instrument& instrument, const Note& note, Stereo& out);
