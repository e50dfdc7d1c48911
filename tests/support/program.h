// program.h - the real program in a private copy of its run directory, on a private display
#pragma once

#include "command.h"
#include "temp_dir.h"

#include <sys/types.h>

#include <string>

// A copy of the run directory, whose files are links that a test may replace; capture/ is empty.
class RunDirectory : public TempDir {
public:
    RunDirectory();
};

// The program while it runs; it ends with the record.
class Program {
public:
    // Starts `ryl` in `directory`; `options` are a shell's words.
    Program(const RunDirectory& directory, const std::string& options);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads on until a line that contains `text`; false if the output ends before, or after a minute.
    bool waitForLine(const std::string& text);
    // Waits for the end, at most a minute. Returns the exit status, or minus the signal that ended the program.
    int finish();
    // Sends a signal first.
    int endBy(int signal);
    // All that has been read of standard output and standard error.
    const std::string& output() const { return text; }
    pid_t id() const { return process; }

private:
    bool readMore(int milliseconds);

    pid_t process = -1;
    int pipe = -1;
    std::size_t searched = 0;
    std::string text;
};

// The program in a run directory of its own, after it has printed a line that contains `line`. The test fails if that
// line does not come.
class RunningProgram : public RunDirectory, public Program {
public:
    RunningProgram(const std::string& options, const std::string& line);
};

// Runs the program to its end: exit status (or minus the signal) and all it printed.
Ran runProgram(const RunDirectory& directory, const std::string& options);

// Runs a shell command line on the private display and returns what it prints.
std::string shell(const std::string& commandLine);

// Presses keys, xdotool's names such as "space Left", in the program's window.
void pressKey(const std::string& key);

// "X,Y WIDTHxHEIGHT" of the program's window, as soon as it is visible.
std::string windowPlace();
