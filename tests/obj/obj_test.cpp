// The command for model files as its users meet it: its exit statuses, what it prints, what it writes.
#include "command.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <span>
#include <sstream>
#include <string>

namespace {

// A folder with a model of two triangles, its library, and files that are no models. `{}` in a command is the
// program.
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
        {"{} info square.obj", 0, "  faces                2\n  triangles            2\n"},
        {"{} info square.obj", 0, "x 0.0 to 2.0\n"},
        {"{} info bad.obj square.obj", 2, "square.obj\n  positions            4\n"},
        {"{} info - <square.obj", 0, "standard input\n"},
        {"{} info --json square.obj", 0, "\"path\": \"brick.png\",\n        \"found\": false"},
        {"printf 'v 0 0 0\ng a\377\033b\nf 1 1 1\n' | {} info --json -", 0, "\"name\": \"a\xef\xbf\xbd\\u001bb\""},
        {"printf 'v 0 0 0\ng a\033[0m\nf 1 1 1\n' | {} info -", 0, "a\\x1b[0m (1 face)"},
    };
    expectAll(Folder(), CASES);
}

// Everything that check looks for, once, and the line where it is.
TEST(Check, FindsWhatIsWrongWithItsLine) {
    const Folder folder;
    folder.write("wrong.obj", "mtllib wrong.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 5 5 5\nv -0 0 0\nv nan 0 0\n"
                              "vt 0 0\nvn 0 0 1\nvn 0 0 3\nvn 0 0 -1\nusemtl red\nf 1 2 \\\n3 4\nf 3 4 1 2\n"
                              "f 1//1 2//1 3//2\nf 1 6 2\nf 1//3 2//3 3//3 # back\nusemtl nope\nf 2 3\nl 1 2\nodd\n");
    folder.write("wrong.mtl", "newmtl red\nd 0.5\nTr 0.4\nmap_Kd no.png\nnewmtl blue\nnewmtl red\n");
    constexpr Case CASES[] = {
        {"{} check wrong.obj", 1, "wrong.obj:23: warning: "},
        {"{} check wrong.obj", 1, "wrong.obj:21: warning: "},
        {"{} check wrong.obj", 1, "wrong.mtl:4: warning: image \"no.png\" isn't there [missing-file]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:20: warning: can't find material \"nope\". [material]\n"},
        {"{} check wrong.obj", 1, "wrong.mtl:3: warning: d and Tr of material \"red\" are at odds"},
        {"{} check wrong.obj", 1, "wrong.mtl:6: warning: material \"red\" is there already"},
        {"{} check wrong.obj", 1, "wrong.mtl:5: note: nothing uses material \"blue\" [unused-material]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:8: error: the position is not finite [not-finite]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:18: warning: two neighbouring corners are at one position"},
        {"{} check wrong.obj", 1, "wrong.obj:16: warning: the face has the positions of the one in line 14"},
        {"{} check wrong.obj", 1, "wrong.obj:16: warning: the edge between positions 1 and 4 runs as in the face"},
        {"{} check wrong.obj", 1, "wrong.obj:19: warning: the normals point to the back of the face [flipped]\n"},
        {"{} check wrong.obj", 1,
         "wrong.obj:17: warning: more than two faces share the edge between positions 1 and 2"},
        {"{} check wrong.obj", 1, "wrong.obj:11: warning: the normal has the length 3 [normal-length]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:7: note: the position equals position 1 [duplicate-position]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:6: note: nothing uses the position [unused]\n"},
        {"{} check wrong.obj", 1, "wrong.obj:9: note: nothing uses the texture coordinate [unused]\n"},
    };
    expectAll(folder, CASES);
}

