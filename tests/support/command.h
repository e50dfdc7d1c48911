// command.h - a shell command run to its end
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

struct Ran {
    int status = -1;  // exit status; -1 when a signal ended the command
    std::string output;
};

// Its standard output; add 2>&1 for both.
inline Ran run(const std::string& commandLine) {
    Ran ran;
    std::FILE* pipe = popen(commandLine.c_str(), "r");
    if (pipe == nullptr) return ran;
    std::array<char, 65536> piece{};
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe))
        ran.output.append(piece.data(), count);
    const int ended = pclose(pipe);
    if (WIFEXITED(ended)) ran.status = WEXITSTATUS(ended);
    return ran;
}
