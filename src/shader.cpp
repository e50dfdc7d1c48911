#include "shader.h"

#include "live.h"
#include "system.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

shaderEntry shader[MAX_SHADERS] = {};
int CURRENT_ID = -1;

namespace {

constexpr int MAX_COMPONENTS = 4;  // of a vector, or of a matrix's column

// A step of building a program; change the 0 to a 1 to print it.
void trace(const char* step) { dprint(step, 0); }

[[noreturn]] void failToLoad(const char* path) {
    std::printf("[!] Couldn't load shaderfile %s\n", path);
    std::exit(-1);
}

int takeId() {
    ++CURRENT_ID;
    if (CURRENT_ID >= MAX_SHADERS) {
        std::puts("[!] Maximum amount of shaders reached.");
        --CURRENT_ID;
        std::exit(-1);
    }
    return CURRENT_ID;
}

// Gives back the id that a load without any file has taken.
int refuseLoad() {
    std::puts("[!] No files given to function loadShader()");
    return CURRENT_ID--;
}

GLuint compile(GLenum stage, const char* source) {
    const GLuint object = glCreateShaderObjectARB(stage);
    glShaderSourceARB(object, 1, &source, nullptr);
    glCompileShaderARB(object);
    return object;
}

void compileVertexAndFragment(shaderEntry& entry, const char* vertexPath, const char* fragmentPath) {
    if (vertexPath != nullptr) {
        trace("Trying to create shader object (vertex)");
        entry.vertexObject = compile(GL_VERTEX_SHADER_ARB, entry.vertexSource);
    }
    if (fragmentPath != nullptr) {
        trace("Trying to create shader object (fragment)");
        entry.fragmentObject = compile(GL_FRAGMENT_SHADER_ARB, entry.fragmentSource);
    }
}

void attachVertexAndFragment(const shaderEntry& entry, const char* vertexPath, const char* fragmentPath) {
    if (vertexPath != nullptr) glAttachObjectARB(entry.program, entry.vertexObject);
    if (fragmentPath != nullptr) glAttachObjectARB(entry.program, entry.fragmentObject);
}

// Where names lie in each program, as far as they have been asked for; -1 for a name that it lacks.
using Locations = std::map<std::string, GLint, std::less<>>;
Locations uniforms[MAX_SHADERS], attributes[MAX_SHADERS];

// Linking gives the names new places.
void link(int id) {
    glLinkProgramARB(shader[id].program);
    uniforms[id].clear();
    attributes[id].clear();
}

template <typename LookUp>
GLint locate(Locations& known, const char* name, const LookUp& lookUp) {
    const auto found = known.find(std::string_view(name));
    if (found != known.end()) return found->second;
    return known[name] = lookUp(name);
}

GLint locateUniform(int id, const char* name) {
    return locate(uniforms[id], name, [&](const char* n) { return glGetUniformLocation(shader[id].program, n); });
}

// Prints a line if a value cannot be sent because `what` is out of range.
bool isInRange(const char* name, const char* what, int value, int first, int last) {
    if (value >= first && value <= last) return true;
    std::printf("[/] uniform %s: %s is from %d to %d, not %d\n", name, what, first, last, value);
    return false;
}

// Prints what the GL says about an object, whether it failed or not.
void printLog(GLuint object, const std::string& heading) {
    GLint length = 0;
    glGetObjectParameterivARB(object, GL_OBJECT_INFO_LOG_LENGTH_ARB, &length);
    if (length <= 0) return;
    const auto log = std::make_unique<char[]>(static_cast<std::size_t>(length));
    glGetInfoLogARB(object, length, nullptr, log.get());
    std::printf("%s\n{\n%s}\n", heading.c_str(), log.get());
}

void printLogs(const shaderEntry& entry, const char* vertexPath, const char* fragmentPath) {
    if (fragmentPath != nullptr) printLog(entry.fragmentObject, "[/] " + std::string(fragmentPath) + " failed.");
    if (vertexPath != nullptr) printLog(entry.vertexObject, "[/] " + std::string(vertexPath) + " .");
    printLog(entry.program, "[/] Shaderprogram failed.");
}

bool hasGeometryExtension() { return GLEW_EXT_geometry_shader4 && glProgramParameteriEXT != nullptr; }

// The number after "#version" in a stage's text; GLSL's own default without one.
int versionOf(const char* source) {
    constexpr std::string_view KEYWORD = "#version";
    constexpr int DEFAULT = 110;
    const char* const found = std::strstr(source, KEYWORD.data());
    return found != nullptr ? std::atoi(found + KEYWORD.size()) : DEFAULT;
}

// Whether this GL has the extension, or OpenGL's own stage for a text that is written for it.
bool takesGeometryStage(const char* source) {
    constexpr int OWN_STAGE = 150;  // version of GLSL
    return hasGeometryExtension() || (GLEW_VERSION_3_2 && versionOf(source) >= OWN_STAGE);
}

void setGeometryParameters(GLuint program, int inputType, int outputType) {
    GLint vertices = 0;
    glGetIntegerv(GL_MAX_GEOMETRY_OUTPUT_VERTICES_EXT, &vertices);
    glProgramParameteriEXT(program, GL_GEOMETRY_VERTICES_OUT_EXT, vertices);
    glProgramParameteriEXT(program, GL_GEOMETRY_INPUT_TYPE_EXT, inputType);
    glProgramParameteriEXT(program, GL_GEOMETRY_OUTPUT_TYPE_EXT, outputType);
}

// ---- Loading again ------------------------------------------------------------------------------------------------

// What a program was made from.
struct Made {
    std::string geometryPath, vertexPath, fragmentPath;  // empty: without the stage
    int inputType, outputType;                           // of the geometry stage
};

// The log without its last line end.
std::string logOf(GLuint object) {
    GLint length = 0;
    glGetObjectParameterivARB(object, GL_OBJECT_INFO_LOG_LENGTH_ARB, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 0)), '\0');
    if (length > 0) glGetInfoLogARB(object, length, nullptr, log.data());
    while (!log.empty() && (log.back() == '\0' || log.back() == '\n')) log.pop_back();
    return log;
}