// A closed cube seen from outside; `turned` and `inside` have one and all of its faces turned over.
TEST(Check, TellsClosedFromOpenAndOutsideFromInside) {
    const Folder folder;
    const std::string points = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n";
    const std::string faces = "f 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    folder.write("cube.obj", points + "f 1 4 3 2\n" + faces);
    folder.write("open.obj", points + faces);
    folder.write("turned.obj", points + "f 1 2 3 4\n" + faces);
    folder.write("endless.obj", "mtllib pipe.mtl zero.mtl\n" + points);
    constexpr Case CASES[] = {
        {"{} check cube.obj", 0, "cube.obj: nothing found\n"},
        {"{} check open.obj", 0, "open.obj: 4 open-edge\n"},
        {"{} check --fail-on note open.obj", 1, "open.obj:10: note: the edge between positions 1 and 2 belongs to"},
        {"{} check turned.obj", 1, "turned.obj: 4 winding\n"},
        {"{} check --fail-on error,unused turned.obj", 0, "4 winding"},
        {"{} convert --reverse cube.obj - | {} check -", 1, "closed part of 6 faces that begins here is inside out"},
        {"{} check --fail-on wnding cube.obj", 2, "--fail-on knows no kind \"wnding\""},
        {"{} check --json bad.obj", 2, "\"usable\": false"},
        {"mkfifo pipe.mtl; ln -s /dev/zero zero.mtl; {} check endless.obj", 1, "endless.obj:1: warning: can't open"},
        {"for i in 1 2 3 4; do printf 'v 0 0 %s\nv 1 0 %s\nv 0 1 %s\nf -3 -2 -1\n' $i $i $i; done >many.obj; "
         "{} check many.obj",
         0, "many.obj: ... and 2 more [open-edge] (--all shows all)\n"},
        {"{} check --all many.obj | grep -c 'open-edge\\]'", 0, "12\n"},
    };
    expectAll(folder, CASES);
}

TEST(Convert, KeepsWhatAModelHolds) {
    const Folder folder;
    folder.write("all.obj",
                 "mtllib all.mtl\nv 0 0 0 1 0 0\nv 1e-7 0 0.1 1 1 1\nv 1 1 0 0 0 1\nv 0 1 0 0 0 0\nvt 0 0\n"
                 "o thing\ng a b\nusemtl two words\ns 2\nf 1/1 2/1 3/1 4/1\nl 1 3\np 4\n");
    folder.write("all.mtl", "newmtl two words\nd 0.25\nPr 0.5\nmap_Kd -s 2 2 2 sub/brick.png\nshader glass 7\n");
    constexpr Case CASES[] = {
        {"mkdir sub away && touch sub/brick.png && {} convert all.obj away/new.obj && ls -A away", 0,
         "new.mtl\nnew.obj\n"},
        {"cat away/new.mtl", 0, "d 0.25\nPr 0.5\nmap_Kd -s 2 2 2 ../sub/brick.png\nshader glass 7\n"},
        {"cat away/new.obj", 0, "o thing\ng a b\nusemtl two words\ns 2\nf 1/1 2/1 3/1 4/1\nl 1 3\np 4\n"},
        {"grep ^v away/new.obj", 0, "v 0 0 0 1 0 0\nv 1e-07 0 0.1 1 1 1\nv 1 1 0 0 0 1\nv 0 1 0 0 0 0\nvt 0 0\n"},
        {"cp away/new.obj first; {} convert --force away/new.obj away/new.obj && cmp first away/new.obj", 0, ""},
        {"{} convert --no-materials all.obj bare.obj && ls bare*; grep mtl bare.obj", 1, "bare.obj\n"},
        {"{} convert --to ply --ascii all.obj -", 0, "0 0 0 0 0 255 0 0\n"},
        {"{} convert --to ply --ascii all.obj -", 0, "\n4 0 1 2 3\n0 2\n"},
        {"{} convert all.obj all.ply && head -c 40 all.ply", 0, "ply\nformat binary_little_endian 1.0\n"},
    };
    expectAll(folder, CASES);
}

