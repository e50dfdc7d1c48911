// endings.h - endings that the program does not choose: signals, a reader that goes away, no memory
//
// Needs    no GL. All but ryl_delayEnding are for the main thread.
#pragma once

// From here on SIGINT, SIGTERM and SIGHUP are noted for ryl_endIfAsked, except those that were ignored when the
// program started. Only the first signal counts: later ones do not interrupt the handlers of `exit`. If
// ryl_endIfAsked is not called in time, because the window system or the sound hangs, the process still ends within
// two seconds of the signal, with the same line and status but without the handlers of `exit`.
// Output that nobody reads, or that was closed from the start, is lost, and the program goes on. If memory runs out,
// the program prints "[!] There is not enough memory." and exits with -1.
// ryl_init calls this function. A program that opens files or starts threads before ryl_init calls it first. Calling
// it again does no harm.
void ryl_watchEndings(void);

// If a signal has been noted, calls `finish`, prints the line "[*] Ended by signal %d." and exits with status 128
// plus the signal's number.
void ryl_endIfAsked(void (*finish)(void));

// Makes the time limit of two seconds wait for a file: callers pass true before they open it and false after they
// close it. Any thread; several files may be written at once.
void ryl_delayEnding(bool writing);
