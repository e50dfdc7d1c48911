#include "child.h"

#include "temp_dir.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

ChildResult runInChild(const std::function<void()>& code) {
    const TempDir folder;
    const std::string output = folder.path() / "output", errors = folder.path() / "errors";
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(creat(output.c_str(), S_IRUSR), STDOUT_FILENO);
        dup2(creat(errors.c_str(), S_IRUSR), STDERR_FILENO);
        code();
        std::exit(0);
    }
    int ended = 0;
    waitpid(child, &ended, 0);
    return {WIFEXITED(ended) ? WEXITSTATUS(ended) : -1, WIFSIGNALED(ended) ? WTERMSIG(ended) : 0, readFile(output),
            readFile(errors)};
}

void execute(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}
