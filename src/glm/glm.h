// glm.h - the model library: Wavefront OBJ/MTL models in memory (not the vector-maths header of this name)
//
//   GLMmodel* model = glmReadOBJ("data/cubeobj.obj");   // ends the process if the file cannot be read
//   glmVertexNormals(model, 60.0f, false);              // smooth edges flatter than 60 degrees
//   glmDraw(model, GLM_SMOOTH | GLM_MATERIAL);
//   glmWriteOBJ(model, "smooth.obj", GLM_SMOOTH);       // replaces the file, if there is one
//   glmDelete(model);
//
// There are two libraries: ryl::glm_core (its CMake target) reads, computes and writes, and needs no OpenGL; ryl::glm
// has all of this header. Functions that only ryl::glm has are marked [GL].
// glm_try.h has the entries whose errors return.
//
// Needs    the thread that owns the GL context: always for drawing, for glmDelete of a model with textures and
//          for the texture functions; for glmReadOBJ only if a material names a texture image.
// Reports  on standard error: "GLM: Warning: " and goes on, or "GLM: Fatal Error: " and ends the process with
//          status 1. Preconditions ("not null", index ranges) are assertions. A failed allocation is fatal, unless it
//          is for an image: then glmLoadTexture returns 0, and glmReadPNG null.
// Never    knows of the program around it; keeps no reference to a model; uses more than one thread.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

// Index conventions, everywhere in the library and in OBJ text:
//   - Positions, vertex normals, texture coordinates and facet normals count from 1. Their arrays hold count + 1
//     entries and entry 0 is never read: entry i starts at offset 3 * i (2 * i for texture coordinates).
//   - Triangles, materials and textures count from 0.
//   - GLM_NO_INDEX, all bits set, means "none".
// All arrays and strings are allocated with malloc and belong to the model; glmDelete or glmFree releases them.
constexpr std::uint32_t GLM_NO_INDEX = 0xffffffff;

struct GLMtriangle {
    std::uint32_t vindices[3];  // position of each corner
    std::uint32_t nindices[3];  // vertex normal of each corner, or GLM_NO_INDEX
    std::uint32_t tindices[3];  // texture coordinate of each corner, or GLM_NO_INDEX
    std::uint32_t findex;       // facet normal, or GLM_NO_INDEX; every triangle of a loaded model has one
    std::uint32_t material;     // the material that was current at the face; 0 if none was chosen
};

struct GLMgroup {
    char* name;  // as in the file: "g cube" names the group " cube"
    std::uint32_t numtriangles;
    std::uint32_t* triangles;  // indices into the model's triangles, in file order
    std::uint32_t material;    // first material chosen for the group; 0 means none
    GLMgroup* next;
};

struct GLMmaterial {
    char* name;
    float diffuse[4];  // red, green, blue, alpha; alpha below 1 is translucent
    float ambient[4];
    float specular[4];
    float shininess;           // specular exponent; drawing limits it to the GL's range, 0 .. 128
    std::int32_t map_diffuse;  // index of the diffuse texture, or -1
};

struct GLMtexture {
    char* name;        // as written after "map_Kd"
    std::uint32_t id;  // GL texture name; 0 if no image was read
    float width;       // drawing multiplies u by it: 1, or pixels for targets that count pixels
    float height;      // drawing multiplies v by it
};

// Other programs rely on the order of the fields, which is not the tightest one.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct GLMmodel {
    char* pathname;    // as given to glmReadOBJ, or null; its directory holds the material library and the images
    char* mtllibname;  // name of the material library, or null
    std::uint32_t numvertices;
    float* vertices;  // x, y, z of each position
    std::uint32_t numnormals;
    float* normals;  // x, y, z of each vertex normal, or null
    std::uint32_t numtexcoords;
    float* texcoords;  // u, v of each texture coordinate, or null
    std::uint32_t numfacetnorms;
    float* facetnorms;  // x, y, z of each facet normal, or null
    std::uint32_t numtriangles;
    GLMtriangle* triangles;  // all triangles of all groups, in file order
    std::uint32_t nummaterials;
    GLMmaterial* materials;  // entry 0 is the material "default"; or null
    std::uint32_t numgroups;
    GLMgroup* groups;  // newest group first
    std::uint32_t numtextures;
    GLMtexture* textures;  // one per distinct image name, or null
};

// ---- Reading ------------------------------------------------------------------------------------------------------

