// child.h - code that ends its process, or prints, run in a child and looked at from outside
#pragma once

#include <functional>
#include <string>

struct ChildResult {
    int status = -1;  // exit status 0 to 255; -1 when a signal ended the child
    int signal = 0;
    std::string output;  // what went to standard output
    std::string errors;  // what went to standard error
};

// Runs `code` in a forked copy of this process, followed by exit(0).
ChildResult runInChild(const std::function<void()>& code);
