// program.h - the real program as a black box: started in a private copy of its run directory on a private display
#pragma once

#include "command.h"
#include "temp_dir.h"

#include <sys/types.h>

#include <string>

// A copy of the run directory: the assets are links, so that a test may replace one; capture/ is empty.
class RunDirectory : public TempDir {
public:
    RunDirectory();
};

// The program while it runs. Ended with the record.
class Program {
public:
    // Starts `ryl` in `directory` with options as one writes them in a shell, its output line by line on a pipe.
    Program(const RunDirectory& directory, const std::string& options);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads on until a line that contains `text`; false when the output ends before, or after a minute.
    bool waitForLine(const std::string& text);
    // Reads on to the end and waits for the process. Exit status, or minus the signal that ended it; the program is
    // killed (-9) after a minute.
    int finish();
    // Sends a signal first.
    int endBy(int signal);
    // Everything read so far, standard output and standard error together.
    const std::string& output() const { return text; }
    pid_t id() const { return process; }

private:
    bool readMore(int milliseconds);

    pid_t process = -1;
    int pipe = -1;
    std::size_t searched = 0;
    std::string text;
};

// The program in a run directory of its own, once it has printed a line that contains `line`. The test fails when
// that line does not come.
class RunningProgram : public RunDirectory, public Program {
public:
    RunningProgram(const std::string& options, const std::string& line);
};

// Runs the program to its end: exit status (or minus the signal) and all it printed.
Ran runProgram(const RunDirectory& directory, const std::string& options);

// Runs a shell command line on the private display and returns what it prints.
std::string shell(const std::string& commandLine);

// Presses a key (an xdotool name such as "space") in the program's window, or several, one after the other.
void pressKey(const std::string& key);

// "X,Y WIDTHxHEIGHT" of the program's window, once it can be seen.
std::string windowPlace();
