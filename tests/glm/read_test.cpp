#include "glm/glm_util.h"
#include "model_files.h"
#include "plain_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>

namespace {

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv -1 .5 0\nvn 0 0 1\n";  // six lines
const std::string AT = " in file \"@m.obj\", line ";

// Each group with its material, and the first corners of its triangles with theirs.
std::string textOf(const Model& model) {
    const auto number = [](std::uint32_t index) { return index == GLM_NO_INDEX ? "-" : std::to_string(index); };
    std::string text;
    for (const GLMgroup* group = model->groups; group != nullptr; group = group->next) {
        text += "[" + std::string(group->name) + "]" + number(group->material);
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) {
            const GLMtriangle& triangle = model->triangles[group->triangles[i]];
            text += " " + number(triangle.vindices[1]) + "/" + number(triangle.tindices[1]) + "/" +
                    number(triangle.nindices[1]) + ":" + number(triangle.material);
        }
    }
    return text;
}

}  // namespace

// A group takes the first material that is current at a face, or is chosen while it holds a triangle. A second
// library replaces the first.
TEST(Read, FormsGroupsAndMaterials) {
    const ModelFiles files(
        POINTS + "mtllib n.mtl\ng a\nusemtl red\ng  b c \r\nf 1//1 2//-1 3//1\nusemtl blue x\nv 5 5 5 unused red\n"
                 "f 1/7 2/8 3/9 4/7#\ng d\nusemtl default\nfoo 1/1/1\n2/-1/1\n3/1/1\nusemtl blue\n"
                 "group end\nmtllib m.mtl other.mtl\ng  b c \nf\t2 +3\n5\n",
        "newmtl red\nnewmtl blue\n");
    files.folder.write("n.mtl", "newmtl green\n");
    const Model model = files.read();
    EXPECT_EQ(textOf(model), "[ end]0[ d]2 2/-/1:0[  b c ]1 2/-/-:1 2/8/-:2 3/9/-:2 3/-/-:2[ a]0[default]0");
    EXPECT_EQ(glmAddGroup(model.get(), "end"), model->groups);
    EXPECT_EQ(glmAddGroup(model.get(), " end"), model->groups->next);
    const Model empty = ModelFiles("").read();
    EXPECT_NE(empty->vertices, nullptr);
    EXPECT_EQ(empty->normals, nullptr);
    EXPECT_EQ(empty->materials, nullptr);
}

TEST(Read, PrintsWhatIsWrongAndWhere) {
    const auto unread = [](const std::string& keyword) {
        return "glmReadMTL: \"" + keyword + "\" ignored, its numbers can't be read in file \"@m.mtl\"";
    };
    const std::string range = "vertex index for triangle 0 out of bounds ";
    const struct {
        std::string obj, mtl;
        int status;
        std::string message;
    } cases[] = {
        {POINTS + "f 1//1 2//1 0//1", "", 1, range + "(0 > 5)\n"},
        {POINTS + "f 9//2 2//1 3//1", "", 1, "normal index for triangle 0 out of bounds (2 > 1)\n"},
        {POINTS + "vt 0 1\nf 1/1 2/-1 3/99", "", 1,
         "texture coordinate index for triangle 0 out of bounds (99 > 1)\n"},
        {POINTS + "vt 0 1\nf 1/0/1 2/1/2 3/1/1", "", 1,
         "texture coordinate index for triangle 0 out of bounds (0 > 1)\n"},
        {POINTS + "vt 0 1\nf 1/9/2 2/1/1 3/1/1", "", 1, "normal index for triangle 0 out of bounds (2 > 1)\n"},
        {"mtllib ../\n", "", 1, "glmReadMTL() failed: can't open material file \"@../\"."},
        {POINTS + "f 1/1/ 2/1/ 3/1/\n", "", 1, "glmReadOBJ: \"f\" with fewer than three corners" + AT + "7"},
        {POINTS + "f 1 2 3 4 -4294967296\n", "", 1,
         "glmReadOBJ: Got \"-4294967296\" instead of a corner \"v\"" + AT + "7"},
        {POINTS + "f 1/99999999999999999999 2/1 3/1\n", "", 1,
         "glmReadOBJ: Got \"1/99999999999999999999\" instead of a corner \"v/vt/vn\"" + AT + "7"},
        {POINTS + "f 1 2\nf 1 2 3\n", "", 1, "glmReadOBJ: \"f\" with fewer than three corners" + AT + "7"},
        {"v 1 2 3e+\n", "", 1, "glmReadOBJ: numbers that can't be read" + AT + "1"},
        // As many faces as were counted, but in another group.
        {POINTS + "g a\nf 1 2 3\ng b\nf 1 2 3\nv 1 2 3 g a\nf 1 2 3\n", "", 1,
         "glmReadOBJ: statement after another one on its line" + AT + "12"},
        {"usemtl red x\n", "", 0, "glmFindMaterial():  can't find material \"red\"."},
        {"vt 0.5\nvt 1 2\n", "", 0, "glmReadOBJ: \"vt\" with one number in file \"@m.obj\", taken as v = 0"},
        // If the first number of a line cannot be read, nothing else of it is.
        {"", "Kd spectral newmtl\n", 0, unread("Kd")},
        {"", "Ns \t normal.png\n", 0, unread("Ns")},
        {"", "disp normal.png\n", 0, unread("disp")},
        {"", "decal noise.png d\n", 0, unread("decal")},
        {"", "illum normal", 0, unread("illum")},
    };
    for (const auto& test : cases) {
        const ModelFiles files((test.mtl.empty() ? "" : "mtllib m.mtl\n") + test.obj, test.mtl);
        std::string expected = (test.status == 1 ? "GLM: Fatal Error: " : "GLM: Warning: ") + test.message + "\n";
        if (const std::size_t at = expected.find('@'); at != std::string::npos) expected.replace(at, 1, files.at(""));
        const ChildResult result = runInChild([&] { files.read(); });
        EXPECT_EQ(result.errors, expected) << test.obj << test.mtl;
        EXPECT_EQ(result.status, test.status) << test.obj << test.mtl;
    }
    const ChildResult result = runInChild([] { glmReadOBJ("/"); });
    EXPECT_EQ(result.errors, "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"/\".\n");
}

