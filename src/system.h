// system.h - the host check, the debug log, files
//
// Needs nothing, any thread. Never touches GL. Everything is printed on standard output, where the first
// characters of a line tell its kind: "[*]" progress, "[/]" a warning after which the program goes on,
// "[!]" an error, "[DEV]" a debug line.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;  // open until its owner goes

// Opens a file for reading, binary. Null when it cannot be opened or is a directory.
File ryl_openFile(const char* path);

// Bytes between the file's position and its end; below 0 where that cannot be told, as of a pipe.
long ryl_bytesLeft(std::FILE* file);

// Checks byte order and memory before anything else starts. A big-endian host ends the process with status -1
// unless `quiet` is non-zero; memory that cannot be had is reported unless `quiet` is non-zero.
void ryl_systemCheck(int quiet);

// Prints "[DEV] <message>" as a line when `enabled` is non-zero. Call sites pass 0; to follow a step while
// developing, change the call.
void dprint(const char* message, int enabled);
