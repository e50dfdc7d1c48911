// Without a context the GL does nothing. The library is to go on all the same, so that GLU resamples its images.
#include <GL/glu.h>

void glGetIntegerv(GLenum name, GLint* value) {
    constexpr int LARGEST = 4096, ALIGNMENT = 4;
    const bool aligns = name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT;
    *value = name == GL_MAX_TEXTURE_SIZE ? LARGEST : aligns ? ALIGNMENT : 0;
}

GLint gluBuild2DMipmaps(GLenum, GLint, GLsizei, GLsizei, GLenum, GLenum, const void*) { return 0; }
