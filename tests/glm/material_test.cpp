#include "gl_recorder.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Floats = std::vector<float>;

constexpr const char* PIXEL = "P6\n1 1\n255\nabc";

Floats colour(const float (&components)[4]) { return Floats(components, components + 4); }

ModelFiles modelOf(const std::string& mtl) { return ModelFiles("mtllib m.mtl\n", mtl); }

}  // namespace

TEST(Material, StatementsApplyToTheCurrentMaterialAndTheRestIsDefault) {
    const Model model =
        modelOf("Kd 1 0 0 0.5 0.25\nnewmtl first one\nKs .1 .2\n.3\nKa 0 1 0\nNs 50\nd 0.5\nillum 2\nTr 1\n"
                "newmtl second\nKdx 0 0 1 illum 2\n")
            .read();
    ASSERT_EQ(model->nummaterials, 3u);
    const GLMmaterial* materials = model->materials;
    EXPECT_STREQ(materials[0].name, "default");
    EXPECT_STREQ(materials[1].name, "first");
    EXPECT_STREQ(materials[2].name, "second");
    EXPECT_EQ(colour(materials[0].diffuse), (Floats{1, 0, 0, 1}));
    EXPECT_EQ(colour(materials[1].diffuse), (Floats{.8f, .8f, .8f, .5f}));
    EXPECT_EQ(colour(materials[2].diffuse), (Floats{0, 0, 1, 1}));
    EXPECT_EQ(colour(materials[0].specular), (Floats{0, 0, 0, 1}));
    EXPECT_EQ(colour(materials[1].specular), (Floats{.1f, .2f, .3f, 1}));
    EXPECT_EQ(colour(materials[1].ambient), (Floats{0, 1, 0, 1}));
    EXPECT_EQ(colour(materials[2].ambient), (Floats{.2f, .2f, .2f, 1}));
    EXPECT_EQ(materials[0].shininess, 65.0f);
    EXPECT_EQ(materials[1].shininess, 64.0f);
    EXPECT_EQ(materials[1].map_diffuse, -1);
    EXPECT_EQ(glmFindMaterial(model.get(), "second"), 2u);
}

TEST(Material, Warnings) {
    const struct {
        const char* mtl;
        const char* warnings;  // without the prefix
    } cases[] = {
        {"Km 1\nKd 1 1 1\n", "glmReadMTL: Command \"Km\" ignored\n"},
        {"Nx 1\n", "glmReadMTL: Command \"Nx\" ignored\n"},
        {"Ni 1.5\n", "refraction index ignored\n"},
        {"illum 1\n", "illum material ignored: illum 1\n"},
        {"map_Ka  wood 1.png \nillum 2\n", "map map_Ka wood 1.png ignored\n"},
        {"map_Ka\n", "map map_Ka  ignored\n"},
        {"refl -type sphere x\n", "reflection type ignored: r -type sphere x\n\n"},
        {"map_Kd \t\n", "glmReadMTL: \"map_Kd\" without a name ignored in file \"@m.mtl\"\n"},
        {"newmtl\n", "glmReadMTL: \"newmtl\" without a name in file \"@m.mtl\"\n"},
        {"Kd spectral x\n", "glmReadMTL: \"Kd\" ignored, its numbers can't be read in file \"@m.mtl\"\n"},
        {"Ns\n", "glmReadMTL: \"Ns\" ignored, its numbers can't be read in file \"@m.mtl\"\n"},
        {"disp x\n", "glmReadMTL: \"disp\" ignored, its numbers can't be read in file \"@m.mtl\"\n"},
        {"illum x\n", "glmReadMTL: \"illum\" ignored, its number can't be read in file \"@m.mtl\"\n"},
    };
    for (const auto& test : cases) {
        const ChildResult result = modelOf(test.mtl).readInChild();
        EXPECT_EQ(result.errors, std::string("GLM: Warning: ") + test.warnings) << test.mtl;
        EXPECT_EQ(result.status, 0) << test.mtl;
    }
}

TEST(Material, ColoursThatCannotBeReadWholeStayAsTheyWere) {
    testing::internal::CaptureStderr();
    const Model model = modelOf("newmtl a\nKd 1 0 0\nKd 0.5 x\nNs y\n").read();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(colour(model->materials[1].diffuse), (Floats{1, 0, 0, 1}));
    EXPECT_EQ(model->materials[1].shininess, 65.0f);
}

TEST(Material, FatalErrors) {
    const struct {
        std::string mtl;
        const char* message;
    } cases[] = {
        {"name x\n", "glmReadMTL: Got \"name\" instead of \"newmtl\" in file \"@m.mtl\""},
        {"Kd 1 1 1 next\n", "glmReadMTL: Got \"next\" instead of \"newmtl\" in file \"@m.mtl\""},
        {"ill 2\n", "glmReadMTL: Got \"ill\" instead of \"illum\" in file \"@m.mtl\""},
        {"d 1 newmtl a\n", "glmReadMTL: \"newmtl\" after another statement on its line in file \"@m.mtl\""},
    };
    for (const auto& test : cases) {
        const ChildResult result = modelOf(test.mtl).readInChild();
        EXPECT_EQ(result.errors, std::string("GLM: Fatal Error: ") + test.message + "\n") << test.mtl;
        EXPECT_EQ(result.status, 1) << test.mtl;
    }
}

// A name may hold what the first pass takes for statements, since that skips 127 characters only.
TEST(Material, LongImageNameIsOneStatement) {
    testing::internal::CaptureStderr();
    const Model model = modelOf("newmtl a\nmap_Kd " + std::string(126, 'i') + " newmtl b\nKd 0 0 0\n").read();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(model->nummaterials, 2u);
    EXPECT_EQ(std::string(model->textures[0].name), std::string(126, 'i') + " newmtl b");
}

TEST(Material, ImagesAreSharedByNameAndFoundBesideTheModel) {
    const ModelFiles files =
        modelOf("newmtl a\nmap_Kd  one \t.ppm \nnewmtl b\nmap_Kd gone\nnewmtl c\nmap_Kd_ one \t.ppm\n");
    files.folder.write("one \t.ppm", PIXEL);
    testing::internal::CaptureStderr();
    startRecording();
    const Model model = files.read();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              (files.folder.path() / "gone").string() + ": No such file or directory\n");
    ASSERT_EQ(model->numtextures, 2u);
    EXPECT_EQ(model->materials[1].map_diffuse, 0);
    EXPECT_EQ(model->materials[2].map_diffuse, 1);
    EXPECT_EQ(model->materials[3].map_diffuse, 0);
    EXPECT_STREQ(model->textures[0].name, "one \t.ppm");
    EXPECT_EQ(model->textures[0].id, 1u);
    EXPECT_EQ(model->textures[1].id, 0u);
    EXPECT_EQ(model->textures[1].width, 1.0f);
}
