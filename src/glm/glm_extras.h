// glm_extras.h - what OBJ and MTL files hold beyond the records of glm.h
//
//   GLMextras* extras = nullptr;
//   GLMoptions options;
//   options.extras = &extras;
//   GLMmodel* model = glmTryReadOBJ("scan.obj", &error, options);
//   if (model != nullptr && extras->colors != nullptr) ...   // entry i belongs to position i
//   glmFreeExtras(extras);
//   glmFree(model);
//
// Index conventions are those of glm.h: positions, normals and texture coordinates count from 1, and their arrays
// have an unread entry 0; everything else counts from 0. The arrays belong to the extras; glmFreeExtras releases
// them.
#pragma once

#include "glm/glm.h"

#pragma GCC visibility push(default)

enum class GLMelementkind : std::uint8_t { point, line, face };

struct GLMelementcorner {
    std::uint32_t position;
    std::uint32_t texcoord;  // or GLM_NO_INDEX, as is normal
    std::uint32_t normal;
};

// One "p", "l" or "f": corners `first` .. `first + count - 1` of the extras, and what was in force where it stands.
struct GLMelement {
    GLMelementkind kind;
    std::uint32_t first, count;
    std::uint32_t group;      // into groupnames
    std::uint32_t object;     // into objectnames, or GLM_NO_INDEX
    std::uint32_t material;   // into the model's materials, 0 where none was chosen
    std::uint32_t smoothing;  // number of the smoothing group; 0 for "off" and where none was chosen
};

// A texture of a material: the statement in three parts. `path` is as it stands in the file, or behind the library's
// folder if the image is there and not beside the model.
struct GLMmap {
    char* keyword;  // "map_Kd", "bump", "norm", "refl" ...
    char* options;  // "-s 2 2 1 -clamp on", or ""
    char* path;
};

// What a material has beside its GLMmaterial. A number that its file does not give is NaN.
struct GLMmaterialextras {
    float emission[3];         // Ke
    float transmission[3];     // Tf
    float refraction;          // Ni
    float illum;               // illumination model, a whole number
    float roughness;           // Pr
    float metalness;           // Pm
    float sheen;               // Ps
    float clearcoat;           // Pc
    float clearcoatroughness;  // Pcr
    float anisotropy;          // aniso
    float anisotropyrotation;  // anisor
    float exponent;            // Ns as in the file; the record's shininess is scaled for the GL
    std::uint32_t nummaps;
    GLMmap* maps;  // in file order
    std::uint32_t numothers;
    char** others;  // statements of no known keyword, spectral colours, "d -halo": whole lines, in file order
};

// Each number stands in front of its arrays.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct GLMextras {
    std::uint32_t numcolors;  // the model's positions; 0 when none has a colour
    float* colors;            // red, green, blue of each position, 1 where it has none; null when none has a colour
    std::uint32_t numgroups;
    char** groupnames;  // in the order of their first mention; entry 0 is "default"
    std::uint32_t numobjects;
    char** objectnames;          // of "o", one per statement
    std::uint32_t numtriangles;  // the model's; the length of the next two arrays
    std::uint32_t* objects;      // object of each triangle, or GLM_NO_INDEX; null when the file has none
    std::uint32_t* smoothing;    // smoothing group of each triangle, or 0; null when the file has none
    std::uint32_t numpositions;  // the model's; the corners' indices go up to these three
    std::uint32_t numnormals;
    std::uint32_t numtexcoords;
    std::uint32_t numcorners;
    GLMelementcorner* corners;
    std::uint32_t numelements;
    GLMelement* elements;          // points and lines; with GLMoptions::polygons the faces too; in file order
    std::uint32_t nummaterials;    // as the model's
    GLMmaterialextras* materials;  // one for each material of the model
    std::uint32_t numlibraries;
    char** libraries;  // the names after "mtllib", each once, in file order
};

// Releases the extras (or null) and all they own.
void glmFreeExtras(GLMextras* extras);

#pragma GCC visibility pop
