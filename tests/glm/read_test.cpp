#include "model_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Indices = std::vector<std::uint32_t>;

constexpr std::uint32_t NONE = GLM_NO_INDEX;
constexpr int MUTATIONS = 150;

const std::string FIVE_POINTS = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv -1 .5 0\n";

// Position, texture coordinate and normal of each corner of each triangle.
Indices cornersOf(const GLMmodel& model) {
    Indices indices;
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (int k = 0; k < 3; ++k) {
            const GLMtriangle& triangle = model.triangles[i];
            indices.insert(indices.end(), {triangle.vindices[k], triangle.tindices[k], triangle.nindices[k]});
        }
    return indices;
}

std::string groupsOf(const GLMmodel& model) {
    std::string text;
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next) {
        text += std::string("[") + group->name + "] material " + std::to_string(group->material) + ":";
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) text += " " + std::to_string(group->triangles[i]);
        text += "\n";
    }
    return text;
}

}  // namespace

TEST(Read, CornerFormsAndFans) {
    const struct {
        const char* faces;
        Indices corners;
    } cases[] = {
        {"f 1 2 3", {1, NONE, NONE, 2, NONE, NONE, 3, NONE, NONE}},
        {"f 1//1 2//2 3//1", {1, NONE, 1, 2, NONE, 2, 3, NONE, 1}},
        {"f 1/7 2/8 3/9", {1, 7, NONE, 2, 8, NONE, 3, 9, NONE}},  // texture coordinates are not tested
        {"f 1/1/2 2/2/1 3/1/1", {1, 1, 2, 2, 2, 1, 3, 1, 1}},
        {"f 1//-1 2//1 3//-1", {1, NONE, NONE, 2, NONE, 1, 3, NONE, NONE}},
        {"f 1/-1/1 2/2/-1 3/1/1", {1, NONE, 1, 2, 2, NONE, 3, 1, 1}},
        {"f 1 2 3 4 5 # a fan\n", {1,    NONE, NONE, 2,    NONE, NONE, 3,    NONE, NONE, 1,    NONE, NONE, 3,   NONE,
                                   NONE, 4,    NONE, NONE, 1,    NONE, NONE, 4,    NONE, NONE, 5,    NONE, NONE}},
        {"f\n1\t2\n\n+3\nfoo 3 4 5#x",
         {1, NONE, NONE, 2, NONE, NONE, 3, NONE, NONE, 3, NONE, NONE, 4, NONE, NONE, 5, NONE, NONE}},
    };
    for (const auto& test : cases) {
        const Model model = ModelFiles(FIVE_POINTS + "vn 0 0 1\nvn 0 0 1\n" + test.faces).read();
        EXPECT_EQ(cornersOf(*model), test.corners) << test.faces;
    }
}

