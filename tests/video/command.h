// command.h - a shell command run to its end
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

struct Ran {
    int status = -1;  // exit status; -1 when a signal ended it
    std::string output;
};

// Its standard output; add 2>&1 for both.
inline Ran run(const std::string& commandLine) {
    Ran ran;
    std::FILE* pipe = popen(commandLine.c_str(), "r");
    if (pipe == nullptr) return ran;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) ran.output += static_cast<char>(c);
    const int ended = pclose(pipe);
    if (WIFEXITED(ended)) ran.status = WEXITSTATUS(ended);
    return ran;
}
