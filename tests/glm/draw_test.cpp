#include "gl_recorder.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n";
const Lines FACE_123 = {"glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glVertex3fv 0 1 0"};
const Lines FACE_134 = {"glVertex3fv 0 0 0", "glVertex3fv 0 1 0", "glVertex3fv 0 0 1"};
const Lines BEGIN = {"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"};
const Lines NEXT_GROUP = {"glEnd", "glBegin TRIANGLES"};
const Lines END = {"glEnd"};

Lines material(const std::string& diffuse, const std::string& shininess) {
    return {"glMaterialfv FRONT_AND_BACK AMBIENT 0.2 0.2 0.2 1", "glMaterialfv FRONT_AND_BACK DIFFUSE " + diffuse,
            "glMaterialfv FRONT_AND_BACK SPECULAR 0 0 0 1", "glMaterialf FRONT_AND_BACK SHININESS " + shininess};
}

Lines bind(const char* texture) {
    return {"glEnd", std::string("glBindTexture TEXTURE_2D ") + texture, "glBegin TRIANGLES"};
}

testing::AssertionResult callsAre(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
    return ::callsAre(all);
}

// Draws with the calls recorded; returns what it printed.
std::string draw(const Model& model, int mode) {
    testing::internal::CaptureStderr();
    startRecording();
    glmDraw(model.get(), mode);
    return testing::internal::GetCapturedStderr();
}

// A model of POINTS whose library has red (with an image), glass (translucent) and blue.
Model painted(const std::string& obj) {
    const ModelFiles files("mtllib m.mtl\n" + POINTS + obj, "newmtl red\nKd 1 0 0\nNs 50\nmap_Kd a.ppm\n"
                                                            "newmtl glass\nKd 0 0 1\nd 0.5\nnewmtl blue\nKd 0 0 1\n");
    files.folder.write("a.ppm", "P6\n1 1\n255\nabc");
    startRecording();
    return files.read();
}

}  // namespace

TEST(Draw, FlatIsOneNormalPerTriangleNewestGroupFirst) {
    const Model model = ModelFiles(POINTS + "g a\nf 1 2 3\nf 1 3 4\ng b\nf 1 3 4").read();
    EXPECT_EQ(draw(model, GLM_FLAT), "");
    EXPECT_TRUE(callsAre({BEGIN,
                          {"glNormal3fv 1 0 0"},
                          FACE_134,
                          NEXT_GROUP,
                          {"glNormal3fv 0 0 1"},
                          FACE_123,
                          {"glNormal3fv 1 0 0"},
                          FACE_134,
                          NEXT_GROUP,
                          END}));
}

TEST(Draw, SmoothSkipsCornersWithoutANormal) {
    const Model model = ModelFiles(POINTS + "vn 0 0 -1\nvn 0 1 0\nf 1//2 2//-1 3//1\nf 1 3 4").read();
    EXPECT_EQ(draw(model, GLM_SMOOTH | GLM_TWO_SIDED), "");
    EXPECT_TRUE(callsAre({{"glLightModeli LIGHT_MODEL_TWO_SIDE 1", "glBegin TRIANGLES", "glNormal3fv 0 1 0",
                           "glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glNormal3fv 0 0 -1", "glVertex3fv 0 1 0"},
                          FACE_134,
                          END}));
}

// A texture is bound between glEnd and glBegin; a group applies its material anew, but binds only a changed texture.
TEST(Draw, TexturesAndMaterialsChangeOnlyWhenTheyMust) {
    const Model model =
        painted("vt .5 .25\ng a\nusemtl red\nf 1/1 2/-1 3/1\nf 1 3 4\nusemtl blue\nf 1/1 2/1 3/1\ng b\nusemtl red\n"
                "f 1 3 4\n");
    model->textures[0].width = 8;
    EXPECT_EQ(draw(model, GLM_TEXTURE | GLM_MATERIAL), "");
    EXPECT_TRUE(callsAre(
        {{"glDisable COLOR_MATERIAL", "glEnable TEXTURE_2D", "glTexEnvf TEXTURE_ENV TEXTURE_ENV_MODE MODULATE"},
         BEGIN,
         bind("1"),
         material("1 0 0 1", "64"),
         FACE_134,
         NEXT_GROUP,
         material("1 0 0 1", "64"),
         {"glTexCoord2f 4 0.25", "glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glTexCoord2f 4 0.25",
          "glVertex3fv 0 1 0"},
         FACE_134,
         bind("0"),
         material("0 0 1 1", "65"),
         FACE_123,
         NEXT_GROUP,
         END}));
}