// Nor at a size that wraps, as products do in 32 bits.
TEST(Read, EndsAtACountThatAnIndexCannotHold) {
    constexpr std::uint32_t MOST = GLM_NO_INDEX - 1;
    const Model model = ModelFiles(POINTS + "f 1 2 3\n").read();
    const std::string more = "more than 4294967294 ", in = " in model \"" + std::string(model->pathname) + "\"";
    std::uint32_t count = MOST - 5;
    const struct {
        std::function<void()> code;
        std::string message;
    } cases[] = {
        {[&] { __glmCount(*model, count, 5, "x"), __glmCount(*model, count, 1, "triangles"); },
         more + "triangles" + in},
        {[&] { __glmCount(*model, count, GLM_NO_INDEX, "triangles"); }, more + "triangles" + in},
        {[&] { model->numgroups = MOST, glmAddGroup(model.get(), "g"); }, more + "groups" + in},
        {[&] { model->numtriangles = MOST / 3 + 1, glmVertexNormals(model.get(), 60, false); },
         more + "normals" + in},
        {[&] { model->numnormals = MOST - 9, glmVertexNormals(model.get(), 60, true); }, more + "normals" + in},
        {[] { __glmArray<GLMtriangle>(SIZE_MAX / 4); },
         "out of memory (" + std::to_string(SIZE_MAX / 4) + " x 44 bytes)"},
        {[] { __glmEntries(MOST, sizeof(void*) == 4 ? 3 : SIZE_MAX / 4); }, "out of memory (4294967295 x "},
    };
    for (const auto& test : cases) {
        const ChildResult result = runInChild(test.code);
        EXPECT_EQ(result.errors.substr(0, 18 + test.message.size()), "GLM: Fatal Error: " + test.message);
        EXPECT_EQ(result.status, 1);
    }
}

TEST(Read, OpensFilesOf3GiB) {
    const ModelFiles files("material\n");
    ASSERT_EQ(truncate(files.path.c_str(), off_t{3} << 30), 0);
    EXPECT_EQ(runInChild([&] { files.read(); }).errors,
              "GLM: Fatal Error: glmReadOBJ: Got \"material\" instead of \"mtllib\"\n");
}

// Text made of statements, whole and damaged, shorter and longer than what is read at once.
TEST(Read, EqualsThePlainReader) {
    const std::string lines =
        "v @ @ @|v @\t@ @\r|vn  @ @ @|vnt @ @ @|vt @ @|vtn @ @|g &|g ~ &|#~|usemtl x f & & &|f & & & & &|f & & &\n&|"
        "f &//1 &//1 &//1|f &x & &/& &|f & & &abc|f & & & - + &|f &/7 &/8 &/9 \n|f &/&/1 &/&/1 &/-1/1 &/&/-1#";
    // The long decimals are halfway between two floats, or so near to it that doubles cannot tell.
    const std::string rare =
        "+1.5|1E-3|1e999|-1e-999|1e-40|0x1.8p3|-infinity|5.|-.5|-0|3.4028235677973366e38|16777217|"
        "0.1000000089406967163|9.00000524520874|-9.00000810623169|123456789012345678901234e-20";
    const std::string damage = "\n| |-|/|4294967296|v |f |g 1|usemtl|\r|x|#|1|+|f 1 2 3 |.|\v";
    std::mt19937 random(7);
    const auto pick = [&](const std::string& choices) {
        std::size_t at = random() % (choices.size() + 1);
        while (at > 0 && choices[at - 1] != '|') --at;
        return choices.substr(at, choices.find('|', at) - at);
    };
    const auto digits = [&](unsigned most) { return std::to_string(random()).substr(0, 1 + random() % most); };
    const auto expand = [&](char c) {
        if (c == '@' && random() % 8 == 0) return pick(rare);
        if (c == '@') return (random() % 2 == 0 ? "-" : "") + digits(8) + "." + digits(9);
        if (c == '&') return std::to_string(1 + random() % 100);
        return c == '~' ? std::string(random() % 300, 'v') : std::string(1, c);
    };
    int refused = 0;
    for (int i = 0; i < 150; ++i) {
        std::string obj = "vn 1 0 0\n";
        for (int k = 0; k < 100; ++k) obj += i % 16 == 0 ? "v 1 2 3\n" : "v 1 2 3\nvt 4 5\n";
        for (std::size_t size = obj.size() + (i % 100 == 0 ? 500000 : 500); obj.size() < size; obj += "\n")
            for (const char c : pick(lines)) obj += expand(c);
        for (unsigned edits = random() % 4; edits > 0; --edits) obj.insert(random() % obj.size(), pick(damage));
        const ModelFiles files(obj);
        const auto plain = plain::readOBJ(files.path.c_str());
        if (plain) {
            ASSERT_TRUE(plain::isSame(*plain, *files.read())) << obj;
            continue;
        }
        const ChildResult result = runInChild([&] { files.read(); });
        ASSERT_EQ(result.status, 1) << obj;
        ASSERT_NE(result.errors.find("Fatal Error: "), std::string::npos) << result.errors << obj;
        ++refused;
    }
    EXPECT_NEAR(refused, 75, 55);
}
