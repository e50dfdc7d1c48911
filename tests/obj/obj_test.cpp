// The command for model files as its users meet it: its exit statuses, what it prints, what it writes.
#include "command.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

namespace {

// A folder with a model of two triangles, its library, and files that are no models. `{}` in a command is the program.
class Folder : public TempDir {
public:
    Folder() {
        write("square.obj", "mtllib square.mtl\nv 0 0 0\nv 2 0 0\nv 2 1 0\nv 0 1 0\ng left\nusemtl red\nf 1 2 3\n"
                            "f 1 3 4\n");
        write("square.mtl", "newmtl red\nKd 1 0 0\nmap_Kd brick.png\n");
        write("bad.obj", "v 0 0 0\n\nf 1 1 x\n");
    }
    Ran run(std::string command) const {
        for (std::size_t at; (at = command.find("{}")) != std::string::npos;) command.replace(at, 2, RYL_OBJ);
        return ::run("cd '" + path().string() + "' && { " + command + " ; } 2>&1");
    }
};

struct Case {
    const char* command;
    int status;
    const char* printed;  // a part of the output, standard error with it
};

void expectAll(const Folder& folder, std::span<const Case> cases) {
    for (const Case& each : cases) {
        const Ran ran = folder.run(each.command);
        EXPECT_EQ(ran.status, each.status) << each.command << '\n' << ran.output;
        EXPECT_NE(ran.output.find(each.printed), std::string::npos) << each.command << '\n' << ran.output;
    }
}

TEST(Command, SaysWhatItCannotUse) {
    constexpr Case CASES[] = {
        {"{}", 2, "Usage: ryl-obj SUBCOMMAND"},
        {"{} --help", 0, "Usage: ryl-obj SUBCOMMAND"},
        {"{} --version", 0, "ryl-obj " RYL_EXPECTED_VERSION "\n"},
        {"{} inform", 2, "ryl-obj: there is no subcommand \"inform\"\n"},
        {"{} info --help", 0, "Usage: ryl-obj info [OPTION...] FILE...\n"},
        {"{} info", 2, "ryl-obj: info takes FILE...\nTry: ryl-obj info --help\n"},
        {"{} info --jsn square.obj", 2, "unrecognized option"},
        {"{} info missing.obj", 2, "missing.obj: No such file or directory\n"},
        {"{} info .", 2, ".: Is a directory\n"},
        {"{} info bad.obj", 2, "bad.obj:3: "},
        {"{} info square.obj >/dev/full", 2, "standard output: No space left on device\n"},
        {"mkfifo pipe && { cat square.obj >pipe & {} info pipe; }", 0, "pipe\n  positions            4\n"},
    };
    expectAll(Folder(), CASES);
}

TEST(Info, PrintsWhatAModelHolds) {
    constexpr Case CASES[] = {
        {"{} info square.obj", 0, "  triangles            2\n"},
        {"{} info square.obj", 0, "x 0.0 to 2.0\n"},
        {"{} info bad.obj square.obj", 2, "square.obj\n  positions            4\n"},
        {"{} info - <square.obj", 0, "standard input\n"},
        {"{} info --json square.obj", 0, "\"path\": \"brick.png\",\n        \"found\": false"},
        {"printf 'v 0 0 0\\ng a\\377\\033b\\nf 1 1 1\\n' | {} info --json -", 0, "\\u001bb\""},
        {"printf 'v 0 0 0\\ng a\\033[0m\\nf 1 1 1\\n' | {} info -", 0, "a\\x1b[0m (1 triangles)"},
    };
    expectAll(Folder(), CASES);
}

TEST(Probe, PrintsTheFrameworksLook) {
    constexpr Case CASES[] = {
        {"{} probe square.obj", 0, "[*] Loading square.obj.\nsquare.mtl\n\n\n"},
        {"{} probe bad.obj", 0, "[/] No mtllib defined in the model\n"},
        {"{} probe missing.obj", 2, "missing.obj: No such file or directory\n"},
    };
    expectAll(Folder(), CASES);
}

}  // namespace
