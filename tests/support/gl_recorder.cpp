#include "gl_recorder.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cstdio>
#include <sstream>

namespace {

bool recording = false;
std::vector<std::string> calls;
GLuint nextTexture = 1;
GLuint nextList = 1;

// ---- arguments as text ----

// A name of the GL, by its value. Values below 2 mean different things in different calls and stay numbers, unless
// the call says what they are.
struct Name {
    GLenum value;
};
struct Primitive {
    GLenum value;
};
struct Factor {
    GLenum value;
};
struct Vector {
    const GLfloat* components;
    int count;
};

#define GL_NAME(name) \
    { GL_##name, #name }

const std::map<GLenum, const char*> NAMES = {GL_NAME(AMBIENT),
                                             GL_NAME(BLEND),
                                             GL_NAME(CLAMP),
                                             GL_NAME(COLOR_MATERIAL),
                                             GL_NAME(COMPILE),
                                             GL_NAME(DIFFUSE),
                                             GL_NAME(EXP2),
                                             GL_NAME(FILL),
                                             GL_NAME(FOG),
                                             GL_NAME(FOG_COLOR),
                                             GL_NAME(FOG_DENSITY),
                                             GL_NAME(FOG_HINT),
                                             GL_NAME(FOG_MODE),
                                             GL_NAME(FRONT_AND_BACK),
                                             GL_NAME(GENERATE_MIPMAP_SGIS),
                                             GL_NAME(LIGHT0),
                                             GL_NAME(LIGHT_MODEL_TWO_SIDE),
                                             GL_NAME(LIGHTING),
                                             GL_NAME(LINEAR),
                                             GL_NAME(LINEAR_MIPMAP_LINEAR),
                                             GL_NAME(LUMINANCE),
                                             GL_NAME(LUMINANCE_ALPHA),
                                             GL_NAME(MODULATE),
                                             GL_NAME(NEAREST),
                                             GL_NAME(NEAREST_MIPMAP_NEAREST),
                                             GL_NAME(NICEST),
                                             GL_NAME(PACK_ALIGNMENT),
                                             GL_NAME(REPEAT),
                                             GL_NAME(RGB),
                                             GL_NAME(RGBA),
                                             GL_NAME(SHININESS),
                                             GL_NAME(SPECULAR),
                                             GL_NAME(TEXTURE_2D),
                                             GL_NAME(TEXTURE_ENV),
                                             GL_NAME(TEXTURE_ENV_MODE),
                                             GL_NAME(TEXTURE_MAG_FILTER),
                                             GL_NAME(TEXTURE_MIN_FILTER),
                                             GL_NAME(TEXTURE_RECTANGLE),
                                             GL_NAME(TEXTURE_WRAP_S),
                                             GL_NAME(TEXTURE_WRAP_T),
                                             GL_NAME(UNPACK_ALIGNMENT),
                                             GL_NAME(UNSIGNED_BYTE)};
const std::map<GLenum, const char*> PRIMITIVES = {GL_NAME(LINES), GL_NAME(TRIANGLES), GL_NAME(TRIANGLE_STRIP),
                                                  GL_NAME(QUADS)};
const std::map<GLenum, const char*> FACTORS = {GL_NAME(ZERO), GL_NAME(ONE), GL_NAME(SRC_ALPHA),
                                               GL_NAME(ONE_MINUS_SRC_ALPHA)};

std::string nameIn(const std::map<GLenum, const char*>& names, GLenum value) {
    const auto found = names.find(value);
    return found != names.end() ? found->second : std::to_string(value);
}

std::string text(GLint value) { return std::to_string(value); }
std::string text(GLuint value) { return std::to_string(value); }
std::string text(GLfloat value) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", static_cast<double>(value));
    return digits;
}
std::string text(Name name) { return nameIn(NAMES, name.value); }
std::string text(Primitive primitive) { return nameIn(PRIMITIVES, primitive.value); }
std::string text(Factor factor) { return nameIn(FACTORS, factor.value); }
std::string text(Vector vector) {
    std::string all = text(vector.components[0]);
    for (int i = 1; i < vector.count; ++i) all += " " + text(vector.components[i]);
    return all;
}

template <typename... Arguments>
void record(const char* name, Arguments... arguments) {
    if (!recording) return;
    std::string line = name;
    ((line += " " + text(arguments)), ...);
    calls.push_back(line);
}

// ---- comparing ----

bool matches(const std::string& call, const std::string& expected) {
    std::istringstream callWords(call), expectedWords(expected);
    std::string word, wanted;
    while (expectedWords >> wanted)
        if (!(callWords >> word) || (wanted != "*" && word != wanted)) return false;
    return !(callWords >> word);
}

}  // namespace

GlAnswers& glAnswers() {
    static GlAnswers answers{{{GL_MAX_TEXTURE_SIZE, 4096}, {GL_PACK_ALIGNMENT, 4}}, ""};
    return answers;
}

void startRecording() {
    recording = true;
    calls.clear();
    nextTexture = nextList = 1;
}

const std::vector<std::string>& recordedCalls() { return calls; }

