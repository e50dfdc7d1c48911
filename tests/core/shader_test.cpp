// Shader programs on the real GL, by the colour that they draw and the lines about them.
#include "child.h"
#include "fbo.h"
#include "gl_window.h"
#include "printed.h"
#include "shader.h"
#include "temp_dir.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <string>
#include <utility>

namespace {

constexpr int SIDE = 16;  // of the window

struct Sources : TempDir {
    std::string vertex =
        write("a.vert", "void main() { gl_Position = gl_Vertex; gl_FrontColor = vec4(0, 1, 0, 1); }");
    std::string fragment = write("a.frag", "uniform float a; uniform vec2 b; uniform vec3 c; uniform vec4 d;\n"
                                           "void main() { gl_FragColor = vec4(a, b.y, c.z, d.w) + 0.0 * d; }");
    std::string geometry = RYL_PAGE_SHADER;
    std::string broken = write("b.frag", "void main() { this is no GLSL }");
};

struct Shader : testing::Test, Sources {
    Shader() { openTestWindow(SIDE, SIDE); }
};
using SuperShader = Shader;

std::string loaded(const std::string& path) { return "[*] shaderfile " + path + " loaded\n"; }

// Some drivers log something about stages without errors.
std::string withoutLogs(const std::string& printed) {
    return std::regex_replace(printed, std::regex(R"(\[/\] [^\n]*\.\n\{\n[^}]*\}\n)"), "");
}

// The colour of a rectangle over the view, which is blue unless a stage decides otherwise.
Pixel drawnColour() {
    glClear(GL_COLOR_BUFFER_BIT);
    glColor3f(0, 0, 1);
    glRectf(-1, -1, 1, 1);
    return pixelAt(SIDE / 2, SIDE / 2);
}

TEST_F(Shader, GetsTheNextIdWhicheverStagesItHas) {
    EXPECT_EQ(ryl_loadFBO(8, 8), 0);
    const std::string printed = printedBy([&] {
        EXPECT_EQ(ryl_loadShader(vertex.c_str(), fragment.c_str()), 0) << "render targets count on their own";
        EXPECT_EQ(ryl_loadShader(vertex.c_str(), nullptr), 1);
        EXPECT_EQ(ryl_loadShader(nullptr, fragment.c_str()), 2);
    });
    EXPECT_EQ(withoutLogs(printed), loaded(vertex) + loaded(fragment) + loaded(vertex) + loaded(fragment));
}

TEST_F(Shader, WithoutFilesIsRefusedAndTakesNoId) {
    EXPECT_EQ(printedBy([] { EXPECT_EQ(ryl_loadShader(nullptr, nullptr), 0); }),
              "[!] No files given to function loadShader()\n");
    EXPECT_EQ(ryl_loadSuperShader(nullptr, nullptr, nullptr, 0, 0), 0);
    EXPECT_EQ(ryl_loadShader(vertex.c_str(), nullptr), 0);
}

TEST_F(Shader, ThatDoesNotCompileIsReported) {
    const std::string printed = printedBy([&] { ryl_loadShader(nullptr, broken.c_str()); });
    EXPECT_TRUE(printed.starts_with(loaded(broken) + "[/] " + broken + " failed")) << printed;
}

TEST_F(Shader, DrawsWithTheStagesItHas) {
    ryl_enableShader(ryl_loadShader(vertex.c_str(), nullptr));
    EXPECT_PRED5(isColour, drawnColour(), 0, 255, 0, 1);
    ryl_disableShader();
    EXPECT_PRED5(isColour, drawnColour(), 0, 0, 255, 1);
}

TEST_F(Shader, GetsUniformsOfOneToFourComponentsAndRefusesOthers) {
    const float values[] = {0.2f, 0.4f, 0.6f, 1.0f}, others[] = {1, 1, 1, 1, 1};
    for (const char* first : {vertex.c_str(), static_cast<const char*>(nullptr)}) {
        const int id = ryl_loadShader(first, fragment.c_str());
        ryl_enableShader(id);
        for (const auto& [name, count] : {std::pair{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}})
            ryl_shader_sendUniformValue(id, name, values, count);
        ryl_shader_sendUniformValue(id, "a", others, -1);
        EXPECT_EQ(printedBy([&] { ryl_shader_sendUniformValue(id, "a", others, 5); }),
                  "[!] The ryl framework only supports float4\n Any complains? Go to hell.\n");
        EXPECT_EQ(drawnColour(), (Pixel{51, 102, 153, 255}));
    }
}

// Each uniform decides one component of the colour; a name is looked up again after a link of another program.
TEST_F(Shader, GetsIntegersVectorsMatricesAndSamplersAndDrawsOverTheWholeView) {
    const std::string text = write("uniforms.frag", R"(
uniform ivec3 counts;
uniform vec2 points[2];
uniform mat3 turn;
uniform sampler2D picture, other;
varying vec4 place;
void main() {
    gl_FragColor = vec4(float(counts.z) / 10.0, points[1].x, (turn * vec3(0, 0, 1)).y,
                        texture2D(picture, vec2(0.5)).r * texture2D(other, gl_TexCoord[0].xy).g);
})");
    GLuint textures[2];
    glGenTextures(2, textures);
    const unsigned char texels[][3] = {{255, 0, 0}, {0, 255, 0}};
    for (int i = 0; i < 2; ++i) {
        glBindTexture(GL_TEXTURE_2D, textures[i]);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 1, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, texels[i]);
    }
    const int counts[] = {1, 2, 4};
    const float points[] = {0, 0, 0.2f, 0}, turn[] = {0, 0, 0, 0, 0, 0, 0, 0.6f, 0};
    for (int repeat = 0; repeat < 2; ++repeat) {
        const int id = ryl_loadShader(nullptr, text.c_str());
        ryl_enableShader(id);
        ryl_shader_sendUniformInteger(id, "counts", counts, 3);
        ryl_shader_sendUniformVectors(id, "points", points, 2, 2);
        ryl_shader_sendUniformMatrix(id, "turn", turn, 3);
        ryl_shader_sendUniformSampler(id, "picture", textures[0], 3);
        ryl_shader_sendUniformSampler(id, "other", textures[1], 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glTranslatef(99, 0, 0);
        glEnable(GL_DEPTH_TEST);
        ryl_fullScreen(id);
        for (const int corner : {0, SIDE - 1}) EXPECT_EQ(pixelAt(corner, corner), (Pixel{102, 51, 153, 255}));
        glLoadIdentity();
        glDisable(GL_DEPTH_TEST);
        EXPECT_PRED5(isColour, drawnColour(), 0, 0, 255, 1) << "the fixed functions are back";
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(Shader, RefusesValuesOutOfRangeWithALineAndKnowsItsAttributes) {
    const std::string text =
        write("attributes.vert", "attribute float size; void main() { gl_Position = gl_Vertex * size; }");
    const int id = ryl_loadShader(text.c_str(), nullptr);
    for (int repeat = 0; repeat < 2; ++repeat) {
        EXPECT_GE(ryl_shader_attribute(id, "size"), 0);
        EXPECT_EQ(ryl_shader_attribute(id, "none"), -1);
    }
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[=] { ryl_shader_sendUniformInteger(id, "a", nullptr, 5); }, "the number of integers is from 1 to 4, not 5"},
        {[=] { ryl_shader_sendUniformVectors(id, "a", nullptr, 0, 1); }, "the number of components is from 1 to 4"},
        {[=] { ryl_shader_sendUniformVectors(id, "a", nullptr, 1, 0); }, "the number of vectors is from 1 to"},
        {[=] { ryl_shader_sendUniformMatrix(id, "a", nullptr, 1); }, "the side of a matrix is from 2 to 4, not 1"},
        {[=] { ryl_shader_sendUniformSampler(id, "a", 0, -1); }, "the texture unit is from 0 to"}};
    for (const auto& [send, reason] : cases)
        EXPECT_TRUE(printedBy(send).starts_with(std::string("[/] uniform a: ") + reason)) << reason;
}

TEST(ShaderEnds, WithoutAFileAValueOrAnId) {
    const Sources files;
    const char* vertex = files.vertex.c_str();
    std::string all;
    for (int i = 0; i < 63; ++i) all += loaded(vertex);
    const std::pair<std::function<void()>, std::string> cases[] = {
        // Without a window, so a GL call would crash.
        {[=] { ryl_loadShader(vertex, "none.frag"); }, loaded(vertex) + "[!] Couldn't load shaderfile none.frag\n"},
        {[] { openTestWindow(SIDE, SIDE), ryl_shader_sendUniformValue(0, "a", nullptr, 0); },
         "[!] ryl_shader_sendUniformValue was given an invalid count-value check argument 4 and redo.. "
         "*sadface* :(\n"},
        {[=] {
             openTestWindow(SIDE, SIDE);
             for (int i = 0; ryl_loadShader(vertex, nullptr) == i; ++i) {
             }
         },
         all + "[!] Maximum amount of shaders reached.\n"}};
    for (const auto& [code, output] : cases) {
        const ChildResult result = runInChild(code);
        EXPECT_EQ(result.status, 255);
        EXPECT_EQ(withoutLogs(result.output), output);
    }
}

TEST_F(SuperShader, DrawsWithTheGeometryStageOrLeavesItOutWhereTheGlHasNone) {
    const bool hasStage = GLEW_EXT_geometry_shader4;
    const std::string printed = printedBy(
        [&] { ryl_loadSuperShader(geometry.c_str(), vertex.c_str(), nullptr, GL_POINTS, GL_TRIANGLE_STRIP); });
    EXPECT_EQ(withoutLogs(printed),
              loaded(geometry) + loaded(vertex) +
                  (hasStage ? "" : "[/] no geometry shaders on this system, " + geometry + " is left out\n"));
    ryl_enableShader(0);
    glClear(GL_COLOR_BUFFER_BIT);
    glBegin(GL_POINTS);
    glVertex2f(1.0f / SIDE, 1.0f / SIDE);  // the middle of a pixel
    glEnd();
    EXPECT_PRED5(isColour, pixelAt(SIDE / 2, SIDE / 2), 0, 255, 0, 1) << printed;
    EXPECT_PRED5(isColour, pixelAt(2, SIDE - 3), 0, hasStage ? 255 : 0, 0, 1) << "a square where there is the stage\n"
                                                                              << printed;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

std::string calls;
void note(const char* name, long a, long b) {
    calls += std::string(name) + " " + std::to_string(a) + " " + std::to_string(b) + "\n";
}

// Not every driver has a geometry stage, or logs. Here the objects' names are their logs.
void pretendToHaveTheExtension() {
    __GLEW_EXT_geometry_shader4 = GL_TRUE;
    glCreateProgramObjectARB = []() -> GLhandleARB { return 9; };
    glCreateShaderObjectARB = [](GLenum stage) -> GLhandleARB {
        return stage == GL_GEOMETRY_SHADER_EXT ? 1 : stage == GL_VERTEX_SHADER_ARB ? 2 : 3;
    };
    glShaderSourceARB = [](GLhandleARB, GLsizei, const GLcharARB**, const GLint*) {};
    glCompileShaderARB = [](GLhandleARB object) { note("compile", object, 0); };
    glAttachObjectARB = [](GLhandleARB program, GLhandleARB object) { note("attach", program, object); };
    glLinkProgramARB = [](GLhandleARB program) { note("link", program, 0); };
    glProgramParameteriEXT = [](GLuint, GLenum name, GLint value) { note("set", name, value); };
    glGetObjectParameterivARB = [](GLhandleARB, GLenum, GLint* value) { *value = 2; };
    glGetInfoLogARB = [](GLhandleARB object, GLsizei, GLsizei*, GLcharARB* log) {
        log[0] = static_cast<char>('0' + object);
        log[1] = '\0';
    };
}

TEST_F(SuperShader, SetsTheStagesParametersBetweenAttachingAndLinking) {
    pretendToHaveTheExtension();
    const std::string logs =
        "[/] " + fragment + " failed.\n{\n3}\n[/] " + vertex + " .\n{\n2}\n[/] Shaderprogram failed.\n{\n9}\n";
    std::string printed = printedBy(
        [&] { ryl_loadSuperShader(geometry.c_str(), vertex.c_str(), fragment.c_str(), GL_LINES, GL_POINTS); });
    EXPECT_TRUE(printed.ends_with("[/] " + geometry + " failed.\n{\n1}\n" + logs)) << printed;
    const std::string first = std::exchange(calls, "");
    GLint most = 0;
    glGetIntegerv(GL_MAX_GEOMETRY_OUTPUT_VERTICES_EXT, &most);
    const std::string parameters = "set 36314 " + std::to_string(most) + "\nset 36315 1\nset 36316 0\nlink 9 0\n";
    EXPECT_EQ(first, "compile 1 0\ncompile 2 0\ncompile 3 0\nattach 9 1\nattach 9 2\nattach 9 3\n" + parameters);
    ryl_loadSuperShader(nullptr, vertex.c_str(), nullptr, GL_LINES, GL_POINTS);
    EXPECT_EQ(std::exchange(calls, ""), "compile 2 0\nattach 9 2\n" + parameters) << "set also without the stage";
    printed = printedBy([&] { ryl_loadShader(vertex.c_str(), fragment.c_str()); });
    EXPECT_TRUE(printed.ends_with(logs)) << printed;
    EXPECT_EQ(calls, "compile 2 0\ncompile 3 0\nattach 9 2\nattach 9 3\nlink 9 0\n");
}

}  // namespace