bool hasSucceeded(GLuint object, GLenum what) {
    GLint done = 0;
    glGetObjectParameterivARB(object, what, &done);
    return done != 0;
}

void deleteObjects(const shaderEntry& entry) {
    for (const GLuint object : {entry.vertexObject, entry.fragmentObject, entry.geometryObject, entry.program})
        if (object != 0) glDeleteObjectARB(object);
    for (char* source : {entry.vertexSource, entry.fragmentSource, entry.geometrySource}) std::free(source);
}

// What is wrong with a program that has been built: the log of the first stage that does not compile, or of linking.
std::string wrongWith(const shaderEntry& entry, const Made& made) {
    const struct {
        const std::string& path;
        GLuint object;
    } stages[] = {{made.geometryPath, entry.geometryObject},
                  {made.vertexPath, entry.vertexObject},
                  {made.fragmentPath, entry.fragmentObject}};
    std::string last;
    for (const auto& [path, object] : stages) {
        if (path.empty()) continue;
        last = path;
        if (object != 0 && !hasSucceeded(object, GL_OBJECT_COMPILE_STATUS_ARB))
            return "[! " + path + "] " + logOf(object);
    }
    const bool linked = hasSucceeded(entry.program, GL_OBJECT_LINK_STATUS_ARB);
    return linked ? "" : "[! " + last + "] " + logOf(entry.program);
}

// Compiles a file and attaches it. Returns what is wrong if it cannot be read.
std::string addStage(GLuint program, const std::string& path, GLenum stage, char*& source, unsigned& object) {
    if (path.empty()) return "";
    const std::optional<std::string> text = ryl_readFile(path.c_str());
    if (!text) return "[! " + path + "] file not found.";
    source = strdup(text->c_str());
    if (source == nullptr) return "[! " + path + "] there is no memory for it.";
    if (stage == GL_GEOMETRY_SHADER_EXT && !takesGeometryStage(source)) return "";
    object = compile(stage, source);
    glAttachObjectARB(program, object);
    return "";
}

// Builds the program once more. Returns what is wrong.
std::string build(shaderEntry& entry, const Made& made) {
    const GLuint program = entry.program = glCreateProgramObjectARB();
    std::string wrong =
        addStage(program, made.geometryPath, GL_GEOMETRY_SHADER_EXT, entry.geometrySource, entry.geometryObject);
    if (wrong.empty())
        wrong = addStage(program, made.vertexPath, GL_VERTEX_SHADER_ARB, entry.vertexSource, entry.vertexObject);
    if (wrong.empty())
        wrong =
            addStage(program, made.fragmentPath, GL_FRAGMENT_SHADER_ARB, entry.fragmentSource, entry.fragmentObject);
    if (!wrong.empty()) return wrong;
    if (entry.geometryObject != 0 && hasGeometryExtension())
        setGeometryParameters(program, made.inputType, made.outputType);
    glLinkProgramARB(program);
    return wrongWith(entry, made);
}