// A triangle of material 0 is drawn with what is current, in the pass of what is current.
TEST(Draw, TranslucentMaterialsComeInASecondPassThatAdds) {
    const Model model =
        painted("f 1 2 3\ng a\nusemtl glass\nf 1 2 3\nusemtl default\nf 1 3 4\nusemtl blue\nf 1 3 4\n");
    EXPECT_EQ(draw(model, GLM_COLOR), "");
    EXPECT_TRUE(callsAre(
        {{"glEnable COLOR_MATERIAL"},
         BEGIN,
         {"glColor3fv 0 0 1"},
         FACE_134,
         NEXT_GROUP,
         {"glColor3fv 0.8 0.8 0.8"},
         FACE_123,
         END,
         {"glEnable BLEND", "glBlendFunc SRC_ALPHA ONE", "glDepthMask 0", "glBegin TRIANGLES", "glColor3fv 0 0 1"},
         FACE_123,
         FACE_134,
         NEXT_GROUP,
         END,
         {"glDepthMask 1", "glDisable BLEND"}}));
}

TEST(Draw, ModesThatTheModelLacksAreDroppedWithAWarning) {
    const auto warning = [](const std::string& text) { return "GLM: Warning: glmDraw() warning: " + text + "\n"; };
    const Model plain = ModelFiles(POINTS + "vt 0 0\nf 1/1 2/1 3/1").read();
    EXPECT_EQ(draw(plain, GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL),
              warning("smooth render mode requested with no normals defined.") +
                  warning("texture render mode requested with no materials defined.") +
                  warning("color render mode requested with no materials defined.") +
                  warning("material render mode requested with no materials defined."));
    EXPECT_TRUE(callsAre({BEGIN, FACE_123, END}));

    const Model full = painted("vn 0 0 1\nusemtl red\nf 1//1 2//-1 3//-1");
    EXPECT_EQ(draw(full, GLM_FLAT | GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL),
              warning("texture render mode requested with no texture coordinates defined.") +
                  warning("flat render mode requested and smooth render mode requested (using smooth).") +
                  warning("color and material render mode requested using only material mode."));
    EXPECT_TRUE(callsAre(
        {{"glDisable COLOR_MATERIAL"}, BEGIN, material("1 0 0 1", "64"), {"glNormal3fv 0 0 1"}, FACE_123, END}));

    full->numfacetnorms = 0;
    EXPECT_EQ(draw(full, GLM_FLAT), warning("flat render mode requested with no facet normals defined."));
}

TEST(Draw, ListsAndDeleting) {
    Model model = painted("f 1 2 3");
    startRecording();
    EXPECT_EQ(glmList(model.get(), GLM_NONE), 1u);
    EXPECT_TRUE(callsAre({{"glGenLists 1", "glNewList 1 COMPILE"}, BEGIN, FACE_123, END, {"glEndList"}}));
    startRecording();
    model.reset();
    EXPECT_CALLS("glDeleteTextures 1");
}

TEST(Draw, IndicesOutOfRangeAreAssertions) {
    const Model model = painted("vn 0 0 1\nvt 0 0\nusemtl red\nf 1/1/1 2/1/1 3/1/1");
    const auto expectAssertion = [&](int mode, const char* assertion, auto spoil) {
        const ChildResult result = runInChild([&] {
            spoil(model->triangles[0]);
            glmDraw(model.get(), mode);
        });
        EXPECT_EQ(result.signal, SIGABRT) << mode;
        EXPECT_NE(result.errors.find(assertion), std::string::npos) << result.errors;
    };
    for (const std::uint32_t index : {0u, 5u, GLM_NO_INDEX})
        expectAssertion(GLM_NONE, "index >= 1", [=](GLMtriangle& triangle) { triangle.vindices[1] = index; });
    for (const std::uint32_t index : {0u, 2u}) {
        expectAssertion(GLM_FLAT, "index >= 1", [=](GLMtriangle& triangle) { triangle.findex = index; });
        expectAssertion(GLM_SMOOTH, "index >= 1", [=](GLMtriangle& triangle) { triangle.nindices[2] = index; });
        expectAssertion(GLM_TEXTURE, "index >= 1", [=](GLMtriangle& triangle) { triangle.tindices[0] = index; });
    }
    expectAssertion(GLM_COLOR, "nummaterials", [](GLMtriangle& triangle) { triangle.material = 4; });
    expectAssertion(GLM_TEXTURE, "numtextures", [&](GLMtriangle&) { model->materials[1].map_diffuse = 1; });
}