TEST(Read, NumbersAndCounts) {
    const Model model =
        ModelFiles("v 1 2 3 0.5 0.5\nv\n4\n5 6e0 # w\nvn 0 0 -1\nvt 0.25 0.75 9\nvt 0.5 -1\no x\ns off\nl 1 2\n"
                   "f 1 2 1")
            .read();
    EXPECT_EQ(std::vector<float>(model->vertices + 3, model->vertices + 9), (std::vector<float>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(std::vector<float>(model->normals + 3, model->normals + 6), (std::vector<float>{0, 0, -1}));
    EXPECT_EQ(std::vector<float>(model->texcoords + 2, model->texcoords + 6),
              (std::vector<float>{.25f, .75f, .5f, -1}));
    EXPECT_EQ(model->numvertices, 2u);
    EXPECT_EQ(model->numnormals, 1u);
    EXPECT_EQ(model->numtexcoords, 2u);
    EXPECT_EQ(model->numfacetnorms, 1u);
    EXPECT_EQ(model->triangles[0].findex, 1u);
    EXPECT_EQ(std::vector<float>(model->facetnorms + 3, model->facetnorms + 6), (std::vector<float>{0, 0, 0}))
        << "a triangle without area";
    EXPECT_EQ(model->mtllibname, nullptr);
    EXPECT_EQ(model->materials, nullptr);
}

TEST(Read, EmptyFileIsAModel) {
    const Model model = ModelFiles("").read();
    EXPECT_NE(model->vertices, nullptr);
    EXPECT_EQ(model->normals, nullptr);
    EXPECT_EQ(model->numtriangles, 0u);
    EXPECT_EQ(groupsOf(*model), "[default] material 0:\n");
}

TEST(Read, GroupsAreNewestFirstAndKeepTheirBlanks) {
    const Model model =
        ModelFiles(FIVE_POINTS +
                   "g cube\nf 1 2 3\ng  two words \r\nf 2 3 4\ngroup cube\nf 3 4 5\ng cube\nf 1 2 4 5\ng end")
            .read();
    EXPECT_EQ(groupsOf(*model), "[ end] material 0:\n[  two words ] material 0: 1\n[ cube] material 0: 0 2 3 4\n"
                                "[default] material 0:\n");
    EXPECT_EQ(model->numgroups, 4u);
    EXPECT_EQ(glmAddGroup(model.get(), " cube"), glmFindGroup(model.get(), " cube"));
    EXPECT_EQ(glmFindGroup(model.get(), "cube"), nullptr);
    EXPECT_EQ(glmAddGroup(model.get(), "cube"), model->groups);
    EXPECT_EQ(model->numgroups, 5u);
}

// A group takes the first material that is current at one of its faces, or chosen while it holds a triangle.
TEST(Read, MaterialsOfGroupsAndTriangles) {
    const ModelFiles files(FIVE_POINTS +
                               "g a\nusemtl red\ng b\nf 1 2 3\nusemtl blue x\nf 1 2 3\ng c\nusemtl default\nf 1 2 3\n"
                               "usemtl blue\ng d\nmtllib m.mtl other.mtl\nf 1 2 3\n",
                           "newmtl red\nnewmtl blue\n");
    const Model model = files.read();
    EXPECT_EQ(groupsOf(*model), "[ d] material 2: 3\n[ c] material 2: 2\n[ b] material 1: 0 1\n[ a] material 0:\n"
                                "[default] material 0:\n");
    Indices materials;
    for (std::uint32_t i = 0; i < model->numtriangles; ++i) materials.push_back(model->triangles[i].material);
    EXPECT_EQ(materials, (Indices{1, 2, 0, 2}));
    EXPECT_STREQ(model->mtllibname, "m.mtl");
}

TEST(Read, SecondLibraryReplacesTheFirst) {
    const ModelFiles files("mtllib m.mtl\nmtllib n.mtl\nusemtl green\n" + FIVE_POINTS + "f 1 2 3\n",
                           "newmtl red\nnewmtl blue\n");
    files.folder.write("n.mtl", "newmtl green\n");
    const Model model = files.read();
    EXPECT_STREQ(model->mtllibname, "n.mtl");
    EXPECT_EQ(model->nummaterials, 2u);
    EXPECT_EQ(model->triangles[0].material, 1u);
}

TEST(Read, WhatIsLeftOfALongLineIsReadAsStatements) {
    const std::string comment = "# " + std::string(126, '-');
    const Model model =
        ModelFiles(comment + "v 1 2 3\n" + comment + "-v 4 5 6\ng " + std::string(126, 'n') + "v 7 8 9\n").read();
    EXPECT_EQ(model->numvertices, 2u);
    EXPECT_EQ(model->vertices[3 + 3], 7.0f) << "the group's name took 127 characters of its line";
    EXPECT_EQ(std::strlen(model->groups->name), 127u);
}

TEST(Read, FatalErrors) {
    const std::string points = FIVE_POINTS;
    const struct {
        std::string obj;
        std::string message;
    } cases[] = {
        {points + "vn 0 0 1\nf 1//1 2//1 0//1", "vertex index for triangle 0 out of bounds (0 > 5)\n"},
        {points + "f 1 2 3 4\nf 1 2 6", "vertex index for triangle 2 out of bounds (6 > 5)\n"},
        {points + "f 1 2 -1", "vertex index for triangle 0 out of bounds (-1 > 5)\n"},
        {points + "f 1 2 -2", "vertex index for triangle 0 out of bounds (-2 > 5)\n"},
        {points + "f 1 2 4294967295", "vertex index for triangle 0 out of bounds (-1 > 5)\n"},
        {points + "f 1//1 2//1 3//1", "normal index for triangle 0 out of bounds (1 > 0)\n"},
        {points + "vn 0 0 1\nf 9//2 2//1 3//1", "normal index for triangle 0 out of bounds (2 > 1)\n"},
        {"vp 0.5\n", "glmFirstPass(): Unknown token \"vp\"."},
        {"maplib x\n", "glmReadOBJ: Got \"maplib\" instead of \"mtllib\""},
        {"use red\n", "glmReadOBJ: Got \"use\" instead of \"usemtl\""},
        {"mtllib gone.mtl\n", "glmReadMTL() failed: can't open material file \"@gone.mtl\"."},
        {"mtllib ../\n", "glmReadMTL() failed: can't open material file \"@../\"."},
        {points + "f 1 2 4294967296",
         "glmReadOBJ: Got \"4294967296\" instead of a corner \"v\" in file \"@m.obj\", line 6"},
        {points + "f 4294967297 2 3",
         "glmReadOBJ: Got \"4294967297\" instead of a corner \"v/vt/vn\" in file \"@m.obj\", line 6"},
        {points + "f 1/1 2/2 3", "glmReadOBJ: Got \"3\" instead of a corner \"v/vt\" in file \"@m.obj\", line 6"},
        {points + "f 1 2 3 4/1", "glmReadOBJ: Got \"4/1\" instead of a corner \"v\" in file \"@m.obj\", line 6"},
        {points + "f 1//1 2/1/1 3//1",
         "glmReadOBJ: Got \"2/1/1\" instead of a corner \"v//vn\" in file \"@m.obj\", line 6"},
        {points + "f 1/1/1/1 2 3",
         "glmReadOBJ: Got \"1/1/1/1\" instead of a corner \"v/vt/vn\" in file \"@m.obj\", line 6"},
        {points + "\nf 1.5 2 3", "glmReadOBJ: Got \"1.5\" instead of a corner \"v\" in file \"@m.obj\", line 7"},
        {points + "f\n", "glmReadOBJ: \"f\" with fewer than three corners in file \"@m.obj\", line 6"},
        {points + "f 1 2\nf 1 2 3\n", "glmReadOBJ: \"f\" with fewer than three corners in file \"@m.obj\", line 6"},
        {"v 1 2\n", "glmReadOBJ: numbers that can't be read in file \"@m.obj\", line 1"},
        {"v 1,5 2 3\n", "glmReadOBJ: numbers that can't be read in file \"@m.obj\", line 1"},
        {"v 1 2 3 v 4 5 6\n", "glmReadOBJ: statement after another one on its line in file \"@m.obj\", line 1"},
        {"vn 1 2 3 vt 4 5\n", "glmReadOBJ: statement after another one on its line in file \"@m.obj\", line 1"},
        {points + "v 1 2 3 f 1 2 3",
         "glmReadOBJ: statement after another one on its line in file \"@m.obj\", line 6"},
        // As many faces as counted, but not in the group that they were counted for.
        {points + "g a\nf 1 2 3\ng b\nf 1 2 3\nv 1 2 3 g a\nf 1 2 3\n",
         "glmReadOBJ: statement after another one on its line in file \"@m.obj\", line 11"},
        {points + "v 1 2 3 g a\n",
         "glmReadOBJ: \"g\" after another statement on its line in file \"@m.obj\", line 6"},
    };
    for (const auto& test : cases) {
        const ChildResult result = ModelFiles(test.obj).readInChild();
        EXPECT_EQ(result.errors, "GLM: Fatal Error: " + test.message + "\n") << test.obj;
        EXPECT_EQ(result.status, 1) << test.obj;
    }
}

TEST(Read, FilesThatCannotBeOpened) {
    for (const std::string path : {"gone.obj", "/", ""}) {
        const ChildResult result = runInChild([&] { glmReadOBJ(path.c_str()); });
        EXPECT_EQ(result.errors, "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"" + path + "\".\n");
        EXPECT_EQ(result.status, 1);
    }
}

TEST(Read, Warnings) {
    const std::string warning = "GLM: Warning: ";
    const struct {
        std::string obj;
        std::string message;
    } cases[] = {
        {"usemtl red x\n", warning + "glmFindMaterial():  can't find material \"red\".\n"},
        {"usemtl\n",
         warning + "glmReadOBJ: \"usemtl\" without a name in file \"@m.obj\", taken as the default material\n"},
        {"mtllib  \t\n", warning + "glmReadOBJ: \"mtllib\" without a name ignored in file \"@m.obj\"\n"},
        {"vt 0.5\nvt 1 2\n", warning + "glmReadOBJ: \"vt\" with one number in file \"@m.obj\", taken as v = 0\n"},
    };
    for (const auto& test : cases) {
        const ChildResult result = ModelFiles(test.obj).readInChild();
        EXPECT_EQ(result.errors, test.message) << test.obj;
        EXPECT_EQ(result.status, 0) << test.obj;
    }
}

// Damaged files end in a message or in a model whose indices are in range, in nothing else.
TEST(Read, DamagedFilesDoNoHarm) {
    const std::string obj = "mtllib m.mtl\n" + FIVE_POINTS +
                            "vt 0 1\nvn 0 0 1\ng a\nusemtl red\nf 1/1/1 2/1/1 3/1/1 4/1/1\n"
                            "g b\nusemtl blue\nf 1//1 2//1 3//1\nf 4 5 1\n";
    const std::string mtl = "newmtl red\nKd 1 0 0\nd 0.5\nillum 2\nNs 5\nnewmtl blue\nKs 1 1 1\nmap_Ka x\n";
    constexpr const char* PIECES[] = {"\n", " ",  "0",   "-",       "/",  "4294967295", "1e999",
                                      "v ", "f ", "g a", "newmtl ", "\r", "\\"};
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
    for (int i = 0; i < MUTATIONS; ++i) {
        const ModelFiles files(damage(obj), damage(mtl));
        const ChildResult result = runInChild([&] {
            const Model model = files.read();
            for (const GLMgroup* group = model->groups; group != nullptr; group = group->next)
                for (std::uint32_t k = 0; k < group->numtriangles; ++k)
                    if (model->triangles[group->triangles[k]].material >= std::max(model->nummaterials, 1u))
                        std::abort();
            for (std::uint32_t k = 0; k < model->numtriangles; ++k)
                for (const std::uint32_t index : model->triangles[k].vindices)
                    if (index < 1 || index > model->numvertices) std::abort();
        });
        ASSERT_TRUE(result.status == 0 || result.status == 1) << result.errors;
        ASSERT_EQ(result.status == 1, result.errors.find("GLM: Fatal Error: ") != std::string::npos) << result.errors;
    }
}
