// voice.h - what plays a note: an instrument by name
//
//   const Instrument* lead = findInstrument("lead");
//   lead->play(*lead, note, out);     // adds the note to the buffer, tail included
//
// A note is added to what the buffer holds; whatever would lie past the buffer's end is dropped. Playing is a
// pure function of the note: no state is kept, so notes can be played in any order and on any thread.
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

// Null when there is no instrument of that name.
const Instrument* findInstrument(const std::string& name);
