// Shader programs on the real GL, by the colour they produce and by what is printed of them.
#include "child.h"
#include "fbo.h"
#include "gl_window.h"
#include "shader.h"
#include "temp_dir.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr char VERTEX[] = "void main() { gl_Position = gl_Vertex; gl_FrontColor = vec4(0.0, 1.0, 0.0, 1.0); }\n";
constexpr char FRAGMENT[] = "uniform vec3 tint; void main() { gl_FragColor = vec4(tint, 1.0); }\n";
constexpr char GEOMETRY[] =
    "#version 120\n#extension GL_EXT_geometry_shader4 : enable\nvoid main() { EndPrimitive(); }\n";

// The colour of a rectangle over the whole view, drawn in blue where no stage says otherwise.
Pixel drawnColour() {
    glClear(GL_COLOR_BUFFER_BIT);
    glColor3f(0, 0, 1);
    glRectf(-1, -1, 1, 1);
    return pixelAt(8, 8);
}

std::string printedBy(const std::function<void()>& code) {
    testing::internal::CaptureStdout();
    code();
    return testing::internal::GetCapturedStdout();
}

TEST(Shader, EachStageMayBeLeftOut) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string vertex = folder.write("green.vert", VERTEX), fragment = folder.write("tint.frag", FRAGMENT);
    int both = -1, onlyVertex = -1, onlyFragment = -1;
    EXPECT_EQ(printedBy([&] { both = ryl_loadShader(vertex.c_str(), fragment.c_str()); }),
              "[*] shaderfile " + vertex + " loaded\n[*] shaderfile " + fragment + " loaded\n");
    EXPECT_EQ(printedBy([&] { onlyVertex = ryl_loadShader(vertex.c_str(), nullptr); }),
              "[*] shaderfile " + vertex + " loaded\n");
    EXPECT_EQ(printedBy([&] { onlyFragment = ryl_loadShader(nullptr, fragment.c_str()); }),
              "[*] shaderfile " + fragment + " loaded\n");
    EXPECT_EQ((std::vector{both, onlyVertex, onlyFragment}), (std::vector{0, 1, 2}));
    EXPECT_STREQ(shader[0].fragmentSource, FRAGMENT);
    EXPECT_EQ(shader[1].fragmentObject, 0U);
    EXPECT_EQ(shader[2].vertexObject, 0U);

    const std::array red = {1.0f, 0.0f, 0.0f};
    for (const int id : {both, onlyFragment}) {
        ryl_enableShader(id);
        ryl_shader_sendUniformValue(id, "tint", red.data(), 3);
        EXPECT_TRUE(isColour(drawnColour(), 255, 0, 0)) << id;
    }
    ryl_enableShader(onlyVertex);
    EXPECT_TRUE(isColour(drawnColour(), 0, 255, 0));
    ryl_disableShader();
    EXPECT_TRUE(isColour(drawnColour(), 0, 0, 255));
}

TEST(Shader, UniformsTakeOneToFourComponents) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string path = folder.write(
        "all.frag",
        "uniform float a; uniform vec2 b; uniform vec3 c; uniform vec4 d;\n"
        "void main() { gl_FragColor = vec4(a, b.y, c.z, 1.0) + 0.0 * d + vec4(0.0, 0.0, 0.0, d.w - d.x); }\n");
    const int id = ryl_loadShader(nullptr, path.c_str());
    const std::array values = {0.2f, 0.4f, 0.6f, 0.2f};
    ryl_enableShader(id);
    for (const auto& [name, count] : {std::pair{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}})
        ryl_shader_sendUniformValue(id, name, values.data(), count);
    EXPECT_EQ(drawnColour(), (Pixel{51, 102, 153, 255}));

    const std::array other = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
    EXPECT_EQ(printedBy([&] { ryl_shader_sendUniformValue(id, "a", other.data(), 5); }),
              "[!] The ryl framework only supports float4\n Any complains? Go to hell.\n");
    EXPECT_EQ(printedBy([&] { ryl_shader_sendUniformValue(id, "a", other.data(), -1); }), "");
    EXPECT_EQ(drawnColour(), (Pixel{51, 102, 153, 255})) << "nothing was set";
}