testing::AssertionResult callsAre(const std::vector<std::string>& expected) {
    std::size_t at = 0;
    while (at < calls.size() && at < expected.size() && matches(calls[at], expected[at])) ++at;
    if (at == calls.size() && at == expected.size()) return testing::AssertionSuccess();
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << "call " << at << " is \"" << (at < calls.size() ? calls[at] : "missing") << "\", expected \""
            << (at < expected.size() ? expected[at] : "no more") << "\"; all calls:";
    for (const std::string& call : calls) failure << "\n  " << call;
    return failure;
}

// ---- the entry points ----
//
// The parameters are those of the GL's manual pages; their qualifiers come from the headers.

#define RECORD(name, parameters, ...) \
    void name parameters { record(#name __VA_OPT__(, ) __VA_ARGS__); }

RECORD(glBegin, (GLenum mode), Primitive{mode})
RECORD(glEnd, ())
RECORD(glVertex3fv, (const GLfloat* v), Vector{v, 3})
RECORD(glNormal3fv, (const GLfloat* v), Vector{v, 3})
RECORD(glTexCoord2f, (GLfloat s, GLfloat t), s, t)
RECORD(glColor3fv, (const GLfloat* v), Vector{v, 3})
RECORD(glMaterialf, (GLenum face, GLenum name, GLfloat value), Name{face}, Name{name}, value)
RECORD(glMaterialfv, (GLenum face, GLenum name, const GLfloat* v), Name{face}, Name{name}, Vector{v, 4})
RECORD(glLightModeli, (GLenum name, GLint value), Name{name}, value)
RECORD(glEnable, (GLenum what), Name{what})
RECORD(glDisable, (GLenum what), Name{what})
RECORD(glBlendFunc, (GLenum source, GLenum destination), Factor{source}, Factor{destination})
RECORD(glDepthMask, (GLboolean flag), GLint{flag})
RECORD(glTexEnvf, (GLenum target, GLenum name, GLfloat value), Name{target}, Name{name},
       Name{static_cast<GLenum>(value)})
RECORD(glTexParameteri, (GLenum target, GLenum name, GLint value), Name{target}, Name{name},
       Name{static_cast<GLenum>(value)})
RECORD(glBindTexture, (GLenum target, GLuint texture), Name{target}, texture)
RECORD(glPixelStorei, (GLenum name, GLint value), Name{name}, value)
RECORD(glNewList, (GLuint list, GLenum mode), list, Name{mode})
RECORD(glEndList, ())
RECORD(glTexImage2D,
       (GLenum target, GLint level, GLint internal, GLsizei width, GLsizei height, GLint border, GLenum format,
        GLenum type, const void* /*pixels*/),
       Name{target}, level, Name{static_cast<GLenum>(internal)}, width, height, border, Name{format}, Name{type})

RECORD(glVertex3f, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
RECORD(glColor4f, (GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha), red, green, blue, alpha)
RECORD(glPushMatrix, ())
RECORD(glPopMatrix, ())
RECORD(glTranslatef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
RECORD(glRotatef, (GLfloat angle, GLfloat x, GLfloat y, GLfloat z), angle, x, y, z)
RECORD(glScalef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
RECORD(glFogf, (GLenum name, GLfloat value), Name{name}, value)
RECORD(glFogfv, (GLenum name, const GLfloat* v), Name{name}, Vector{v, 4})
RECORD(glFogi, (GLenum name, GLint value), Name{name}, Name{static_cast<GLenum>(value)})
RECORD(glHint, (GLenum target, GLenum mode), Name{target}, Name{mode})
RECORD(glLightfv, (GLenum light, GLenum name, const GLfloat* v), Name{light}, Name{name}, Vector{v, 4})
RECORD(glLightModelfv, (GLenum name, const GLfloat* v), Name{name}, Vector{v, 4})
RECORD(glPolygonMode, (GLenum face, GLenum mode), Name{face}, Name{mode})

void glGenTextures(GLsizei count, GLuint* textures) {
    for (GLsizei i = 0; i < count; ++i) textures[i] = nextTexture++;
    record("glGenTextures", count);
}

void glDeleteTextures(GLsizei count, const GLuint* textures) {
    for (GLsizei i = 0; i < count; ++i) record("glDeleteTextures", textures[i]);
}

GLuint glGenLists(GLsizei range) {
    record("glGenLists", range);
    return nextList++;
}

void glGetIntegerv(GLenum name, GLint* value) { *value = glAnswers().integers[name]; }

const GLubyte* glGetString(GLenum /*name*/) {
    return reinterpret_cast<const GLubyte*>(glAnswers().extensions.c_str());
}

GLint gluBuild2DMipmaps(GLenum target, GLint internal, GLsizei width, GLsizei height, GLenum format, GLenum type,
                        const void* /*pixels*/) {
    record("gluBuild2DMipmaps", Name{target}, Name{static_cast<GLenum>(internal)}, width, height, Name{format},
           Name{type});
    return 0;
}

GLint gluScaleImage(GLenum format, GLsizei width, GLsizei height, GLenum type, const void* /*pixels*/,
                    GLsizei newWidth, GLsizei newHeight, GLenum newType, void* /*newPixels*/) {
    record("gluScaleImage", Name{format}, width, height, Name{type}, newWidth, newHeight, Name{newType});
    return 0;
}
