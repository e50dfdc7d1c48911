// system.h - the host check, the debug log, files to read
//
// Needs nothing, any thread. Never touches GL. Everything is printed on standard output, where the first
// characters of a line tell its kind: "[*]" progress, "[/]" a warning after which the program goes on,
// "[!]" an error, "[DEV]" a debug line.
#pragma once

#include <cstdio>

// Opens a file for reading, binary. Null when it cannot be opened or is a directory. The caller closes it.
std::FILE* ryl_openFile(const char* path);

// Checks byte order and memory before anything else starts. A big-endian host ends the process with status -1
// unless `quiet` is non-zero; memory that cannot be had is reported unless `quiet` is non-zero.
void ryl_systemCheck(int quiet);

// Prints "[DEV] <message>" as a line when `enabled` is non-zero. Call sites pass 0; to follow a step while
// developing, change the call.
void dprint(const char* message, int enabled);
