#include "gl_recorder.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <utility>

namespace {

using Lines = std::vector<std::string>;

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n";
constexpr const char* LIBRARY =
    "newmtl red\nKd 1 0 0\nNs 50\nmap_Kd a.ppm\nnewmtl glass\nKd 0 0 1\nd 0.5\nnewmtl blue\nKd 0 0 1\n";

const Lines RED = {"glMaterialfv FRONT_AND_BACK AMBIENT 0.2 0.2 0.2 1", "glMaterialfv FRONT_AND_BACK DIFFUSE 1 0 0 1",
                   "glMaterialfv FRONT_AND_BACK SPECULAR 0 0 0 1", "glMaterialf FRONT_AND_BACK SHININESS 64"};

const Lines ADDED = {"glEnable BLEND", "glBlendFunc SRC_ALPHA ONE", "glDepthMask 0"};
const Lines ADDED_END = {"glDepthMask 1", "glDisable BLEND"};

// The corners of the triangles of POINTS.
const Lines FACE_123 = {"glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glVertex3fv 0 1 0"};
const Lines FACE_134 = {"glVertex3fv 0 0 0", "glVertex3fv 0 1 0", "glVertex3fv 0 0 1"};

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// What drawing prints; the calls are recorded.
std::string drawn(const GLMmodel& model, int mode) {
    testing::internal::CaptureStderr();
    startRecording();
    glmDraw(&model, mode);
    return testing::internal::GetCapturedStderr();
}

// A model whose library holds LIBRARY with its image; without GL calls recorded.
struct Painted {
    explicit Painted(const std::string& obj) : files("mtllib m.mtl\n" + obj, LIBRARY) {
        files.folder.write("a.ppm", "P6\n1 1\n255\nabc");
        model = files.read();
    }
    ModelFiles files;
    Model model;
};

}  // namespace

TEST(Draw, FlatIsOneNormalPerTriangleNewestGroupFirst) {
    const Model model = ModelFiles(POINTS + "g a\nf 1 2 3\nf 1 3 4\ng b\nf 1 3 2").read();
    EXPECT_EQ(drawn(*model, GLM_FLAT), "");
    EXPECT_TRUE(callsAre(joined(
        {{"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES", "glNormal3fv 0 0 -1", "glVertex3fv 0 0 0",
          "glVertex3fv 0 1 0", "glVertex3fv 1 0 0", "glEnd", "glBegin TRIANGLES", "glNormal3fv 0 0 1"},
         FACE_123,
         {"glNormal3fv 1 0 0"},
         FACE_134,
         {"glEnd", "glBegin TRIANGLES", "glEnd"}})));
}

TEST(Draw, NoneIsPositionsOnlyAndTwoSidedIsASetting) {
    const Model model = ModelFiles(POINTS + "f 1 2 3").read();
    EXPECT_EQ(drawn(*model, GLM_NONE), "");
    EXPECT_TRUE(
        callsAre(joined({{"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"}, FACE_123, {"glEnd"}})));
    EXPECT_EQ(drawn(*model, GLM_TWO_SIDED), "");
    EXPECT_TRUE(
        callsAre(joined({{"glLightModeli LIGHT_MODEL_TWO_SIDE 1", "glBegin TRIANGLES"}, FACE_123, {"glEnd"}})));
}

TEST(Draw, SmoothSkipsCornersWithoutANormal) {
    const Model model = ModelFiles(POINTS + "vn 0 0 -1\nvn 0 1 0\nf 1//2 2//-1 3//1\nf 1 3 4").read();
    EXPECT_EQ(drawn(*model, GLM_SMOOTH), "");
    EXPECT_TRUE(
        callsAre(joined({{"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES", "glNormal3fv 0 1 0",
                          "glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glNormal3fv 0 0 -1", "glVertex3fv 0 1 0"},
                         FACE_134,
                         {"glEnd"}})));
}

