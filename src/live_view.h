// live_view.h - what --live shows and the keys that it adds; for the framework's callbacks
//
// Needs    --live, and the program's window, which it leaves current; the GL thread.
// Never    draws into the program's window: errors stand in a window of their own inside it, so they are on the
//          screen whatever the program draws, and in no screenshot.
#pragma once

// At every tick: loads again what was saved, shows what went wrong, and goes back to the start of a looped scene.
void ryl_updateLive();

// home, end, page up, page down: to the first, the last, the previous, the next scene. GLUT's special keys.
void ryl_handleLiveSpecialKey(int key);

// ",", ".": a tick back, forward, in a pause; "l": loops the current scene, or stops that.
void ryl_handleLiveKey(unsigned char key);