TEST(Shader, MissingFileOrCountEndsTheProgram) {
    const TempDir folder;
    const std::string vertex = folder.write("a.vert", VERTEX);
    // Without a window: the first GL call would crash.
    ChildResult result = runInChild([&] { ryl_loadShader(vertex.c_str(), "none.frag"); });
    EXPECT_EQ(result.output, "[*] shaderfile " + vertex + " loaded\n[!] Couldn't load shaderfile none.frag\n");
    EXPECT_EQ(result.status, 255);
    result = runInChild([] {
        openTestWindow(16, 16);
        const float value = 1;
        ryl_shader_sendUniformValue(0, "a", &value, 0);
    });
    EXPECT_EQ(result.output, "[!] ryl_shader_sendUniformValue was given an invalid count-value check argument 4 and "
                             "redo.. *sadface* :(\n");
    EXPECT_EQ(result.status, 255);
}

TEST(Shader, LogsArePrintedFragmentFirstAndEndNothing) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string vertex = folder.write("bad.vert", "void main() { this is no GLSL }\n");
    const std::string fragment = folder.write("bad.frag", "void main() { nor is this }\n");
    int id = -1;
    const std::string printed = printedBy([&] { id = ryl_loadShader(vertex.c_str(), fragment.c_str()); });
    EXPECT_EQ(id, 0);
    const std::size_t first = printed.find("[/] " + fragment + " failed.\n{\n");
    const std::size_t second = printed.find("}\n[/] " + vertex + " .\n{\n");
    const std::size_t third = printed.find("}\n[/] Shaderprogram failed.\n{\n");
    ASSERT_NE(third, std::string::npos) << printed;
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
    EXPECT_TRUE(printed.ends_with("}\n")) << printed;
    EXPECT_NE(printed.find("error", first), std::string::npos) << "the GL's own words";
}

TEST(Shader, LoadWithoutFilesTakesNoId) {
    openTestWindow(16, 16);
    const TempDir folder;
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(printedBy([] { EXPECT_EQ(ryl_loadShader(nullptr, nullptr), 0); }),
                  "[!] No files given to function loadShader()\n");
    EXPECT_EQ(printedBy([] { EXPECT_EQ(ryl_loadSuperShader(nullptr, nullptr, nullptr, 0, 0), 0); }),
              "[!] No files given to function loadShader()\n");
    EXPECT_EQ(ryl_loadShader(folder.write("a.vert", VERTEX).c_str(), nullptr), 0);
    EXPECT_EQ(ryl_loadFBO(8, 8), 0) << "render targets count on their own";
    EXPECT_EQ(CURRENT_ID, 0);
}

TEST(Shader, The64thEndsTheProgram) {
    const TempDir folder;
    const std::string vertex = folder.write("a.vert", VERTEX);
    const ChildResult result = runInChild([&] {
        openTestWindow(16, 16);
        for (int i = 0; i < 63; ++i)
            if (ryl_loadShader(vertex.c_str(), nullptr) != i) std::exit(1);
        ryl_loadShader(vertex.c_str(), nullptr);
    });
    EXPECT_EQ(result.status, 255);
    EXPECT_TRUE(result.output.ends_with(" loaded\n[!] Maximum amount of shaders reached.\n"));
}