// Reads the OBJ file at `path` with its material library and texture images into a new model with facet normals.
// Polygons become fans of triangles. Never null: every failure is fatal, and so is an index out of range, except that
// a file without texture coordinates may have indices of them. The caller releases the model with glmDelete. [GL]
GLMmodel* glmReadOBJ(const char* path);

// Reads the MTL file `name`, in the directory of the model's pathname, in place of the model's materials. Groups and
// triangles keep their indices; those that the new library lacks become 0. Loads the diffuse texture images that it
// names, for which it needs a GL context. Fatal if the file cannot be opened. [GL]
void glmReadMTL(GLMmodel* model, const char* name);

// Releases the model (not null), all it owns and its GL textures. [GL]
void glmDelete(GLMmodel* model);

// Releases the model (not null) and all it owns, but no GL textures: those of glmReadOBJ are for glmDelete.
void glmFree(GLMmodel* model);

// The group whose name equals `name` exactly, or null.
GLMgroup* glmFindGroup(const GLMmodel* model, const char* name);

// The group of that name; a new one without triangles becomes the head of the list.
GLMgroup* glmAddGroup(GLMmodel* model, const char* name);

// Index of the first material of that name (not null); warns and returns 0 if there is none.
std::uint32_t glmFindMaterial(const GLMmodel* model, const char* name);

// Index of the texture of that image name. The first call loads it from the directory of the model's pathname, with
// repeat, filtering and mipmaps. An image that cannot be read gets an entry with id 0, which draws untextured. [GL]
std::uint32_t glmFindOrAddTexture(GLMmodel* model, const char* name);

// ---- Drawing [GL] (needs a GL context) ----------------------------------------------------------------------------

// The mode word: what glmDraw sends and glmWriteOBJ writes besides positions.
constexpr int GLM_NONE = 0;
constexpr int GLM_FLAT = 1;        // one facet normal per triangle
constexpr int GLM_SMOOTH = 2;      // one vertex normal per corner
constexpr int GLM_TEXTURE = 4;     // texture coordinates and the material's diffuse texture
constexpr int GLM_COLOR = 8;       // the material's diffuse colour, with colour material enabled
constexpr int GLM_MATERIAL = 16;   // the material's ambient, diffuse, specular and shininess
constexpr int GLM_TWO_SIDED = 32;  // two-sided lighting

// Draws the model (not null, with positions) in immediate mode as triangles, group by group, newest group first. Per
// corner: normal, texture coordinate, position. Parts of the mode that the model cannot satisfy are dropped with a
// warning. A second pass adds materials whose diffuse alpha is below 1 to the picture (GL_SRC_ALPHA, GL_ONE), without
// depth writes; it resets blending and depth writes. Drawing leaves its colour-material switch, its enabled texture
// target with the environment mode, two-sided lighting and the last bound texture. Asserts that the indices it uses
// are in range.
void glmDraw(const GLMmodel* model, int mode);

// Makes a display list of what glmDraw would draw and returns its name; the caller deletes it.
std::uint32_t glmList(const GLMmodel* model, int mode);

// ---- Texture images [GL] ------------------------------------------------------------------------------------------

// The target that textures are bound and uploaded to. The first texture load sets it to GL_TEXTURE_2D; callers may
// choose another one afterwards.
extern std::uint32_t _glmTextureTarget;

// Loads a raw PPM or PNG image as a GL texture and leaves it bound; images for GL_TEXTURE_2D are resampled to
// powers of two. The factors become 1 for GL_TEXTURE_2D, the size in pixels for other targets. `alpha` has no
// effect. Returns the GL name; 0, with the factors untouched, if no image was read or there is no GL context.
// Fatal for a pixel format other than RGB(A), BGR(A) and luminance, such as a grey image with alpha.
std::uint32_t glmLoadTexture(const char* path, bool alpha, bool repeat, bool filtering, bool mipmaps,
                             float* texcoord_width, float* texcoord_height);

// Read an image into a new buffer of 8-bit samples without row padding, which the caller frees; null if the
// file is not such an image. `format` becomes GL_RGB, GL_RGBA, GL_LUMINANCE or GL_LUMINANCE_ALPHA. Row order:
// PPM as in the file (top row first), PNG bottom row first. `alpha` has no effect.
unsigned char* glmReadPPM(const char* path, bool alpha, int* width, int* height, std::uint32_t* format);
unsigned char* glmReadPNG(const char* path, bool alpha, int* width, int* height, std::uint32_t* format);

