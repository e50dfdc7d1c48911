// live.h - files that are loaded again when they are saved ("--live")
//
//   ryl_reloadOnSave({path}, [=] { return loadAgain(path); });   // by everything that loads a file
//
// Needs    no GL; one thread. Watches directories by inotify, so a file may also be replaced by renaming.
// Prints   a line for each file that is loaded again, and what is wrong with one that is not.
// Never    does anything without --live.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Loads the files again. Returns what is wrong, and leaves what was loaded last in place; an empty string if all is
// well.
using LoadAgain = std::function<std::string()>;

// Calls `load` after any of the files has been saved: closed after writing, or renamed into place, and not empty.
// `wrong` is what is wrong with the files already, so that it is shown.
void ryl_reloadOnSave(const std::vector<std::string>& paths, LoadAgain load, const std::string& wrong = "");

// Called by ryl_init with whether --live is given. Calls of ryl_reloadOnSave before it are kept until then.
void ryl_startLive(bool live);

// Whether ryl_startLive(true) was called.
bool ryl_isLive();

// Loads again what has been saved since the last call. Called by the framework at every tick.
void ryl_reloadSaved();

// How often something was loaded again; who keeps a picture of something looks whether this has changed.
int ryl_reloadCount();

// What is wrong with the files that were saved last and could not be loaded, a line or more for each.
std::string ryl_liveErrors();
