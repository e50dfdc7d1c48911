// child.h - code that ends its process or prints, run in a child process
#pragma once

#include <functional>
#include <string>
#include <vector>

struct ChildResult {
    int status = -1;  // exit status 0 to 255; -1 when a signal ended the child
    int signal = 0;
    std::string output;  // what went to standard output
    std::string errors;  // what went to standard error
};

// Runs `code` in a forked copy of this process, followed by exit(0). This process must not have a window, because a
// copied GL driver lacks its threads; the code may open one.
ChildResult runInChild(const std::function<void()>& code);

// Replaces this process by a program with its arguments; ends it with status 127 if there is no such program.
[[noreturn]] void execute(std::vector<std::string> command);
