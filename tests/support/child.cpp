#include "child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

std::string contents(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
    std::fclose(file);
    return text;
}

}  // namespace

ChildResult runInChild(const std::function<void()>& code) {
    std::FILE* output = std::tmpfile();
    std::FILE* errors = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(output), STDOUT_FILENO);
        dup2(fileno(errors), STDERR_FILENO);
        code();
        std::exit(0);
    }
    int ended = 0;
    waitpid(child, &ended, 0);
    ChildResult result;
    if (WIFEXITED(ended)) result.status = WEXITSTATUS(ended);
    if (WIFSIGNALED(ended)) result.signal = WTERMSIG(ended);
    result.output = contents(output);
    result.errors = contents(errors);
    return result;
}
