// voice.h - instruments by name, which play notes
//
//   const Instrument* lead = findInstrument("lead");
//   lead->play(*lead, note, out);     // adds the note to the buffer, tail included
//
// A note is added to what the buffer holds; what lies past the buffer's end is dropped. Playing is a pure function of
// the note: no state is kept, so notes can be played in any order and on any thread.
#pragma once

#include "audio.h"
#include "score.h"

#include <string>

struct Patch;

struct Instrument {
    const char* name;
    void (*play)(const Instrument& instrument, const Note& note, Stereo& out);
    const Patch* patch;  // sound settings of the synthesizer voices, null for the others
};

// Null if there is no instrument of that name.
const Instrument* findInstrument(const std::string& name);