using SendFloats = void (*)(GLint, const GLfloat*);
using SendIntegers = void (*)(GLint, const GLint*);

// How to send one value of a type of GLSL. Samplers, which are many, are integers.
struct UniformType {
    GLenum type;
    SendFloats floats;
    SendIntegers integers;
};
constexpr UniformType UNIFORM_TYPES[] = {
    {GL_FLOAT, [](GLint at, const GLfloat* v) { glUniform1fv(at, 1, v); }, nullptr},
    {GL_FLOAT_VEC2, [](GLint at, const GLfloat* v) { glUniform2fv(at, 1, v); }, nullptr},
    {GL_FLOAT_VEC3, [](GLint at, const GLfloat* v) { glUniform3fv(at, 1, v); }, nullptr},
    {GL_FLOAT_VEC4, [](GLint at, const GLfloat* v) { glUniform4fv(at, 1, v); }, nullptr},
    {GL_FLOAT_MAT2, [](GLint at, const GLfloat* v) { glUniformMatrix2fv(at, 1, GL_FALSE, v); }, nullptr},
    {GL_FLOAT_MAT3, [](GLint at, const GLfloat* v) { glUniformMatrix3fv(at, 1, GL_FALSE, v); }, nullptr},
    {GL_FLOAT_MAT4, [](GLint at, const GLfloat* v) { glUniformMatrix4fv(at, 1, GL_FALSE, v); }, nullptr},
    {GL_INT_VEC2, nullptr, [](GLint at, const GLint* v) { glUniform2iv(at, 1, v); }},
    {GL_INT_VEC3, nullptr, [](GLint at, const GLint* v) { glUniform3iv(at, 1, v); }},
    {GL_INT_VEC4, nullptr, [](GLint at, const GLint* v) { glUniform4iv(at, 1, v); }},
    {GL_BOOL_VEC2, nullptr, [](GLint at, const GLint* v) { glUniform2iv(at, 1, v); }},
    {GL_BOOL_VEC3, nullptr, [](GLint at, const GLint* v) { glUniform3iv(at, 1, v); }},
    {GL_BOOL_VEC4, nullptr, [](GLint at, const GLint* v) { glUniform4iv(at, 1, v); }},
    {0, nullptr, [](GLint at, const GLint* v) { glUniform1iv(at, 1, v); }},
};

// Gives the program in use, `to`, the value that `from` has under this name.
void copyUniform(GLuint from, GLuint to, const std::string& name, GLenum type) {
    constexpr std::size_t MOST = 16;
    const GLint here = glGetUniformLocation(from, name.c_str()), there = glGetUniformLocation(to, name.c_str());
    if (here < 0 || there < 0) return;
    const auto* const known = std::find_if(std::begin(UNIFORM_TYPES), std::end(UNIFORM_TYPES) - 1,
                                           [&](const UniformType& row) { return row.type == type; });
    GLfloat floats[MOST] = {};
    GLint integers[MOST] = {};
    if (known->floats != nullptr) {
        glGetUniformfv(from, here, floats);
        known->floats(there, floats);
    } else {
        glGetUniformiv(from, here, integers);
        known->integers(there, integers);
    }
}

// What was set once, while loading, stays set. A uniform of another type than before starts at 0.
void copyUniforms(GLuint from, GLuint to) {
    GLint count = 0;
    glGetProgramiv(from, GL_ACTIVE_UNIFORMS, &count);
    for (GLint i = 0; i < count; ++i) {
        GLchar text[256] = {};
        GLint elements = 0;
        GLenum type = 0;
        glGetActiveUniform(from, static_cast<GLuint>(i), sizeof text, nullptr, &elements, &type, text);
        const std::string name = std::string(text).substr(0, std::string_view(text).rfind('['));
        for (GLint k = 0; k < elements; ++k)
            copyUniform(from, to, elements > 1 ? name + "[" + std::to_string(k) + "]" : text, type);
    }
    while (glGetError() != GL_NO_ERROR) continue;
}

