// swap_interval.h - buffer swaps that do not wait for the screen
//
// Needs    a current GL context after glewInit; the GL thread.
#pragma once

// From here on no swap of the window waits for the screen's refresh. Does nothing if the GL has no such switch.
void ryl_swapAtOnce(void);
