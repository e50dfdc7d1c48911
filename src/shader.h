// shader.h - GLSL programs in a fixed table
//
//   int glow = ryl_loadShader("glow.vert", "glow.frag");        // once, while loading
//   ryl_enableShader(glow);
//   ryl_shader_sendUniformValue(glow, "tint", colour, 3);       // goes to the program in use
//   ... draw ...
//   ryl_disableShader();                                        // back to the fixed functions
//
//   ryl_enableShader(plasma);
//   ryl_shader_sendUniformValue(plasma, "time", &seconds, 1);
//   ryl_fullScreen(plasma);                                     // draws it over the whole view
//
// Needs    a current GL context after glewInit, with ARB shader objects; the GL thread.
// Leaves   the program in use that enable and disable set. Nothing is ever released.
// Fails    a source file that cannot be read, and the 64th program, end the process with -1 after a message on
//          standard output. If a stage does not compile or a program does not link, the process goes on. What the GL
//          says about each stage and program is printed, whether it failed or not.
#pragma once

constexpr int MAX_SHADERS = 63;

// One program. Stages that its load did not use keep the values they had.
struct shaderEntry {
    char* vertexSource;  // zero-terminated; kept for the life of the process
    char* fragmentSource;
    char* geometrySource;
    unsigned vertexObject;  // GL shader objects
    unsigned fragmentObject;
    unsigned geometryObject;
    unsigned program;  // GL program object
};

// Written only by the loads.
extern shaderEntry shader[MAX_SHADERS];
extern int CURRENT_ID;  // the id taken last, -1 before the first

// Reads a whole file into a new zero-terminated buffer, from malloc, that the caller owns.
char* loadFile(const char* path);

// Builds a program from a vertex and a fragment stage; a null path leaves its stage out, but not both. Returns the
// id, counting from 0. Without any path only a message is printed, and the next load takes the same id.
int ryl_loadShader(const char* vertexPath, const char* fragmentPath);

// The same with a geometry stage (EXT_geometry_shader4) in front, for primitives of `inputType`, such as
// GL_TRIANGLES, that emits primitives of `outputType`, such as GL_TRIANGLE_STRIP, with as many vertices as the GL
// allows. The stage's text says "#extension GL_EXT_geometry_shader4 : enable", without which some drivers do not
// compile it. A text of "#version 150 compatibility" or later says with layout(...) itself what it takes and emits,
// and needs OpenGL 3.2 instead. If the GL has neither, a line says so and the program is built without the stage.
int ryl_loadSuperShader(const char* geometryPath, const char* vertexPath, const char* fragmentPath, int inputType,
                        int outputType);

// Sets the uniform `name`, of `count` (1 to 4) floats, of the program in use, which must be program `id`. A count
// above 4 prints a message and sets nothing, a count below 0 sets nothing, and 0 ends the process with -1 after a
// message.
void ryl_shader_sendUniformValue(int id, const char* name, const float* values, int count);

// ---- Other uniforms of the program in use, which must be program `id`. --------------------------------------------
//
// A name that the program does not have, or does not use, sets nothing. Where a name lies in a program is looked up
// once. A count, a side or a unit out of range prints a "[/]" line and sets nothing.

// `count` (1 to 4) integers: int, ivec2, ivec3 or ivec4, or bool.
void ryl_shader_sendUniformInteger(int id, const char* name, const int* values, int count);

// The array `name` of `count` (from 1) vectors, or floats, of `components` (1 to 4) each, one after the other.
void ryl_shader_sendUniformVectors(int id, const char* name, const float* values, int components, int count);

// A square matrix, mat2, mat3 or mat4, of side x side values, column after column, as the GL holds them.
void ryl_shader_sendUniformMatrix(int id, const char* name, const float* values, int side);

// A sampler2D that reads `texture`. Binds the texture to texture unit `unit`, from 0, where it stays; each sampler of
// a program has a unit of its own. Leaves unit 0 active.
void ryl_shader_sendUniformSampler(int id, const char* name, unsigned texture, int unit);

// ---- Drawing ------------------------------------------------------------------------------------------------------

// The location of a vertex attribute of program `id`, for glVertexAttrib and its like; -1 if the program has none of
// this name. Looked up once.
int ryl_shader_attribute(int id, const char* name);

// Draws program `id` over the whole viewport, whatever camera and depth are set: the fragment stage gets gl_FragCoord
// in pixels and gl_TexCoord[0] from (0, 0) at the lower left to (1, 1), a vertex stage gets gl_Vertex from (-1, -1)
// to (1, 1) and has to write gl_Position = gl_Vertex. Blends as is set. Writes no depth. Leaves the fixed functions
// in use and all other state as it was.
void ryl_fullScreen(int id);

// Switches to program `id`, which is not checked, and back to the fixed functions.
void ryl_enableShader(int id);
void ryl_disableShader(void);
