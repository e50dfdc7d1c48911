// child.h - code that ends its process, or prints, run in a child and looked at from outside
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

// Runs `code` in a forked copy of this process, followed by exit(0). Before this process opens a window: the copy of
// a GL driver lacks its threads. The code may open one of its own.
ChildResult runInChild(const std::function<void()>& code);

// Becomes the program with the arguments of `command`, in a child; ends with status 127 if there is none.
[[noreturn]] void execute(std::vector<std::string> command);