// Asks the GL for its texture limits; the first texture load calls it.
void glmImgInit();

// 1 if the GL's extension list holds exactly `name`, else 0.
int glmIsExtensionSupported(const char* name);

// ---- Vectors of three floats (none null) --------------------------------------------------------------------------

float glmMax(float a, float b);  // a if they are equal
float glmAbs(float f);           // -0.0 stays -0.0
float glmDot(const float* u, const float* v);
void glmCross(const float* u, const float* v, float* n);  // n = u x v; n may be u or v
// Scales v to length 1. A vector of length 0 stays as it is.
void glmNormalize(float* v);
// Whether u and v differ by less than epsilon on each axis.
bool glmEqual(const float* u, const float* v, float epsilon);

// ---- Geometry, in place -------------------------------------------------------------------------------------------

// Gives every triangle a unit normal, which points at viewers who see its corners counter-clockwise. The model (not
// null) has positions. A triangle without area, or one whose normal overflows, gets (0, 0, 0).
void glmFacetNormals(GLMmodel* model);

// Makes vertex normals for smooth drawing, and gives every corner the index of one. At each position the triangles
// whose facet normals are less than `angle` degrees from that of its last triangle share the normalized sum of these
// normals; the others take their facet normal. Triangles without area are neither the last one nor in the sum, but
// their corners share it; an empty sum is (0, 0, 0). The model (not null) has facet normals. With `keep_existing`
// corners that have a normal keep it, and new normals follow the old ones; without it all are replaced. Warns of each
// position without a triangle.
void glmVertexNormals(GLMmodel* model, float angle, bool keep_existing);

// Centres the positions and scales them into the cube from -1 to 1. The model (not null) has positions. Returns the
// factor. The widest extent fills the cube if it contains the origin. If there is no position, or all are at the
// origin, nothing changes, and the factor is 1.
float glmUnitize(GLMmodel* model);

// |largest| + |smallest| coordinate on each axis, which is the extent if the model contains the origin; 0 if there
// are no positions. The model is not null. `dimensions` (not null) takes 3 floats.
void glmDimensions(const GLMmodel* model, float* dimensions);

// Multiplies every position by `factor`.
void glmScale(GLMmodel* model, float factor);

// Turns every triangle of the model (not null) over, with every facet normal and vertex normal. A second call
// restores the model exactly.
void glmReverseWinding(GLMmodel* model);

// Merges positions within `epsilon` of each other into the first of them. Normals and texture coordinates are not
// merged.
void glmWeld(GLMmodel* model, float epsilon);

// Returns the distinct ones of `vectors` (entries 1 to *count; entry 0 is not read), in order: a vector counts as the
// first distinct one that it equals (glmEqual). Writes each vector's new index as a float into its x component, and
// the number of distinct vectors into *count. The caller frees the array, whose entry 0 is a copy.
float* glmWeldVectors(float* vectors, std::uint32_t* count, float epsilon);

// Replaces the texture coordinates by the positions seen along the y axis: u from x, v from z, the widest extent onto
// 0 .. 1. The model is not null.
void glmLinearTexture(GLMmodel* model);

// Replaces the texture coordinates by one for each vertex normal, as on a sphere; corners without a normal get none.
// The model (not null) has normals.
void glmSpheremapTexture(GLMmodel* model);

// ---- Writing ------------------------------------------------------------------------------------------------------

// Both functions replace existing files. What they write reads back, except for this:
//   - Transparency and texture images are not written.
//   - Numbers have six decimals, so those below 0.0000005 become 0.
//   - Group names gain a blank in front. Names are cut after 126 characters, which the reader takes, with a warning.
//   - Reading adds a material "default" to every library, so the one that was written comes back as a second one.
//     Triangles that use it come back with the first.

// Writes the model (not null) as OBJ text to `path`, with the normals (facet or vertex), texture coordinates and
// materials that the mode asks for; warns of those that the model lacks. GLM_MATERIAL also writes the material
// library mtllibname into the directory of `path`. If that is the directory that the model was read from, the library
// there is replaced. Every mode writes the "usemtl" of triangles with a material other than 0. Fatal if a file
// cannot be opened or written.
void glmWriteOBJ(const GLMmodel* model, const char* path, int mode);

// Writes the model's materials as the MTL file `name` into the directory of `path`: colours and shininess.
void glmWriteMTL(const GLMmodel* model, const char* path, const char* name);

#pragma GCC visibility pop
