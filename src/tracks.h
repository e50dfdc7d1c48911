// tracks.h - values over time, from text files
//
//   ryl_loadTracks("data/show.tracks");                            // once, while loading
//   glTranslatef(ryl_track("camera.x", t), 0, 0);                  // t in seconds, as often as wanted
//
//   tempo 180                       # from here on times are beats, 180 a minute; at first they are seconds
//   track camera.x                  # a name is one word
//   0     -10    smooth             # time, value, and how the value goes from here to the next row
//   16      5.5  linear
//   24      0                       # step, if the row says nothing
//
// step: stays until the next row; linear: evenly; smooth: f*f*(3 - 2f), slow at both ends; ramp: f*f, slow at first;
// f goes from 0 to 1. Before its first row a track has that row's value, after the last one that row's. Times must
// increase. What follows "#" at the start of a word is a comment.
//
// Needs    no GL; one thread.
// Fails    a file that is missing or wrong ends the process with a message that names the line, and -1. With --live
//          it is loaded again when it is saved; if it is wrong then, the last good tracks stay.
#pragma once

#include <string_view>

// Adds the tracks of a file. A track of the same name from a file before is replaced.
void ryl_loadTracks(const char* path);

// The track's value at `t`, seconds of whatever clock the file is written for. Depends on nothing but the file and t,
// which is computed with in double precision. A track that no file has is 0, and a line says so once.
float ryl_track(std::string_view name, double t);
