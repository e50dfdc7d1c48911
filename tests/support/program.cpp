#include "program.h"

#include "child.h"
#include "command.h"
#include "x_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto PATIENCE = std::chrono::minutes(1);

int millisecondsUntil(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace

RunDirectory::RunDirectory() {
    const fs::path original = RYL_DEMO_DIR;
    for (const char* name : {"ryl", "libs"}) fs::create_symlink(original / name, path() / name);
    for (const char* folder : {"data", "data/images", "tools", "capture"}) {
        fs::create_directories(path() / folder);
        for (const auto& entry : fs::directory_iterator(original / folder))
            if (entry.is_regular_file() && std::string(folder) != "capture")
                fs::create_symlink(entry.path(), path() / folder / entry.path().filename());
    }
}

Program::Program(const RunDirectory& directory, const std::string& options) {
    startPrivateDisplay();
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // libGL unloads its driver at exit, so the driver's own leaks could not be told from the program's.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        execute({"sh", "-c", "cd " + directory.path().string() + " && exec ./ryl " + options});
    }
    close(ends[1]);
    pipe = ends[0];
}

Program::~Program() {
    close(pipe);
    if (process <= 0) return;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

bool Program::readMore(int milliseconds) {
    pollfd waiting{pipe, POLLIN, 0};
    std::array<char, 4096> bytes{};
    if (poll(&waiting, 1, milliseconds) <= 0) return false;
    const ssize_t count = read(pipe, bytes.data(), bytes.size());
    if (count > 0) text.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
}

bool Program::waitForLine(const std::string& wanted) {
    const auto end = Clock::now() + PATIENCE;
    do {
        const std::size_t found = text.find(wanted, searched);
        const std::size_t lineEnd = found == std::string::npos ? found : text.find('\n', found);
        if (lineEnd != std::string::npos) {
            searched = lineEnd + 1;
            return true;
        }
    } while (readMore(millisecondsUntil(end)));
    return false;
}

int Program::finish() {
    const auto end = Clock::now() + PATIENCE;
    while (readMore(millisecondsUntil(end))) {
    }
    if (Clock::now() >= end) kill(process, SIGKILL);
    int ended = 0;
    waitpid(process, &ended, 0);
    process = -1;
    return WIFEXITED(ended) ? WEXITSTATUS(ended) : -WTERMSIG(ended);
}

int Program::endBy(int signal) {
    kill(process, signal);
    return finish();
}

RunningProgram::RunningProgram(const std::string& options, const std::string& line) : Program(*this, options) {
    if (!waitForLine(line)) throw std::runtime_error("There is no line with \"" + line + "\" in:\n" + output());
}

Ran runProgram(const RunDirectory& directory, const std::string& options) {
    Program program(directory, options);
    const int status = program.finish();
    return {status, program.output()};
}

std::string shell(const std::string& commandLine) {
    startPrivateDisplay();
    return run(commandLine).output;
}

// GLUT has a title of its own in a game mode. The window gets the key whether or not it has the focus.
void pressKey(const std::string& key) {
    shell("xdotool search --sync --onlyvisible --name '^(ryl-framework|FREEGLUT)$' key --clearmodifiers " + key);
}

std::string windowPlace() {
    return shell("eval $(xdotool search --sync --onlyvisible --name '^ryl-framework$' getwindowgeometry --shell);"
                 "printf '%s,%s %sx%s' $X $Y $WIDTH $HEIGHT");
}