TEST(SuperShader, LeavesTheGeometryStageOutWhereTheGlHasNone) {
    openTestWindow(16, 16);
    ASSERT_FALSE(GLEW_EXT_geometry_shader4) << "this renderer has the extension: test the stage itself";
    const TempDir folder;
    const std::string geometry = folder.write("a.geom", GEOMETRY), vertex = folder.write("a.vert", VERTEX);
    int id = -1;
    const std::string printed = printedBy([&] {
        id = ryl_loadSuperShader(geometry.c_str(), vertex.c_str(), nullptr, GL_TRIANGLES, GL_TRIANGLE_STRIP);
    });
    EXPECT_EQ(printed, "[*] shaderfile " + geometry + " loaded\n[*] shaderfile " + vertex +
                           " loaded\n[/] no geometry shaders on this system, " + geometry + " is left out\n");
    ryl_enableShader(id);
    EXPECT_TRUE(isColour(drawnColour(), 0, 255, 0));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// ---- The geometry stage on a GL of our own, since the software renderer has none ---------------------------------

std::vector<std::string> calls;
void note(const std::string& name, long a = 0, long b = 0) {
    calls.push_back(name + " " + std::to_string(a) + " " + std::to_string(b));
}

void pretendToHaveTheExtension() {
    __GLEW_EXT_geometry_shader4 = GL_TRUE;
    glCreateProgramObjectARB = []() -> GLhandleARB { return 9; };
    glCreateShaderObjectARB = [](GLenum stage) -> GLhandleARB {
        note("create", stage);
        return stage == GL_GEOMETRY_SHADER_EXT ? 1 : stage == GL_VERTEX_SHADER_ARB ? 2 : 3;
    };
    glShaderSourceARB = [](GLhandleARB, GLsizei, const GLcharARB**, const GLint*) {};
    glCompileShaderARB = [](GLhandleARB) {};
    glAttachObjectARB = [](GLhandleARB program, GLhandleARB object) { note("attach", program, object); };
    glLinkProgramARB = [](GLhandleARB) { note("link"); };
    glProgramParameteriEXT = [](GLuint, GLenum name, GLint value) { note("parameter", name, value); };
    glGetObjectParameterivARB = [](GLhandleARB, GLenum, GLint* value) { *value = 4; };
    glGetInfoLogARB = [](GLhandleARB object, GLsizei, GLsizei*, GLcharARB* log) {
        log[0] = static_cast<char>('0' + object);
        log[1] = '\n';
        log[2] = '\0';
    };
}

TEST(SuperShader, SetsTheStagesParametersBetweenAttachingAndLinking) {
    openTestWindow(16, 16);
    pretendToHaveTheExtension();
    const TempDir folder;
    const std::string geometry = folder.write("a.geom", GEOMETRY), vertex = folder.write("a.vert", VERTEX);
    const std::string fragment = folder.write("a.frag", FRAGMENT);
    const std::string printed = printedBy([&] {
        ryl_loadSuperShader(geometry.c_str(), vertex.c_str(), fragment.c_str(), GL_LINES, GL_TRIANGLE_STRIP);
    });
    GLint most = 0;
    glGetIntegerv(GL_MAX_GEOMETRY_OUTPUT_VERTICES_EXT, &most);
    const auto line = [](const char* name, long a, long b) {
        return std::string(name) + " " + std::to_string(a) + " " + std::to_string(b);
    };
    const std::vector<std::string> parameters = {line("parameter", GL_GEOMETRY_VERTICES_OUT_EXT, most),
                                                 line("parameter", GL_GEOMETRY_INPUT_TYPE_EXT, GL_LINES),
                                                 line("parameter", GL_GEOMETRY_OUTPUT_TYPE_EXT, GL_TRIANGLE_STRIP),
                                                 "link 0 0"};
    std::vector<std::string> expected = {line("create", GL_GEOMETRY_SHADER_EXT, 0),
                                         line("create", GL_VERTEX_SHADER_ARB, 0),
                                         line("create", GL_FRAGMENT_SHADER_ARB, 0),
                                         "attach 9 1",
                                         "attach 9 2",
                                         "attach 9 3"};
    expected.insert(expected.end(), parameters.begin(), parameters.end());
    EXPECT_EQ(calls, expected);
    EXPECT_TRUE(printed.ends_with("[/] " + geometry + " failed.\n{\n1\n}\n[/] " + fragment +
                                  " failed.\n{\n3\n}\n[/] " + vertex +
                                  " .\n{\n2\n}\n[/] Shaderprogram failed.\n{\n9\n}\n"))
        << printed;

    calls.clear();
    ryl_loadSuperShader(nullptr, vertex.c_str(), nullptr, GL_LINES, GL_TRIANGLE_STRIP);
    expected = {line("create", GL_VERTEX_SHADER_ARB, 0), "attach 9 2"};
    expected.insert(expected.end(), parameters.begin(), parameters.end());
    EXPECT_EQ(calls, expected) << "set also without a geometry stage";
}

}  // namespace