TEST(Convert, ChangesWhatIsAskedFor) {
    const Folder folder;
    folder.write("roof.obj", "v 0 0 0\nv 2 0 0\nv 2 0 2\nv 0 0 2\nv 2 0 0\nv 2 0 2\nv 2 4 0\nv 2 4 2\nv 9 9 9\n"
                             "f 4 3 2 1\nusemtl x\nf 5 6 8 7\nl 5 7\n");
    constexpr Case CASES[] = {
        {"{} convert --translate 1,-1,0.5 --scale 2 roof.obj - | grep -m1 ^v", 0, "v 2 -2 1\n"},
        {"{} convert --scale 2 --translate 1,-1,0.5 roof.obj - | grep -m1 ^v", 0, "v 1 -1 0.5\n"},
        {"{} convert --unitize roof.obj - | grep ^v", 0, "v 1 1 1\n"},
        {"{} convert --weld 0.1 roof.obj - | grep ^[fl]", 0, "f 4 3 2 1\nf 2 3 6 5\nl 2 5\n"},
        {"{} convert --weld 0.1 --normals 60 roof.obj - | grep ^[vf]n*", 0, "vn 0 1 0\n"},
        {"{} convert --weld 0.1 --normals 120 roof.obj - | grep -c ^vn", 0, "6\n"},
        {"{} convert --facet-normals roof.obj - | grep ^f", 0, "f 4//1 3//1 2//1 1//1\nf 5//2 6//2 8//2 7//2\n"},
        {"{} convert --triangulate roof.obj - | grep -c ^f", 0, "4\n"},
        {"{} convert --triangulate roof.obj - | grep ^l", 0, "l 5 7\n"},
        {"{} convert --reverse roof.obj - | grep ^f", 0, "f 4 1 2 3\nf 5 7 8 6\n"},
        {"{} convert --map cube roof.obj - | grep ^vt", 0, "vt 0 0.22222222\n"},
        {"{} convert --map linear roof.obj - | grep ^f", 0, "f 4/4 3/3 2/2 1/1\n"},
        {"{} convert --map spherical roof.obj -", 2, "put --normals in front of it"},
        {"{} convert --groups part roof.obj - | grep ^g", 0, "g part1\ng part2\n"},
        {"{} convert --scale x roof.obj -", 2, "--scale takes a number from 0 to"},
    };
    expectAll(folder, CASES);
}

// Each leaves the folder as it is.
TEST(Convert, HarmsNoFile) {
    const Folder folder;
    const std::string before = folder.run("mkdir closed; echo kept >old.obj; ls -A . closed").output;
    constexpr Case CASES[] = {
        {"{} convert square.obj old.obj", 2, "old.obj: there already; --force replaces it\n"},
        {"{} convert square.obj closed", 2, "closed: --to obj or --to ply says what to write\n"},
        {"{} convert --to obj square.obj closed", 2, "closed: Is a directory\n"},
        {"{} convert square.obj none/new.obj", 2, "none/new.obj: No such file or directory\n"},
        {"{} convert --to ply square.obj /dev/full", 2, "/dev/full: No space left on device\n"},
        {"{} convert square.obj - >/dev/full", 2, "standard output: No space left on device\n"},
        {"(ulimit -f 0; {} convert square.obj new.ply)", 128 + SIGXFSZ, ""},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these need more
        {"(ulimit -v 100000; yes 'v 1 2 3' | head -n 9000000 | {} convert - new.obj)", 2, "out of memory"},
#endif
        {"{} convert bad.obj new.obj", 2, "bad.obj:3: "},
        // Nobody reads the pipe, so the signal comes while the file is whole but not in its place.
        {"mkfifo out.ply; TMPDIR=$PWD/closed {} convert square.obj out.ply & until ls closed/.ryl-obj-*/out.ply; do "
         "sleep 0.1; done; kill $!; wait $!; status=$?; rm out.ply; exit $status",
         128 + SIGTERM, "out.ply"},
    };
    expectAll(folder, CASES);
    EXPECT_EQ(folder.run("ls -A . closed").output, before);
    EXPECT_EQ(readFile(folder.path() / "old.obj"), "kept\n");
}

TEST(Manual, DescribesEveryOptionAndKind) {
    const Folder folder;
    const std::string manual = folder.run("sed 's/\\\\-/-/g' '" RYL_OBJ_MANUAL "'").output;
    const Ran words = folder.run("for each in info check convert picture view probe; do {} $each --help; done | "
                                 "sed -n 's/^  \\(--[a-z-]*\\).*/\\1/p; s/^  [enw][a-z]* *\\([a-z-]*\\) .*/\\1/p'");
    std::istringstream lines(words.output);
    int count = 0;
    for (std::string word; std::getline(lines, word); ++count)
        EXPECT_NE(manual.find(word), std::string::npos) << word;
    EXPECT_GT(count, 30);
}

TEST(Probe, PrintsTheFrameworksLook) {
    constexpr Case CASES[] = {
        {"{} probe square.obj", 0, "[*] Loading square.obj.\nsquare.mtl\n\n\n"},
        {"cat square.obj | {} probe -", 0, "[*] Loading /dev/stdin.\nsquare.mtl\n\n\n"},
        {"{} probe bad.obj", 0, "[/] No mtllib defined in the model\n"},
        {"{} probe missing.obj", 2, "missing.obj: No such file or directory\n"},
    };
    expectAll(Folder(), CASES);
}

}  // namespace
