#include "model_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using Floats = std::vector<float>;

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv -1 .5 0\n";  // five lines
const std::string AT = " in file \"@m.obj\", line ";

// Each corner as position/texture coordinate/normal, none as "-".
std::string cornersOf(const GLMmodel& model) {
    std::string text;
    const auto number = [](std::uint32_t index) { return index == GLM_NO_INDEX ? "-" : std::to_string(index); };
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (int k = 0; k < 3; ++k) {
            const GLMtriangle& triangle = model.triangles[i];
            text += number(triangle.vindices[k]) + "/" + number(triangle.tindices[k]) + "/" +
                    number(triangle.nindices[k]) + (k < 2 ? " " : "; ");
        }
    return text;
}

// Each group with its material, and its triangles with theirs.
std::string groupsOf(const GLMmodel& model) {
    std::string text;
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next) {
        text += std::string("[") + group->name + "] " + std::to_string(group->material) + ":";
        for (std::uint32_t i = 0; i < group->numtriangles; ++i)
            text += " " + std::to_string(group->triangles[i]) + "(" +
                    std::to_string(model.triangles[group->triangles[i]].material) + ")";
        text += "\n";
    }
    return text;
}

}  // namespace

TEST(Read, CornerFormsAndFans) {
    const struct {
        const char *faces, *corners;
    } cases[] = {
        {"f 1//1 2//2 3//1", "1/-/1 2/-/2 3/-/1; "},
        {"f 1/7 2/8 3/9", "1/7/- 2/8/- 3/9/-; "},  // texture coordinates are not tested
        {"f 1/1/2 2/2/1 3/1/1", "1/1/2 2/2/1 3/1/1; "},
        {"f 1//-1 2//1 3//-1\nf 1/-1/1 2/2/-1 3/1/1", "1/-/- 2/-/1 3/-/-; 1/-/1 2/2/- 3/1/1; "},
        {"f 1 2 3 4 5#\n", "1/-/- 2/-/- 3/-/-; 1/-/- 3/-/- 4/-/-; 1/-/- 4/-/- 5/-/-; "},
        {"f\n1\t2\n\n+3\nfoo 3 4 5 # x", "1/-/- 2/-/- 3/-/-; 3/-/- 4/-/- 5/-/-; "},
    };
    for (const auto& test : cases)
        EXPECT_EQ(cornersOf(*ModelFiles(POINTS + "vn 0 0 1\nvn 0 0 1\n" + test.faces).read()), test.corners);
}

