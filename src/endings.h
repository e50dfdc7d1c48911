// endings.h - the program's ends that are not its own choice: signals, a reader that goes away, no memory
//
// Needs    nothing of the GL. The main thread, but for ryl_delayEnding.
#pragma once

// From here on SIGINT, SIGTERM and SIGHUP are noted for ryl_endIfAsked, those excepted that were ignored when the program
// started. The first one counts: later ones do not cut short what is done at `exit`. Where ryl_endIfAsked does not come in
// time, because the window system or the sound hangs, the process ends within two seconds of the signal all the same, in
// the same words and with the same status, but without what is done at `exit`.
// Output that nobody reads any more, or that was closed from the start, is lost without an end. Running out of memory
// prints "[!] There is not enough memory." as a line and exits with -1. ryl_init calls it; a program that opens files or
// starts threads before that calls it first; calling it again does no harm.
void ryl_watchEndings(void);

// Where a signal has been noted: calls `finish`, prints "[*] Ended by signal %d." as a line and exits with 128 plus the
// signal's number.
void ryl_endIfAsked(void (*finish)(void));

// While files are being written the process does not end for want of patience: true before one is opened, false when it is
// closed. Any thread; several may write at once.
void ryl_delayEnding(bool writing);
