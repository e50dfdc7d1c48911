// ryl_sound.h - the part of the framework core that needs the sound library's types
//
// Needs the sound library under libs/ at run time. For ryl.cpp and its tests; content never sees these types.
#pragma once

#include "fmod.h"

// Written by ryl_loadMusic and ryl_startMusic only, null or 0 before; never released.
extern FMOD_SYSTEM* system0;
extern unsigned version0;
extern FMOD_SOUND* sound0;      // the soundtrack, a stream
extern FMOD_CHANNEL* channel0;  // plays the soundtrack

// Ends the process with status -1 and the library's own words when `result` is not FMOD_OK.
void ryl_fmod_errcheck(FMOD_RESULT result);