std::string loadAgain(int id, const Made& made) {
    shaderEntry built = {};
    std::string wrong = build(built, made);
    if (!wrong.empty()) {
        deleteObjects(built);
        return wrong;
    }
    GLint used = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &used);
    glUseProgramObjectARB(built.program);
    copyUniforms(shader[id].program, built.program);
    const bool wasUsed = static_cast<GLuint>(used) == shader[id].program;
    glUseProgramObjectARB(wasUsed ? built.program : static_cast<GLuint>(used));
    deleteObjects(shader[id]);
    shader[id] = built;
    uniforms[id].clear();
    attributes[id].clear();
    return "";
}

void loadAgainOnSave(int id, const char* geometryPath, const char* vertexPath, const char* fragmentPath,
                     int inputType, int outputType) {
    const auto orNone = [](const char* path) { return std::string(path != nullptr ? path : ""); };
    const Made made = {orNone(geometryPath), orNone(vertexPath), orNone(fragmentPath), inputType, outputType};
    std::vector<std::string> paths;
    for (const std::string& path : {made.geometryPath, made.vertexPath, made.fragmentPath})
        if (!path.empty()) paths.push_back(path);
    const std::string wrong = ryl_isLive() ? wrongWith(shader[id], made) : "";
    ryl_reloadOnSave(
        paths, [id, made] { return loadAgain(id, made); }, wrong);
}

}  // namespace

char* loadFile(const char* path) {
    trace("fopen'ing file");
    const File file = ryl_openFile(path);
    trace("filehandle NULL check");
    if (!file) failToLoad(path);
    trace("getting filelength");
    const long bytes = ryl_bytesLeft(file.get());
    if (bytes < 0) failToLoad(path);
    const auto length = static_cast<std::size_t>(bytes);
    trace("rewinding filestreampointer");
    trace("allocating memory ");
    auto* text = static_cast<char*>(std::malloc(length + 1));
    if (text == nullptr) {
        std::puts("[!] Couldn't allocate memory");
        std::exit(-1);
    }
    text[std::fread(text, 1, length, file.get())] = '\0';
    std::printf("[*] shaderfile %s loaded\n", path);
    return text;
}

int ryl_loadShader(const char* vertexPath, const char* fragmentPath) {
    trace("increasing CURRENT_ID to next free id");
    trace("CURRENT_ID max check");
    const int id = takeId();
    trace("Confirming given filenames");
    if (vertexPath == nullptr && fragmentPath == nullptr) return refuseLoad();

    shaderEntry& entry = shader[id];
    trace("loading the shaderfiles from loadShader()");
    if (vertexPath != nullptr) entry.vertexSource = loadFile(vertexPath);
    if (fragmentPath != nullptr) entry.fragmentSource = loadFile(fragmentPath);
    trace("Done loading shadefiles...");
    trace("Creating shaderprogram");
    entry.program = glCreateProgramObjectARB();
    trace("Done creating shaderprogram");
    compileVertexAndFragment(entry, vertexPath, fragmentPath);
    attachVertexAndFragment(entry, vertexPath, fragmentPath);
    link(id);
    printLogs(entry, vertexPath, fragmentPath);
    loadAgainOnSave(id, nullptr, vertexPath, fragmentPath, 0, 0);
    trace("returning CURRENT_ID");
    return id;
}

int ryl_loadSuperShader(const char* geometryPath, const char* vertexPath, const char* fragmentPath, int inputType,
                        int outputType) {
    const int id = takeId();
    if (geometryPath == nullptr && vertexPath == nullptr && fragmentPath == nullptr) return refuseLoad();

    shaderEntry& entry = shader[id];
    if (geometryPath != nullptr) entry.geometrySource = loadFile(geometryPath);
    if (vertexPath != nullptr) entry.vertexSource = loadFile(vertexPath);
    if (fragmentPath != nullptr) entry.fragmentSource = loadFile(fragmentPath);
    entry.program = glCreateProgramObjectARB();
    const bool withGeometry = geometryPath != nullptr && takesGeometryStage(entry.geometrySource);
    if (geometryPath != nullptr && !withGeometry)
        std::printf("[/] no geometry shaders on this system, %s is left out\n", geometryPath);
    if (withGeometry) entry.geometryObject = compile(GL_GEOMETRY_SHADER_EXT, entry.geometrySource);
    compileVertexAndFragment(entry, vertexPath, fragmentPath);
    if (withGeometry) glAttachObjectARB(entry.program, entry.geometryObject);
    attachVertexAndFragment(entry, vertexPath, fragmentPath);
    if (hasGeometryExtension()) setGeometryParameters(entry.program, inputType, outputType);
    link(id);
    if (withGeometry) printLog(entry.geometryObject, "[/] " + std::string(geometryPath) + " failed.");
    printLogs(entry, vertexPath, fragmentPath);
    loadAgainOnSave(id, geometryPath, vertexPath, fragmentPath, inputType, outputType);
    trace("returning CURRENT_ID");
    return id;
}

