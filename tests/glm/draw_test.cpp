#include "gl_recorder.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace {

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n";
const std::string FACE_123 = "glVertex3fv 0 0 0\nglVertex3fv 1 0 0\nglVertex3fv 0 1 0\n";
const std::string FACE_134 = "glVertex3fv 0 0 0\nglVertex3fv 0 1 0\nglVertex3fv 0 0 1\n";
const std::string BEGIN = "glLightModeli LIGHT_MODEL_TWO_SIDE 0\nglBegin TRIANGLES\n";
const std::string NEXT_GROUP = "glEnd\nglBegin TRIANGLES\n";
const std::string END = "glEnd\n";

std::string material(const std::string& diffuse, const std::string& shininess) {
    return "glMaterialfv FRONT_AND_BACK AMBIENT 0.2 0.2 0.2 1\nglMaterialfv FRONT_AND_BACK DIFFUSE " + diffuse +
           "\nglMaterialfv FRONT_AND_BACK SPECULAR 0 0 0 1\nglMaterialf FRONT_AND_BACK SHININESS " + shininess + "\n";
}

std::string bind(const std::string& texture) {
    return "glEnd\nglBindTexture TEXTURE_2D " + texture + "\nglBegin TRIANGLES\n";
}

std::string calls() {
    std::string lines;
    for (const std::string& call : recordedCalls()) lines += call + "\n";
    return lines;
}

std::string warning(const std::string& text) { return "GLM: Warning: glmDraw() warning: " + text + "\n"; }

// A model of POINTS whose library has red (with an image), glass (translucent) and blue.
Model read(const std::string& obj) {
    const ModelFiles files(POINTS + obj, "newmtl red\nKd 1 0 0\nNs 50\nmap_Kd a.ppm\n"
                                         "newmtl glass\nKd 0 0 1\nd 0.5\nnewmtl blue\nKd 0 0 1\n");
    files.folder.write("a.ppm", "P6\n1 1\n255\nabc");
    return files.read();
}

}  // namespace

TEST(Draw, PrintsAndCalls) {
    const struct {
        std::string obj;
        int mode;
        std::string expected;
    } cases[] = {
        {"g a\nf 1 2 3\nf 1 3 4\ng b\nf 1 3 4", GLM_FLAT,  // the newest group comes first
         BEGIN + "glNormal3fv 1 0 0\n" + FACE_134 + NEXT_GROUP + "glNormal3fv 0 0 1\n" + FACE_123 +
             "glNormal3fv 1 0 0\n" + FACE_134 + NEXT_GROUP + END},
        {"vn 0 0 -1\nvn 0 1 0\nf 1//2 2//-1 3//1\nf 1 3 4", GLM_SMOOTH | GLM_TWO_SIDED,
         "glLightModeli LIGHT_MODEL_TWO_SIDE 1\nglBegin TRIANGLES\nglNormal3fv 0 1 0\nglVertex3fv 0 0 0\n"
         "glVertex3fv 1 0 0\nglNormal3fv 0 0 -1\nglVertex3fv 0 1 0\n" +
             FACE_134 + END},
        // A texture is bound outside of glBegin and glEnd, when it changes; a group applies its material anew.
        {"mtllib m.mtl\nvt .5 .25\ng a\nusemtl red\nf 1/1 2/-1 3/1\nf 1 3 4\nusemtl blue\nf 1/1 2/1 3/1\ng b\n"
         "usemtl red\nf 1 3 4\n",
         GLM_TEXTURE | GLM_MATERIAL,
         "glDisable COLOR_MATERIAL\nglEnable TEXTURE_2D\nglTexEnvf TEXTURE_ENV TEXTURE_ENV_MODE MODULATE\n" + BEGIN +
             bind("1") + material("1 0 0 1", "64") + FACE_134 + NEXT_GROUP + material("1 0 0 1", "64") +
             "glTexCoord2f 4 0.25\nglVertex3fv 0 0 0\nglVertex3fv 1 0 0\nglTexCoord2f 4 0.25\nglVertex3fv 0 1 0\n" +
             FACE_134 + bind("0") + material("0 0 1 1", "65") + FACE_123 + NEXT_GROUP + END},
        // A triangle of material 0 is drawn with what is current, in the pass of what is current.
        {"mtllib m.mtl\nf 1 2 3\ng a\nusemtl glass\nf 1 2 3\nusemtl default\nf 1 3 4\nusemtl blue\nf 1 3 4\n",
         GLM_COLOR,
         "glEnable COLOR_MATERIAL\n" + BEGIN + "glColor3fv 0 0 1\n" + FACE_134 + NEXT_GROUP +
             "glColor3fv 0.8 0.8 0.8\n" + FACE_123 + END +
             "glEnable BLEND\nglBlendFunc SRC_ALPHA ONE\nglDepthMask 0\nglBegin TRIANGLES\nglColor3fv 0 0 1\n" +
             FACE_123 + FACE_134 + NEXT_GROUP + END + "glDepthMask 1\nglDisable BLEND\n"},
        {"vt 0 0\nf 1/1 2/1 3/1", GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL,
         warning("smooth render mode requested with no normals defined.") +
             warning("texture render mode requested with no materials defined.") +
             warning("color render mode requested with no materials defined.") +
             warning("material render mode requested with no materials defined.") + BEGIN + FACE_123 + END},
        {"mtllib m.mtl\nvn 0 0 1\nusemtl red\nf 1//1 2//-1 3//-1",
         GLM_FLAT | GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL,
         warning("texture render mode requested with no texture coordinates defined.") +
             warning("flat render mode requested and smooth render mode requested (using smooth).") +
             warning("color and material render mode requested using only material mode.") +
             "glDisable COLOR_MATERIAL\n" + BEGIN + material("1 0 0 1", "64") + "glNormal3fv 0 0 1\n" + FACE_123 +
             END},
    };
    for (const auto& test : cases) {
        const Model model = read(test.obj);
        if (model->numtextures > 0) model->textures[0].width = 8;
        testing::internal::CaptureStderr();
        startRecording();
        glmDraw(model.get(), test.mode);
        EXPECT_EQ(testing::internal::GetCapturedStderr() + calls(), test.expected);
    }
}

TEST(Draw, ListsDeletingAndAssertions) {
    Model model = read("mtllib m.mtl\nvn 0 0 1\nvt 0 0\nusemtl red\nf 1/1/1 2/1/1 3/1/1");
    startRecording();
    EXPECT_EQ(glmList(model.get(), GLM_NONE), 1u);
    EXPECT_EQ(calls(), "glGenLists 1\nglNewList 1 COMPILE\n" + BEGIN + FACE_123 + END + "glEndList\n");
    GLMtriangle& triangle = model->triangles[0];
    std::uint32_t* const spoilt[] = {&triangle.vindices[1], &triangle.nindices[2], &triangle.tindices[0],
                                     &triangle.material};
    for (std::uint32_t* index : spoilt) {
        const ChildResult result = runInChild([&] {
            *index = 5;
            glmDraw(model.get(), GLM_SMOOTH | GLM_TEXTURE);
        });
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_NE(result.errors.find("Assertion `index"), std::string::npos) << result.errors;
    }
    startRecording();
    model.reset();
    EXPECT_EQ(calls(), "glDeleteTextures 1\n");
}
