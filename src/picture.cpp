#include "picture.h"

#include "fbo.h"

#include <GL/glew.h>

#include <array>
#include <cstdio>

namespace {

// In the window's order of pixels: showing it would else convert every one.
ColourTarget kept;

bool canCopyPictures() {
    if (!GLEW_EXT_framebuffer_blit)
        std::puts("[/] This GL cannot copy between framebuffers: there is no motion blur.");
    return GLEW_EXT_framebuffer_blit != 0;
}

bool isKept(int width, int height) { return kept.texture != 0 && kept.width == width && kept.height == height; }

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
    constexpr float corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (const auto& [s, t] : corners) {
        glTexCoord2f(s, 1 - t);
        glVertex2f(2 * s - 1, 2 * t - 1);
    }
    glEnd();

    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
}

// Copies the picture between the window and where it is kept, upside down, and binds the window.
void copyPicture(GLuint from, GLuint to) {
    const int width = kept.width, height = kept.height;
    glBindFramebufferEXT(GL_READ_FRAMEBUFFER_EXT, from);
    glBindFramebufferEXT(GL_DRAW_FRAMEBUFFER_EXT, to);
    glBlitFramebufferEXT(0, 0, width, height, 0, height, width, 0, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

}  // namespace

void ryl_blendPicture(int width, int height, float weight) {
    static const bool canKeep = canCopyPictures();
    if (!canKeep) return;
    if (!isKept(width, height))
        ryl_resizeTarget(kept, width, height);
    else if (weight > 0)
        drawKeptOver(weight);
    clearKept();  // there is nothing to copy where the window does not reach
    copyPicture(0, kept.framebuffer);
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
    copyPicture(kept.framebuffer, 0);
    return true;
}

void ryl_showPicture(void) {
    copyPicture(kept.framebuffer, 0);
    glPushAttrib(GL_TRANSFORM_BIT);
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
}

bool ryl_readPicture(int width, int height, unsigned char* pixels) {
    const bool fromKept = kept.texture != 0;
    if (fromKept) glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    glReadPixels(0, fromKept ? kept.height - height : 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
    if (fromKept) glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
    return fromKept;
}
