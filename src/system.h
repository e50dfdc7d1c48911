// system.h - the host check, the debug log, files
//
// Needs nothing, any thread, no GL. Everything is printed on standard output, where the first characters of a line
// tell its kind: "[*]" progress, "[/]" a warning after which the program goes on, "[!]" an error, "[DEV]" a debug
// line.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;  // open until its owner goes

// Opens a file for binary reading. Null if it cannot be opened or is a directory.
File ryl_openFile(const char* path);

// Bytes between the file's position and its end; below 0 if that is not known, as with a pipe.
long ryl_bytesLeft(std::FILE* file);

// The bytes of a file; nothing if it cannot be read.
std::optional<std::string> ryl_readFile(const char* path);

// Checks byte order and memory before anything else starts. Unless `quiet` is non-zero, ends the process with status
// -1 on a big-endian host, and reports it if memory cannot be allocated.
void ryl_systemCheck(int quiet);

// Prints "[DEV] <message>" as a line when `enabled` is non-zero. Call sites pass 0; to follow a step while
// developing, change the call.
void dprint(const char* message, int enabled);
