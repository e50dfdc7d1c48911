#include "gl_window.h"

#include "x_server.h"

#include <GL/glew.h>
// GLEW before anything that includes gl.h.
#include <GL/freeglut.h>

#include <dlfcn.h>
#include <link.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

// libGL unloads its driver at exit, before the leak checker looks; kept loaded, the driver's own leaks have its name
// and can be told from ours.
void keepDriverLoaded() {
    dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t, void*) {
            if (std::strstr(module->dlpi_name, "_dri.so") != nullptr)
                dlopen(module->dlpi_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

}  // namespace

void openTestWindow(int width, int height) {
    startPrivateDisplay();
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    int count = 1;
    glutInit(&count, arguments);
    glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
    // Wholly on the screen: pixels outside of it need not exist.
    glutInitWindowPosition(0, 0);
    glutInitWindowSize(width, height);
    glutCreateWindow("test");
    // freeglut refuses to handle events of a window without a display callback.
    glutDisplayFunc([] {});
    keepDriverLoaded();
    glewInit();
    glutMainLoopEvent();
    glViewport(0, 0, width, height);
}

Pixel pixelAt(int x, int y) {
    std::array<unsigned char, 4> bytes{};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << pixel.red << ' ' << pixel.green << ' ' << pixel.blue << ' ' << pixel.alpha;
}

bool isColour(const Pixel& pixel, int red, int green, int blue, int tolerance) {
    return std::abs(pixel.red - red) <= tolerance && std::abs(pixel.green - green) <= tolerance &&
           std::abs(pixel.blue - blue) <= tolerance;
}
