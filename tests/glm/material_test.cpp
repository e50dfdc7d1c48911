#include "gl_recorder.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Floats = std::vector<float>;

Floats colour(const float (&components)[4]) { return Floats(components, components + 4); }

}  // namespace

TEST(Material, StatementsApplyToTheCurrentMaterialAndTheRestIsDefault) {
    testing::internal::CaptureStderr();
    const Model model =
        ModelFiles("mtllib m.mtl\n", "Kd 1 0 0 0.5 0.25\nnewmtl first one\nKs .1 .2\n.3\nKa 0 1 0\nNs 50\nd 0.5\n"
                                     "Tr 1\nnewmtl second\nKdx 0 0 1 illum 2\nKd 0.5 x\nNs y\n")
            .read();
    testing::internal::GetCapturedStderr();
    ASSERT_EQ(model->nummaterials, 3u);
    const GLMmaterial &first = model->materials[1], &second = model->materials[2];
    EXPECT_STREQ(model->materials[0].name, "default");
    EXPECT_STREQ(first.name, "first");
    EXPECT_EQ(glmFindMaterial(model.get(), "second"), 2u);
    EXPECT_EQ(colour(model->materials[0].diffuse), (Floats{1, 0, 0, 1}));
    EXPECT_EQ(colour(first.diffuse), (Floats{.8f, .8f, .8f, .5f}));
    EXPECT_EQ(colour(first.specular), (Floats{.1f, .2f, .3f, 1}));
    EXPECT_EQ(colour(first.ambient), (Floats{0, 1, 0, 1}));
    EXPECT_EQ(first.shininess, 64.0f);
    EXPECT_EQ(first.map_diffuse, -1);
    EXPECT_EQ(colour(second.diffuse), (Floats{0, 0, 1, 1})) << "a colour that cannot be read whole changes nothing";
    EXPECT_EQ(colour(second.specular), (Floats{0, 0, 0, 1}));
    EXPECT_EQ(colour(second.ambient), (Floats{.2f, .2f, .2f, 1}));
    EXPECT_EQ(second.shininess, 65.0f);
}

TEST(Material, ImagesAreSharedByNameAndFoundBesideTheModel) {
    // What counting takes for a "newmtl" is part of a long name.
    const std::string gone = std::string(126, 'i') + " newmtl b";
    const ModelFiles files("mtllib m.mtl\n", "newmtl a\nmap_Kd  one \t.ppm \nnewmtl b\nmap_Kd " + gone +
                                                 "\nnewmtl c\nmap_Kd_ one \t.ppm\n");
    files.folder.write("one \t.ppm", "P6\n1 1\n255\nabc");
    testing::internal::CaptureStderr();
    startRecording();
    const Model model = files.read();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), files.at(gone.c_str()) + ": No such file or directory\n");
    ASSERT_EQ(model->nummaterials, 4u);
    ASSERT_EQ(model->numtextures, 2u);
    EXPECT_EQ(model->materials[1].map_diffuse, 0);
    EXPECT_EQ(model->materials[2].map_diffuse, 1);
    EXPECT_EQ(model->materials[3].map_diffuse, 0);
    EXPECT_STREQ(model->textures[0].name, "one \t.ppm");
    EXPECT_EQ(model->textures[0].id, 1u);
    EXPECT_EQ(model->textures[1].id, 0u);
    EXPECT_EQ(model->textures[1].width, 1.0f);
}