// A texture is bound between glEnd and glBegin; a group applies its material anew, but binds only a changed texture.
TEST(Draw, TexturesAndMaterialsChangeOnlyWhenTheyMust) {
    const Painted painted(POINTS +
                          "vt .5 .25\ng a\nusemtl red\nf 1/1 2/-1 3/1\nf 1 3 4\nusemtl blue\nf 1/1 2/1 3/1\ng b\n"
                          "usemtl red\nf 1 3 4\n");
    EXPECT_EQ(drawn(*painted.model, GLM_TEXTURE | GLM_MATERIAL), "");
    const Lines bind = {"glEnd", "glBindTexture TEXTURE_2D 1", "glBegin TRIANGLES"};
    EXPECT_TRUE(callsAre(
        joined({{"glDisable COLOR_MATERIAL", "glEnable TEXTURE_2D", "glTexEnvf TEXTURE_ENV TEXTURE_ENV_MODE MODULATE",
                 "glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"},
                bind,
                RED,
                FACE_134,
                {"glEnd", "glBegin TRIANGLES"},
                RED,
                {"glTexCoord2f 0.5 0.25", "glVertex3fv 0 0 0", "glVertex3fv 1 0 0", "glTexCoord2f 0.5 0.25",
                 "glVertex3fv 0 1 0"},
                FACE_134,
                {"glEnd", "glBindTexture TEXTURE_2D 0", "glBegin TRIANGLES",
                 "glMaterialfv FRONT_AND_BACK AMBIENT 0.2 0.2 0.2 1", "glMaterialfv FRONT_AND_BACK DIFFUSE 0 0 1 1",
                 "glMaterialfv FRONT_AND_BACK SPECULAR 0 0 0 1", "glMaterialf FRONT_AND_BACK SHININESS 65"},
                FACE_123,
                {"glEnd", "glBegin TRIANGLES", "glEnd"}})));
    painted.model->textures[0].width = 8;
    painted.model->textures[0].height = 4;
    drawn(*painted.model, GLM_TEXTURE);
    EXPECT_EQ(recordedCalls()[12], "glTexCoord2f 4 1") << "targets that count pixels";
}

// A triangle of material 0 is drawn with what is current, in the pass of what is current.
TEST(Draw, TranslucentMaterialsComeInASecondPassThatAdds) {
    const Painted painted(POINTS +
                          "f 1 2 3\ng a\nusemtl glass\nf 1 2 3\nusemtl default\nf 1 3 4\nusemtl blue\nf 1 3 4\n");
    EXPECT_EQ(drawn(*painted.model, GLM_COLOR), "");
    EXPECT_TRUE(callsAre(joined(
        {{"glEnable COLOR_MATERIAL", "glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES", "glColor3fv 0 0 1"},
         FACE_134,
         {"glEnd", "glBegin TRIANGLES", "glColor3fv 0.8 0.8 0.8"},
         FACE_123,
         {"glEnd"},
         ADDED,
         {"glBegin TRIANGLES", "glColor3fv 0 0 1"},
         FACE_123,
         FACE_134,
         {"glEnd", "glBegin TRIANGLES", "glEnd"},
         ADDED_END})));
}

