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

// clang-format off
#define FOR_EACH_NAME(X) \
    X(AMBIENT) X(BLEND) X(CLAMP) X(COLOR_MATERIAL) X(COMPILE) X(DIFFUSE) X(FRONT_AND_BACK) \
    X(GENERATE_MIPMAP_SGIS) X(LIGHT_MODEL_TWO_SIDE) X(LINEAR) X(LINEAR_MIPMAP_LINEAR) X(LUMINANCE) \
    X(LUMINANCE_ALPHA) X(MODULATE) X(NEAREST) X(NEAREST_MIPMAP_NEAREST) X(PACK_ALIGNMENT) X(REPEAT) X(RGB) \
    X(RGBA) X(SHININESS) X(SPECULAR) X(TEXTURE_2D) X(TEXTURE_ENV) X(TEXTURE_ENV_MODE) X(TEXTURE_MAG_FILTER) \
    X(TEXTURE_MIN_FILTER) X(TEXTURE_RECTANGLE) X(TEXTURE_WRAP_S) X(TEXTURE_WRAP_T) X(UNPACK_ALIGNMENT) \
    X(UNSIGNED_BYTE)
// clang-format on
#define GL_NAME(name) {GL_##name, #name},

const std::map<GLenum, const char*> NAMES = {FOR_EACH_NAME(GL_NAME)};
const std::map<GLenum, const char*> PRIMITIVES = {{GL_TRIANGLES, "TRIANGLES"}};
const std::map<GLenum, const char*> FACTORS = {{GL_ZERO, "ZERO"}, {GL_ONE, "ONE"}, {GL_SRC_ALPHA, "SRC_ALPHA"}};

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