TEST(Read, NumbersAndAnEmptyFile) {
    const Model model =
        ModelFiles("v 1 2 3 0.5 0.5\nv\n4\n5 6e0 # w\nvn 0 0 -1\nvt 0.25 0.75 9\nvt 0.5 -1\ns off\nl 1 2").read();
    ASSERT_EQ(model->numvertices, 2u);
    EXPECT_EQ(Floats(model->vertices + 3, model->vertices + 9), (Floats{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Floats(model->normals + 3, model->normals + 6), (Floats{0, 0, -1}));
    EXPECT_EQ(Floats(model->texcoords + 2, model->texcoords + 6), (Floats{.25f, .75f, .5f, -1}));
    EXPECT_EQ(model->mtllibname, nullptr);

    const Model empty = ModelFiles("").read();
    EXPECT_NE(empty->vertices, nullptr);
    EXPECT_EQ(empty->normals, nullptr);
    EXPECT_EQ(empty->materials, nullptr);
    EXPECT_EQ(groupsOf(*empty), "[default] 0:\n");
}

TEST(Read, GroupsAreNewestFirstAndKeepTheirBlanks) {
    const Model model =
        ModelFiles(POINTS + "g cube\nf 1 2 3\ng  two words \r\nf 2 3 4\ngroup cube\nf 3 4 5\ng end").read();
    EXPECT_EQ(groupsOf(*model), "[ end] 0:\n[  two words ] 0: 1(0)\n[ cube] 0: 0(0) 2(0)\n[default] 0:\n");
    EXPECT_EQ(glmAddGroup(model.get(), " cube"), glmFindGroup(model.get(), " cube"));
    EXPECT_EQ(glmFindGroup(model.get(), "cube"), nullptr);
    EXPECT_EQ(glmAddGroup(model.get(), "cube"), model->groups);
    EXPECT_EQ(model->numgroups, 5u);
}

// A group takes the first material that is current at one of its faces, or chosen while it holds a triangle. A second
// library replaces the first.
TEST(Read, MaterialsOfGroupsAndTriangles) {
    const ModelFiles files(
        POINTS + "mtllib n.mtl\ng a\nusemtl red\ng b\nf 1 2 3\nusemtl blue x\nf 1 2 3\ng c\nusemtl default\n"
                 "f 1 2 3\nusemtl blue\ng d\nmtllib m.mtl other.mtl\nf 1 2 3\n",
        "newmtl red\nnewmtl blue\n");
    files.folder.write("n.mtl", "newmtl green\n");
    const Model model = files.read();
    EXPECT_EQ(groupsOf(*model), "[ d] 2: 3(2)\n[ c] 2: 2(0)\n[ b] 1: 0(1) 1(2)\n[ a] 0:\n[default] 0:\n");
    EXPECT_STREQ(model->mtllibname, "m.mtl");
}

TEST(Read, WhatIsLeftOfALongLineIsReadAsStatements) {
    const std::string comment = "# " + std::string(126, '-');
    const Model model =
        ModelFiles(comment + "v 1 2 3\n" + comment + "-v 4 5 6\ng " + std::string(126, 'n') + "v 7 8 9\n").read();
    ASSERT_EQ(model->numvertices, 2u);
    EXPECT_EQ(model->vertices[3 + 3], 7.0f);
    EXPECT_EQ(std::strlen(model->groups->name), 127u);
    // Counting ends the line's rest in front of the second "v", reading goes on after "x".
    EXPECT_EQ(ModelFiles("v 1 2 3 x" + std::string(119, ' ') + "v 4 5 6\n").read()->numvertices, 1u);
}

TEST(Read, Messages) {
    const std::string range = "vertex index for triangle 0 out of bounds ",
                      late = "glmReadOBJ: statement after another one on its line";
    const struct {
        std::string obj, mtl;
        bool fatal;
        std::string message;
    } cases[] = {
        {POINTS + "vn 0 0 1\nf 1//1 2//1 0//1", "", true, range + "(0 > 5)\n"},
        {POINTS + "f 1 2 3 4\nf 1 2 6", "", true, "vertex index for triangle 2 out of bounds (6 > 5)\n"},
        {POINTS + "f 1 2 4294967295", "", true, range + "(-1 > 5)\n"},
        {POINTS + "f 1 2 -2", "", true, range + "(-2 > 5)\n"},
        {POINTS + "f 9//1 2//1 3//1", "", true, "normal index for triangle 0 out of bounds (1 > 0)\n"},
        {"vp 0.5\n", "", true, "glmFirstPass(): Unknown token \"vp\"."},
        {"maplib x\n", "", true, "glmReadOBJ: Got \"maplib\" instead of \"mtllib\""},
        {"use red\n", "", true, "glmReadOBJ: Got \"use\" instead of \"usemtl\""},
        {"mtllib gone.mtl\n", "", true, "glmReadMTL() failed: can't open material file \"@gone.mtl\"."},
        {"mtllib ../\n", "", true, "glmReadMTL() failed: can't open material file \"@../\"."},
        {POINTS + "f 1 2 4294967296", "", true,
         "glmReadOBJ: Got \"4294967296\" instead of a corner \"v\"" + AT + "6"},
        {POINTS + "f 1/1 2/2 3", "", true, "glmReadOBJ: Got \"3\" instead of a corner \"v/vt\"" + AT + "6"},
        {POINTS + "f 1//1 2/1/1 3//1", "", true,
         "glmReadOBJ: Got \"2/1/1\" instead of a corner \"v//vn\"" + AT + "6"},
        {POINTS + "f 1/1/1/1 2 3", "", true,
         "glmReadOBJ: Got \"1/1/1/1\" instead of a corner \"v/vt/vn\"" + AT + "6"},
        {POINTS + "f 1 2 3.5", "", true, "glmReadOBJ: Got \"3.5\" instead of a corner \"v\"" + AT + "6"},
        {POINTS + "f 1 2\nf 1 2 3\n", "", true, "glmReadOBJ: \"f\" with fewer than three corners" + AT + "6"},
        {"v 1,5 2 3\n", "", true, "glmReadOBJ: numbers that can't be read" + AT + "1"},
        {"v 1 2 3 v 4 5 6\n", "", true, late + AT + "1"},
        // As many faces as counted, but not in the group that they were counted for.
        {POINTS + "g a\nf 1 2 3\ng b\nf 1 2 3\nv 1 2 3 g a\nf 1 2 3\n", "", true, late + AT + "11"},
        {POINTS + "v 1 2 3 g a\n", "", true, "glmReadOBJ: \"g\" after another statement on its line" + AT + "6"},
        {"usemtl red x\n", "", false, "glmFindMaterial():  can't find material \"red\"."},
        {"usemtl\n", "", false,
         "glmReadOBJ: \"usemtl\" without a name in file \"@m.obj\", taken as the default material"},
        {"mtllib  \t\n", "", false, "glmReadOBJ: \"mtllib\" without a name ignored in file \"@m.obj\""},
        {"vt 0.5\nvt 1 2\n", "", false, "glmReadOBJ: \"vt\" with one number in file \"@m.obj\", taken as v = 0"},
        {"", "name x\n", true, "glmReadMTL: Got \"name\" instead of \"newmtl\" in file \"@m.mtl\""},
        {"", "ill 2\n", true, "glmReadMTL: Got \"ill\" instead of \"illum\" in file \"@m.mtl\""},
        {"", "d 1 newmtl a\n", true, "glmReadMTL: \"newmtl\" after another statement on its line in file \"@m.mtl\""},
        {"", "Km 1\nKd 1 1 1\n", false, "glmReadMTL: Command \"Km\" ignored"},
        {"", "Nx 1\n", false, "glmReadMTL: Command \"Nx\" ignored"},
        {"", "Ni 1.5\n", false, "refraction index ignored"},
        {"", "illum 1\nillum 2\n", false, "illum material ignored: illum 1"},
        {"", "map_Ka  wood 1.png \nillum 2\n", false, "map map_Ka wood 1.png ignored"},
        {"", "refl -type sphere x\n", false, "reflection type ignored: r -type sphere x\n"},
        {"", "map_Kd \t\n", false, "glmReadMTL: \"map_Kd\" without a name ignored in file \"@m.mtl\""},
        {"", "newmtl\n", false, "glmReadMTL: \"newmtl\" without a name in file \"@m.mtl\""},
        {"", "Kd spectral x\n", false, "glmReadMTL: \"Kd\" ignored, its numbers can't be read in file \"@m.mtl\""},
        {"", "illum x\n", false, "glmReadMTL: \"illum\" ignored, its number can't be read in file \"@m.mtl\""},
    };
    for (const auto& test : cases) {
        const ModelFiles files((test.mtl.empty() ? "" : "mtllib m.mtl\n") + test.obj, test.mtl);
        std::string expected = (test.fatal ? "GLM: Fatal Error: " : "GLM: Warning: ") + test.message + "\n";
        if (const std::size_t at = expected.find('@'); at != std::string::npos) expected.replace(at, 1, files.at(""));
        const ChildResult result = runInChild([&] { files.read(); });
        EXPECT_EQ(result.errors, expected) << test.obj << test.mtl;
        EXPECT_EQ(result.status, test.fatal ? 1 : 0) << test.obj << test.mtl;
    }
    for (const std::string path : {"gone.obj", "/"}) {
        const ChildResult result = runInChild([&] { glmReadOBJ(path.c_str()); });
        EXPECT_EQ(result.errors, "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"" + path + "\".\n");
        EXPECT_EQ(result.status, 1);
    }
}

// Damaged files end in a message or in a model whose indices are in range, in nothing else.
TEST(Read, DamagedFilesDoNoHarm) {
    const std::string obj = "mtllib m.mtl\n" + POINTS +
                            "vt 0 1\nvn 0 0 1\ng a\nusemtl red\nf 1/1/1 2/1/1 3/1/1 4/1/1\n"
                            "g b\nusemtl blue\nf 1//1 2//1 3//1\nf 4 5 1\n";
    const std::string mtl = "newmtl red\nKd 1 0 0\nd 0.5\nillum 2\nNs 5\nnewmtl blue\nKs 1 1 1\nmap_Ka x\n";
    constexpr const char* PIECES[] = {"\n", " ", "-", "/", "4294967295", "v ", "f ", "g a", "newmtl ", "\r"};
    std::mt19937 random(7);
    const auto damage = [&](std::string text) {
        for (unsigned edits = random() % 4; edits > 0; --edits) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, random() % 20);
                break;
            case 2:
                text.insert(at, PIECES[random() % std::size(PIECES)]);
                break;
            default:
                text.insert(at, text.substr(random() % text.size(), random() % 200));
            }
        }
        return text;
    };
    for (int i = 0; i < 150; ++i) {
        const ModelFiles files(damage(obj), damage(mtl));
        const ChildResult result = runInChild([&] {
            const Model model = files.read();
            for (std::uint32_t k = 0; k < model->numtriangles; ++k) {
                if (model->triangles[k].material >= std::max(model->nummaterials, 1u)) std::abort();
                for (const std::uint32_t index : model->triangles[k].vindices)
                    if (index < 1 || index > model->numvertices) std::abort();
            }
        });
        ASSERT_TRUE(result.status == 0 || result.status == 1) << result.errors;
        ASSERT_EQ(result.status == 1, result.errors.find("GLM: Fatal Error: ") != std::string::npos) << result.errors;
    }
}