TEST(Draw, ModesThatTheModelLacksAreDroppedWithAWarning) {
    const Model plain = ModelFiles(POINTS + "f 1 2 3").read();
    const Painted full(POINTS + "vn 0 0 1\nvt 0 0\nusemtl red\nf 1/1/1 2/1/1 3/1/1");
    const auto warning = [](const std::string& text) { return "GLM: Warning: glmDraw() warning: " + text + "\n"; };
    const std::string flatAndSmooth =
        warning("flat render mode requested and smooth render mode requested (using smooth).");
    const std::string both = warning("color and material render mode requested using only material mode.");

    EXPECT_EQ(drawn(*plain, GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL),
              warning("smooth render mode requested with no normals defined.") +
                  warning("texture render mode requested with no texture coordinates defined.") +
                  warning("color render mode requested with no materials defined.") +
                  warning("material render mode requested with no materials defined."));
    EXPECT_TRUE(
        callsAre(joined({{"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"}, FACE_123, {"glEnd"}})));

    EXPECT_EQ(drawn(*full.model, GLM_FLAT | GLM_SMOOTH | GLM_COLOR | GLM_MATERIAL), flatAndSmooth + both);
    const Lines corners = {"glNormal3fv 0 0 1", "glVertex3fv 0 0 0", "glNormal3fv 0 0 1",
                           "glVertex3fv 1 0 0", "glNormal3fv 0 0 1", "glVertex3fv 0 1 0"};
    EXPECT_TRUE(
        callsAre(joined({{"glDisable COLOR_MATERIAL", "glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"},
                         RED,
                         corners,
                         {"glEnd"}})));

    std::free(plain->facetnorms);
    plain->facetnorms = nullptr;
    plain->numfacetnorms = 0;
    EXPECT_EQ(drawn(*plain, GLM_FLAT), warning("flat render mode requested with no facet normals defined."));
}

TEST(Draw, TexturesWithoutMaterialsAreLeftOut) {
    const Model model = ModelFiles(POINTS + "vt 0 0\nf 1/1 2/1 3/1").read();
    EXPECT_EQ(drawn(*model, GLM_TEXTURE),
              "GLM: Warning: glmDraw() warning: texture render mode requested with no materials defined.\n");
    EXPECT_TRUE(
        callsAre(joined({{"glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"}, FACE_123, {"glEnd"}})));
}

TEST(Draw, ListHoldsWhatIsDrawn) {
    const Model model = ModelFiles(POINTS + "f 1 2 3").read();
    startRecording();
    EXPECT_EQ(glmList(model.get(), GLM_NONE), 1u);
    EXPECT_TRUE(callsAre(
        joined({{"glGenLists 1", "glNewList 1 COMPILE", "glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES"},
                FACE_123,
                {"glEnd", "glEndList"}})));
}

TEST(Draw, DeleteReleasesTheTextures) {
    Painted painted(POINTS);
    startRecording();
    painted.model.reset();
    EXPECT_CALLS("glDeleteTextures 1");
}

TEST(Draw, IndicesOutOfRangeAreAssertions) {
    const struct {
        int mode;
        const char* assertion;
        void (*spoil)(GLMmodel& model);
    } cases[] = {
        {GLM_NONE, "index >= 1", [](GLMmodel& model) { model.triangles[0].vindices[1] = 5; }},
        {GLM_NONE, "index >= 1", [](GLMmodel& model) { model.triangles[0].vindices[1] = 0; }},
        {GLM_FLAT, "index >= 1", [](GLMmodel& model) { model.triangles[0].findex = 2; }},
        {GLM_SMOOTH, "index >= 1", [](GLMmodel& model) { model.triangles[0].nindices[2] = 2; }},
        {GLM_TEXTURE, "index >= 1", [](GLMmodel& model) { model.triangles[0].tindices[0] = 2; }},
        {GLM_TEXTURE, "numtextures", [](GLMmodel& model) { model.materials[1].map_diffuse = 1; }},
        {GLM_COLOR, "nummaterials", [](GLMmodel& model) { model.triangles[0].material = 4; }},
        {GLM_NONE, "vertices != nullptr", [](GLMmodel& model) { std::free(std::exchange(model.vertices, nullptr)); }},
    };
    const Painted painted(POINTS + "vn 0 0 1\nvt 0 0\nusemtl red\nf 1/1/1 2/1/1 3/1/1");
    for (const auto& test : cases) {
        const ChildResult result = runInChild([&] {
            test.spoil(*painted.model);
            glmDraw(painted.model.get(), test.mode);
        });
        EXPECT_EQ(result.signal, SIGABRT) << test.assertion;
        EXPECT_NE(result.errors.find(test.assertion), std::string::npos) << result.errors;
    }
}
