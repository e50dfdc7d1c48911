// drum_voices.h - kick, snare, cymbals, toms and the long noises (riser, reverse cymbal, impact)
//
// Drums ring for as long as their nature says, whatever the note's length; the riser and the reverse cymbal
// build up over the note's length and end with it.
#pragma once

#include "voice.h"

void playKick(const Instrument& instrument, const Note& note, Stereo& out);
void playHeavyKick(const Instrument& instrument, const Note& note, Stereo& out);
void playSnare(const Instrument& instrument, const Note& note, Stereo& out);
void playHeavySnare(const Instrument& instrument, const Note& note, Stereo& out);
void playClap(const Instrument& instrument, const Note& note, Stereo& out);
void playHat(const Instrument& instrument, const Note& note, Stereo& out);
void playOpenHat(const Instrument& instrument, const Note& note, Stereo& out);
void playCrash(const Instrument& instrument, const Note& note, Stereo& out);
void playTom(const Instrument& instrument, const Note& note, Stereo& out);
void playImpact(const Instrument& instrument, const Note& note, Stereo& out);
void playRiser(const Instrument& instrument, const Note& note, Stereo& out);
void playReverse(const Instrument& instrument, const Note& note, Stereo& out);
