#include "picture.h"

#include "fbo.h"

#include <GL/glew.h>

#include <array>
#include <cstdio>

namespace {

// In the window's order of pixels, so that showing it converts none.
ColourTarget kept;

bool isKept(int width, int height) { return kept.width != 0 && kept.width == width && kept.height == height; }

// Returns false if the GL cannot, and the first time prints a line.
bool makeKept(int width, int height) {
    static bool said = false;
    const bool made = ryl_resizeTarget(kept, width, height);
    if (!made && !said)
        std::printf("[/] This GL cannot keep a picture of %d x %d: there is no motion blur.\n", width, height);
    said = said || !made;
    return made;
}

void clearKept() {
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    glPushAttrib(GL_COLOR_BUFFER_BIT);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glPopAttrib();
}

// One quad over the whole viewport, texel on pixel.
void drawKeptOver(float weight) {
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_TRANSFORM_BIT | GL_COLOR_BUFFER_BIT | GL_VIEWPORT_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glDisable(GL_FOG);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendColor(0, 0, 0, weight);
    glBlendFunc(GL_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA);
    glViewport(0, 0, kept.width, kept.height);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();

    glBindTexture(GL_TEXTURE_2D, kept.texture);
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    constexpr float CORNERS[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (const auto& [s, t] : CORNERS) {
        glTexCoord2f(s, 1 - t);
        glVertex2f(2 * s - 1, 2 * t - 1);
    }
    glEnd();

    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
}

enum class Turn { none, over };

// Copies width x height pixels from one framebuffer to another, turned upside down or not, and binds the window.
void copyPicture(GLuint from, GLuint to, int width, int height, Turn turn) {
    const int bottom = turn == Turn::over ? height : 0;
    glBindFramebufferEXT(GL_READ_FRAMEBUFFER_EXT, from);
    glBindFramebufferEXT(GL_DRAW_FRAMEBUFFER_EXT, to);
    glBlitFramebufferEXT(0, 0, width, height, 0, bottom, width, height - bottom, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

void showKept() { copyPicture(kept.framebuffer, 0, kept.width, kept.height, Turn::over); }

GLuint boundFramebuffer() {
    GLint bound = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &bound);
    return static_cast<GLuint>(bound);
}

}  // namespace

bool ryl_canKeepPicture(void) {
    static const bool can = [] {
        if (!GLEW_EXT_framebuffer_blit)
            std::puts("[/] This GL cannot copy between framebuffers: there is no motion blur.");
        return GLEW_EXT_framebuffer_blit != 0;
    }();
    return can;
}

void ryl_blendPicture(int width, int height, float weight) {
    constexpr GLuint WINDOW = 0;
    if (!ryl_canKeepPicture()) return;
    const GLuint drawn = boundFramebuffer();
    if (isKept(width, height)) {
        drawKeptOver(weight);
    } else if (!makeKept(width, height)) {
        if (drawn != WINDOW) copyPicture(drawn, WINDOW, width, height, Turn::none);
        glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, WINDOW);
        return;
    }
    if (drawn == WINDOW) clearKept();  // a small window has not all of the pixels
    copyPicture(drawn, kept.framebuffer, width, height, Turn::over);
    if (drawn != WINDOW) showKept();
}

bool ryl_beginPicture(int width, int height) {
    if (!isKept(width, height)) return false;
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    std::array<GLfloat, 16> projection{};
    glGetFloatv(GL_PROJECTION_MATRIX, projection.data());
    glPushAttrib(GL_TRANSFORM_BIT);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glScalef(1, -1, 1);
    glMultMatrixf(projection.data());
    glPopAttrib();
    return true;
}

bool ryl_showPictureAgain(int width, int height) {
    if (!isKept(width, height)) return false;
    showKept();
    return true;
}

void ryl_showPicture(void) {
    showKept();
    glPushAttrib(GL_TRANSFORM_BIT);
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
}

bool ryl_readPicture(int width, int height, unsigned char* pixels) {
    const bool fromKept = kept.width != 0;
    if (fromKept) glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    glReadPixels(0, fromKept ? kept.height - height : 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
    if (fromKept) glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
    return fromKept;
}
