// ryl-obj probe: the framework's own look at a model, which builds none.
#include "command.h"

#include "models.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

int run(const CommandLine& line) {
    // The framework opens files by their names.
    const char* const asked = line.operands.front();
    const char* const path = std::strcmp(asked, "-") == 0 ? "/dev/stdin" : asked;
    struct stat status {};
    const bool readable = access(path, R_OK) == 0 && stat(path, &status) == 0;
    if (!readable || S_ISDIR(status.st_mode)) {
        report(nameOf(asked), 0, std::strerror(readable ? EISDIR : errno));
        return UNUSABLE;
    }
    ryl_loadObjModel(path);
    // Its last line may lack an end.
    std::puts("");
    return FINE;
}

}  // namespace

const Command PROBE_COMMAND = {.name = "probe",
                               .operands = "FILE",
                               .least = 1,
                               .most = 1,
                               .summary = "print which material library a model names, by the framework's quick look",
                               .details =
                                   "The library is the text between the first \"mtllib\" and the first \".mtl\" "
                                   "of the file, looked for in\nthe working directory.",
                               .options = {},
                               .run = run};
