// The documentation's example: it is the file that is compiled here, and it does what the page says.
#include "child.h"
#include "gl_window.h"
#include "glm/glm.h"
#include "temp_dir.h"
#include "x_server.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

Pixel middle, corner;  // of the picture last drawn

void lookAndSwap() {
    middle = pixelAt(glutGet(GLUT_WINDOW_WIDTH) / 2, glutGet(GLUT_WINDOW_HEIGHT) / 2);
    corner = pixelAt(0, glutGet(GLUT_WINDOW_HEIGHT) - 1);
    glutSwapBuffers();
}

}  // namespace

// One turn of the main loop, and back; each picture is looked at before it is shown.
#define glutMainLoop glutMainLoopEvent
#define glutSwapBuffers lookAndSwap
#define main exampleMain
#include "page_example.cpp"  // NOLINT(bugprone-suspicious-include): it is what is tested
#undef main
#undef glutSwapBuffers

namespace {

std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

TEST(Page, QuotesTheExample) {
    const std::string page = contents(RYL_DOCS_DIR "/model-library.md");
    const std::string example = contents(RYL_EXAMPLE);
    EXPECT_FALSE(example.empty());
    EXPECT_NE(page.find("```cpp\n" + example + "```\n"), std::string::npos) << "the page differs from " RYL_EXAMPLE;
}

TEST(Page, ExampleDrawsAndWritesTheSmoothedModel) {
    const TempDir folder;
    folder.write("m.mtl", "newmtl red\nKd 1 0 0\n");
    // Two triangles that lean towards the viewer along the line between them.
    std::string path = folder.write("m.obj", "mtllib m.mtl\nv -3 -3 0\nv 0 -3 1\nv 3 -3 0\nv 0 3 1\n"
                                             "usemtl red\nf 1 2 4\nf 2 3 4\n");
    startPrivateDisplay();
    const ChildResult result = runInChild([&] {
        std::filesystem::current_path(folder.path());
        char name[] = "example";
        char* arguments[] = {name, path.data(), nullptr};
        exampleMain(2, arguments);
        display();
        EXPECT_GT(middle.red, 200);
        EXPECT_LT(middle.blue, 60);
        EXPECT_EQ(corner, (Pixel{0, 0, 0, corner.alpha}));
        // Exit handlers unload the GL driver, after which its own leaks cannot be told from ours.
        std::fflush(stdout);
        std::_Exit(HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(result.status, 0) << result.output << result.errors;

    GLMmodel* smooth = glmReadOBJ((folder.path() / "smooth.obj").c_str());
    EXPECT_EQ(smooth->numnormals, 4u);
    const std::uint32_t shared = smooth->triangles[0].nindices[1];
    EXPECT_NEAR(smooth->normals[3 * shared + 2], 1.0f, 1e-6) << "the shared edge faces the viewer";
    EXPECT_STREQ(smooth->materials[smooth->triangles[0].material].name, "red");
    glmDelete(smooth);
}
