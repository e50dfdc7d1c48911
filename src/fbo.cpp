#include "fbo.h"

#include <GL/glew.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int MAX_TARGETS = 64;

struct fboEntry {
    GLuint texture;
    GLuint framebuffer;
    GLuint renderbuffer;
    int width, height;  // pixels
};

fboEntry fbo[MAX_TARGETS];
int CURRENT_ID = 0;  // the id handed out next

void clearAndPlaceCamera(float red, float green, float blue) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glClearColor(red, green, blue, 0);
    glLoadIdentity();
    glTranslatef(0, 0, -RYL_CAMERA_Z);
}

// Gives the bound framebuffer a depth buffer.
void attachDepth(GLuint renderbuffer, int width, int height) {
    glBindRenderbufferEXT(GL_RENDERBUFFER_EXT, renderbuffer);
    glRenderbufferStorageEXT(GL_RENDERBUFFER_EXT, GL_DEPTH_COMPONENT24, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER_EXT, GL_DEPTH_ATTACHMENT_EXT, GL_RENDERBUFFER_EXT, renderbuffer);
}

}  // namespace

int ryl_loadFBO(int width, int height) {
    if (CURRENT_ID + 1 > MAX_TARGETS) {
        std::puts("Maximum numbers of fbo's reached.. exiting");
        std::exit(-1);
    }
    fboEntry& target = fbo[CURRENT_ID];
    target.width = width;
    target.height = height;
    glGenFramebuffersEXT(1, &target.framebuffer);
    glGenTextures(1, &target.texture);
    glGenRenderbuffersEXT(1, &target.renderbuffer);

    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, target.framebuffer);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_FLOAT, nullptr);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, target.texture, 0);

    attachDepth(target.renderbuffer, width, height);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
    return CURRENT_ID++;
}

bool ryl_resizeTarget(ColourTarget& target, int width, int height, TargetDepth depth) {
    // Delete first: if the GL refuses the new size, the old target must not stay in use. Deleting a 0 does nothing.
    glDeleteFramebuffersEXT(1, &target.framebuffer);
    glDeleteTextures(1, &target.texture);
    glDeleteRenderbuffersEXT(1, &target.renderbuffer);
    target = {};
    glGenFramebuffersEXT(1, &target.framebuffer);
    glGenTextures(1, &target.texture);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, nullptr);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, target.framebuffer);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, target.texture, 0);
    if (depth != TargetDepth::none) {
        glGenRenderbuffersEXT(1, &target.renderbuffer);
        attachDepth(target.renderbuffer, width, height);
    }
    if (glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT) != GL_FRAMEBUFFER_COMPLETE_EXT) return false;
    target.width = width;
    target.height = height;
    return true;
}

unsigned ryl_enableFBO(int id, float red, float green, float blue) {
    const fboEntry& target = fbo[id];
    glViewport(0, 0, target.width, target.height);
    // Drawing into a texture that is bound for sampling is undefined.
    glBindTexture(GL_TEXTURE_2D, 0);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, target.framebuffer);
    clearAndPlaceCamera(red, green, blue);
    return target.texture;
}

void ryl_disableFBO(float screenWidth, float screenHeight, float red, float green, float blue) {
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
    glViewport(0, 0, static_cast<GLsizei>(screenWidth), static_cast<GLsizei>(screenHeight));
    clearAndPlaceCamera(red, green, blue);
}
