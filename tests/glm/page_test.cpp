// The documentation's example does what the page says.
#include "gl_window.h"
#include "model_files.h"
#include "x_server.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

Pixel middle;  // of the picture last drawn

void lookAndSwap() {
    middle = pixelAt(glutGet(GLUT_WINDOW_WIDTH) / 2, glutGet(GLUT_WINDOW_HEIGHT) / 2);
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

TEST(Page, ExampleDrawsAndWritesTheSmoothedModel) {
    // Two triangles that lean towards the viewer along the line between them.
    ModelFiles files("mtllib m.mtl\nv -3 -3 0\nv 0 -3 1\nv 3 -3 0\nv 0 3 1\nusemtl red\nf 1 2 4\nf 2 3 4\n",
                     "newmtl red\nKd 1 0 0\n");
    startPrivateDisplay();
    const ChildResult result = runInChild([&] {
        std::filesystem::current_path(files.folder.path());
        char name[] = "example";
        char* arguments[] = {name, files.path.data(), nullptr};
        exampleMain(2, arguments);
        display();
        EXPECT_TRUE(isColour(middle, 255, 0, 0, 55));
        // Exit handlers unload the GL driver, after which its own leaks cannot be told from ours.
        std::fflush(stdout);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    const Model smooth(glmReadOBJ(files.at("smooth.obj").c_str()));
    EXPECT_EQ(smooth->numnormals, 4u);
    const std::uint32_t shared = smooth->triangles[0].nindices[1];
    EXPECT_NEAR(smooth->normals[3 * shared + 2], 1.0f, 1e-6) << "the shared edge faces the viewer";
    EXPECT_STREQ(smooth->materials[smooth->triangles[0].material].name, "red");
}
