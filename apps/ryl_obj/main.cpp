// ryl-obj: looks at model files, checks them, converts them. The table of its subcommands is here.
#include "command.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

namespace {

const Command* const COMMANDS[] = {&INFO_COMMAND,    &CHECK_COMMAND, &CONVERT_COMMAND,
                                   &PICTURE_COMMAND, &VIEW_COMMAND,  &PROBE_COMMAND};

void printHelp(std::FILE* to) {
    std::fputs("Usage: ryl-obj SUBCOMMAND [OPTION...] FILE...\n\n"
               "Looks at Wavefront OBJ models with their material libraries, checks them, converts them.\n\n",
               to);
    for (const Command* command : COMMANDS) std::fprintf(to, "  %-10s %s\n", command->name, command->summary);
    std::fputs(
        "\n  ryl-obj SUBCOMMAND --help   print its options\n"
        "  ryl-obj --help              print this\n"
        "  ryl-obj --version           print the version\n\n"
        "\"-\" is standard input, and standard output where something is written. Exit status: 0 all is well,\n"
        "1 check has findings, 2 a file or the command line cannot be used.\n",
        to);
}

const Command* find(const char* name) {
    for (const Command* command : COMMANDS)
        if (std::strcmp(command->name, name) == 0) return command;
    return nullptr;
}

// Files that the program opens must not get the numbers of standard streams.
void openStandardStreams() {
    int file = 0;
    do file = open("/dev/null", O_RDWR);
    while (file >= 0 && file <= STDERR_FILENO);
    if (file > STDERR_FILENO) close(file);
}

// An endless file ends with a message then, before the system looks for a process to kill. The sanitizers take more
// memory than there is.
void limitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    struct sysinfo machine {};
    rlimit limit{};
    if (sysinfo(&machine) != 0 || getrlimit(RLIMIT_DATA, &limit) != 0) return;
    const auto most = static_cast<rlim_t>((0.75 * machine.totalram + machine.freeswap) * machine.mem_unit);
    limit.rlim_cur = std::min(limit.rlim_cur, most);
    setrlimit(RLIMIT_DATA, &limit);
#endif
}

int runCommand(int argc, char** argv) {
    const char* name = argc > 1 ? argv[1] : "";
    const bool version = std::strcmp(name, "--version") == 0;
    if (version || std::strcmp(name, "--help") == 0) {
        version ? static_cast<void>(std::puts("ryl-obj " RYL_OBJ_VERSION)) : printHelp(stdout);
        return FINE;
    }
    const Command* command = find(name);
    if (command == nullptr) {
        if (*name != '\0') report("", 0, std::string("there is no subcommand \"") + name + "\"");
        printHelp(stderr);
        return UNUSABLE;
    }
    return command->run(readCommandLine(*command, argc - 1, argv + 1));
}

}  // namespace

int main(int argc, char** argv) {
    openStandardStreams();
    limitMemory();
    int status = UNUSABLE;
    try {
        status = runCommand(argc, argv);
    } catch (const std::bad_alloc&) {
        report("", 0, "out of memory");
    } catch (const std::exception& error) {
        report("", 0, error.what());
    }
    hideProgress();
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    report("standard output", 0, std::strerror(errno));
    return UNUSABLE;
}