void ryl_shader_sendUniformValue(int id, const char* name, const float* values, int count) {
    const GLint location = locateUniform(id, name);
    if (count > 4) {
        std::puts("[!] The ryl framework only supports float4\n Any complains? Go to hell.");
        return;
    }
    switch (count) {
    case 0:
        std::puts("[!] ryl_shader_sendUniformValue was given an invalid count-value check argument 4 and redo.. "
                  "*sadface* :(");
        std::exit(-1);
    case 1:
        glUniform1f(location, values[0]);
        break;
    case 2:
        glUniform2f(location, values[0], values[1]);
        break;
    case 3:
        glUniform3f(location, values[0], values[1], values[2]);
        break;
    case 4:
        glUniform4f(location, values[0], values[1], values[2], values[3]);
        break;
    default:
        break;
    }
}

void ryl_shader_sendUniformInteger(int id, const char* name, const int* values, int count) {
    if (!isInRange(name, "the number of integers", count, 1, MAX_COMPONENTS)) return;
    const decltype(glUniform1iv) send[] = {glUniform1iv, glUniform2iv, glUniform3iv, glUniform4iv};
    send[count - 1](locateUniform(id, name), 1, values);
}

void ryl_shader_sendUniformVectors(int id, const char* name, const float* values, int components, int count) {
    if (!isInRange(name, "the number of components", components, 1, MAX_COMPONENTS) ||
        !isInRange(name, "the number of vectors", count, 1, std::numeric_limits<int>::max()))
        return;
    const decltype(glUniform1fv) send[] = {glUniform1fv, glUniform2fv, glUniform3fv, glUniform4fv};
    send[components - 1](locateUniform(id, name), count, values);
}

void ryl_shader_sendUniformMatrix(int id, const char* name, const float* values, int side) {
    if (!isInRange(name, "the side of a matrix", side, 2, MAX_COMPONENTS)) return;
    const decltype(glUniformMatrix2fv) send[] = {glUniformMatrix2fv, glUniformMatrix3fv, glUniformMatrix4fv};
    send[side - 2](locateUniform(id, name), 1, GL_FALSE, values);
}

void ryl_shader_sendUniformSampler(int id, const char* name, unsigned texture, int unit) {
    GLint units = 0;
    glGetIntegerv(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS, &units);
    if (!isInRange(name, "the texture unit", unit, 0, units - 1)) return;
    glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glActiveTexture(GL_TEXTURE0);
    glUniform1i(locateUniform(id, name), unit);
}

int ryl_shader_attribute(int id, const char* name) {
    return locate(attributes[id], name, [&](const char* n) { return glGetAttribLocation(shader[id].program, n); });
}

void ryl_fullScreen(int id) {
    constexpr GLenum MATRICES[] = {GL_PROJECTION, GL_MODELVIEW};
    constexpr float CORNERS[][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    ryl_enableShader(id);
    glPushAttrib(GL_ENABLE_BIT | GL_TRANSFORM_BIT | GL_CURRENT_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    for (const GLenum matrix : MATRICES) {
        glMatrixMode(matrix);
        glPushMatrix();
        glLoadIdentity();
    }
    glBegin(GL_QUADS);
    for (const auto& [x, y] : CORNERS) {
        glTexCoord2f(x, y);
        glVertex2f(2 * x - 1, 2 * y - 1);
    }
    glEnd();
    for (const GLenum matrix : MATRICES) {
        glMatrixMode(matrix);
        glPopMatrix();
    }
    glPopAttrib();
    ryl_disableShader();
}

void ryl_enableShader(int id) { glUseProgramObjectARB(shader[id].program); }

void ryl_disableShader(void) { glUseProgramObjectARB(0); }
