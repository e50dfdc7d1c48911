#include "surface.h"

#include "parallel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <map>
#include <numbers>

namespace {

constexpr double USUAL_ANGLE = 40;  // degrees

// ---- Materials ----------------------------------------------------------------------------------------------------

constexpr float LEAST_ALPHA = 0.999f;  // above it nothing shines through
constexpr Colour GREY = {0.60f, 0.60f, 0.60f};

float highlightExponent(const GLMmaterial& material, const GLMmaterialextras* more) {
    // The record's shininess counts to 128, the file's exponent to 1000 in files of today.
    constexpr float TO_FILE = 100.0f / 128.0f;
    const float exponent =
        more != nullptr && std::isfinite(more->exponent) ? more->exponent : material.shininess * TO_FILE;
    return std::isfinite(exponent) ? std::clamp(exponent, 0.0f, 1000.0f) : 0;
}

Material materialOf(const GLMmaterial& record, const GLMmaterialextras* more) {
    Material material = {};
    material.diffuse = lightOf(record.diffuse);
    material.specular = lightOf(record.specular);
    material.alpha = record.diffuse[3] >= 0 ? std::min(record.diffuse[3], 1.0f) : 0;
    material.exponent = highlightExponent(record, more);
    if (more != nullptr) {
        material.emission = lightOf(more->emission);
        material.lit = !(more->illum == 0);
        if (more->illum == 1) material.exponent = 0;
    }
    return material;
}

// What is drawn with no material of the file's.
Material plainMaterial() {
    Material material = {};
    material.diffuse = GREY;
    material.specular = {0.04f, 0.04f, 0.04f};
    material.exponent = 30;
    return material;
}

// ---- Textures -----------------------------------------------------------------------------------------------------

// An image that materials want, and where it goes.
struct Wanted {
    std::string path;
    std::unique_ptr<Texture> texture = nullptr;
    std::string why = {};
};

struct Use {
    std::size_t wanted;
    const Texture* Material::*map;
    std::uint32_t material;
};

struct MapKind {
    const char* keyword;
    const Texture* Material::*map;
    Lay Material::*lay;
};
constexpr MapKind MAP_KINDS[] = {{"map_Kd", &Material::diffuseMap, &Material::diffuseLay},
                                 {"map_d", &Material::alphaMap, &Material::alphaLay},
                                 {"map_Ke", &Material::emissionMap, &Material::emissionLay}};

class TextureList {
public:
    TextureList(Surface& surface, const SurfaceOptions& options) : surface(surface), options(options) {}

    void add(std::uint32_t material, const char* keyword, const char* mapOptions, const char* name) {
        for (const MapKind& kind : MAP_KINDS)
            if (std::strcmp(kind.keyword, keyword) == 0) {
                surface.materials[material].*kind.lay = layOf(mapOptions);
                uses.push_back({numberOf(name), kind.map, material});
            }
    }

    void load() {
        parallelFor(wanted.size(), options.threads, [&](std::size_t i) {
            if (wanted[i].path.empty()) return;
            Image image;
            if (readImage(wanted[i].path, image, wanted[i].why))
                wanted[i].texture = std::make_unique<Texture>(textureOf(std::move(image)));
        });
        for (const Use& use : uses) surface.materials[use.material].*use.map = wanted[use.wanted].texture.get();
        for (Wanted& image : wanted) {
            if (!image.why.empty() && options.warn) options.warn(image.path, image.why);
            if (image.texture) surface.textures.push_back(std::move(image.texture));
        }
    }

private:
    std::size_t numberOf(const char* name) {
        const auto [at, added] = numbers.try_emplace(name, wanted.size());
        if (added) {
            std::string path;
            if (!options.find || !options.find(name, path)) {
                path.clear();
                if (options.warn) options.warn("", std::string("texture \"") + name + "\" is not there");
            }
            wanted.push_back({path});
        }
        return at->second;
    }

    Surface& surface;
    const SurfaceOptions& options;
    std::map<std::string, std::size_t> numbers = {};
    std::vector<Wanted> wanted = {};
    std::vector<Use> uses = {};
};

// `needed`: 1 for each material that something has.
void loadTextures(Surface& surface, const std::vector<std::uint8_t>& needed, const SurfaceOptions& options) {
    const GLMmodel& model = *surface.model;
    TextureList list(surface, options);
    for (std::uint32_t i = 0; i < model.nummaterials; ++i) {
        if (needed[i] == 0) continue;
        const GLMmaterialextras* more =
            surface.extras != nullptr && i < surface.extras->nummaterials ? &surface.extras->materials[i] : nullptr;
        for (std::uint32_t k = 0; more != nullptr && k < more->nummaps; ++k)
            list.add(i, more->maps[k].keyword, more->maps[k].options, more->maps[k].path);
        const std::int32_t map = model.materials[i].map_diffuse;
        if (more == nullptr && map >= 0 && static_cast<std::uint32_t>(map) < model.numtextures)
            list.add(i, "map_Kd", "", model.textures[map].name);
    }
    list.load();
}

void makeMaterials(Surface& surface) {
    const GLMmodel& model = *surface.model;
    const GLMextras* extras = surface.extras;
    for (std::uint32_t i = 0; i < model.nummaterials; ++i)
        surface.materials.push_back(materialOf(
            model.materials[i], extras != nullptr && i < extras->nummaterials ? &extras->materials[i] : nullptr));
    if (surface.materials.empty()) surface.materials.emplace_back();
    // The first is the library's "default", whose numbers no file gives.
    surface.materials[0] = plainMaterial();
}

void settleMaterials(Surface& surface) {
    for (Material& material : surface.materials) {
        // Files that colour by a texture alone often leave black behind it.
        const Colour& d = material.diffuse;
        if (material.diffuseMap != nullptr && d.red + d.green + d.blue == 0) material.diffuse = {1, 1, 1};
        material.translucent = material.alpha < LEAST_ALPHA || material.alphaMap != nullptr ||
                               (material.diffuseMap != nullptr && material.diffuseMap->clear);
    }
}

// ---- Points and lines ---------------------------------------------------------------------------------------------

void addElement(Surface& surface, const GLMelement& element) {
    const GLMelementcorner* corners = surface.extras->corners + element.first;
    const bool line = element.kind == GLMelementkind::line;
    for (std::uint32_t i = line ? 1 : 0; i < element.count; ++i) {
        const std::uint32_t begin = corners[line ? i - 1 : i].position;
        surface.strokes.push_back({{begin, corners[i].position}, element.material, element.group});
    }
}

void makeStrokes(Surface& surface) {
    const GLMmodel& model = *surface.model;
    const GLMextras* extras = surface.extras;
    for (std::uint32_t i = 0; extras != nullptr && i < extras->numelements; ++i)
        if (extras->elements[i].kind != GLMelementkind::face) addElement(surface, extras->elements[i]);
    // A file with positions alone is a cloud of points.
    if (model.numtriangles == 0 && surface.strokes.empty())
        for (std::uint32_t i = 1; i <= model.numvertices; ++i) surface.strokes.push_back({{i, i}, 0, 0});
}

// ---- Extent -------------------------------------------------------------------------------------------------------

constexpr std::size_t PIECE = 1 << 15;  // of an array, for a thread

// Calls work(begin, end) for pieces of 0 .. count.
template <typename Work>
void inPieces(std::size_t count, unsigned threads, const Work& work) {
    parallelFor((count + PIECE - 1) / PIECE, threads,
                [&](std::size_t i) { work(i * PIECE, std::min(count, (i + 1) * PIECE)); });
}

// What the triangles have.
struct Survey {
    std::vector<std::uint8_t> materials;  // 1 for each that a triangle has
    bool normals;                         // every corner has one
};

// Threads may meet at an entry, where they write the same. LLVM's C++ library has std::atomic_ref from 19 on.
void mark(std::uint8_t& entry) {
    if (__atomic_load_n(&entry, __ATOMIC_RELAXED) == 0) __atomic_store_n(&entry, 1, __ATOMIC_RELAXED);
}

// Goes over the triangles once, because they do not fit into caches. Marks the positions that are used.
Survey surveyTriangles(Surface& surface, unsigned threads) {
    const GLMmodel& model = *surface.model;
    Survey survey = {std::vector<std::uint8_t>(surface.materials.size()), model.numnormals > 0};
    surface.used.assign(static_cast<std::size_t>(model.numvertices) + 1, 0);
    std::atomic<bool> lacking = false;
    inPieces(model.numtriangles, threads, [&](std::size_t begin, std::size_t end) {
        bool lacks = false;
        for (std::size_t i = begin; i < end; ++i) {
            const GLMtriangle& triangle = model.triangles[i];
            mark(survey.materials[triangle.material]);
            for (const std::uint32_t index : triangle.vindices) mark(surface.used[index]);
            for (const std::uint32_t index : triangle.nindices) lacks |= index == GLM_NO_INDEX;
        }
        if (lacks) lacking = true;
    });
    survey.normals = survey.normals && !lacking;
    for (const Stroke& stroke : surface.strokes)
        for (const std::uint32_t index : stroke.ends) surface.used[index] = 1;
    return survey;
}

struct Box {
    Vec3 low, high;
};

void widen(Box& box, const Box& by) {
    box.low = {std::min(box.low.x, by.low.x), std::min(box.low.y, by.low.y), std::min(box.low.z, by.low.z)};
    box.high = {std::max(box.high.x, by.high.x), std::max(box.high.y, by.high.y), std::max(box.high.z, by.high.z)};
}

// About all positions that are drawn; its middle is that of the box about them.
void findSphere(Surface& surface, unsigned threads) {
    constexpr double FAR = 1e300;
    constexpr Box NONE = {{FAR, FAR, FAR}, {-FAR, -FAR, -FAR}};
    const std::size_t count = surface.used.size();
    std::vector<Box> boxes((count + PIECE - 1) / PIECE, NONE);
    std::vector<double> squares(boxes.size(), 0);
    const auto eachDrawn = [&](const auto& use) {
        inPieces(count, threads, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) {
                if (surface.used[i] == 0) continue;
                const Vec3 p = positionOf(surface, static_cast<std::uint32_t>(i));
                if (isFinite(p)) use(begin / PIECE, p);
            }
        });
    };
    eachDrawn([&](std::size_t piece, Vec3 p) { widen(boxes[piece], {p, p}); });
    Box whole = NONE;
    for (const Box& box : boxes) widen(whole, box);
    if (whole.low.x > whole.high.x) return;
    const Vec3 centre = surface.sphere.centre = (whole.low + whole.high) * 0.5;
    eachDrawn(
        [&](std::size_t piece, Vec3 p) { squares[piece] = std::max(squares[piece], dot(p - centre, p - centre)); });
    surface.sphere.radius = std::sqrt(*std::max_element(squares.begin(), squares.end()));
}

// ---- Normals ------------------------------------------------------------------------------------------------------

void listAround(Surface& surface) {
    const GLMmodel& model = *surface.model;
    surface.first.assign(static_cast<std::size_t>(model.numvertices) + 2, 0);
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (const std::uint32_t index : model.triangles[i].vindices) ++surface.first[index];
    std::uint32_t sum = 0;
    for (std::uint32_t& entry : surface.first) entry = sum += entry;
    surface.around.resize(sum);
    // Each entry is the end of its list, and moves to the beginning as the list fills from behind.
    for (std::uint32_t i = model.numtriangles; i-- > 0;)
        for (const std::uint32_t index : model.triangles[i].vindices) surface.around[--surface.first[index]] = i;
}

bool isSmooth(const Surface& surface, std::uint32_t triangle, std::uint32_t other, Vec3 normal, Vec3 otherNormal) {
    if (surface.smoothingGroups) {
        const std::uint32_t group = surface.extras->smoothing[triangle];
        return group != 0 && group == surface.extras->smoothing[other];
    }
    return dot(normal, otherNormal) > surface.smoothCosine * length(normal) * length(otherNormal);
}

// The sum of the triangles at a corner that this one is smooth with.
Vec3 smoothNormal(const Surface& surface, std::uint32_t triangle, std::uint32_t position, Vec3 normal) {
    Vec3 sum = normal;
    for (std::uint32_t i = surface.first[position]; i < surface.first[position + 1]; ++i) {
        const std::uint32_t other = surface.around[i];
        if (other == triangle) continue;
        const Vec3 otherNormal = areaNormal(surface, other);
        if (isSmooth(surface, triangle, other, normal, otherNormal)) sum = sum + otherNormal;
    }
    return sum;
}

}  // namespace

Vec3 areaNormal(const Surface& surface, std::uint32_t triangle) {
    const std::uint32_t* v = surface.model->triangles[triangle].vindices;
    const Vec3 a = positionOf(surface, v[0]);
    return cross(positionOf(surface, v[1]) - a, positionOf(surface, v[2]) - a);
}

void cornerNormals(const Surface& surface, std::uint32_t triangle, Vec3 (&normals)[3]) {
    const GLMtriangle& record = surface.model->triangles[triangle];
    const Vec3 own = areaNormal(surface, triangle);
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t index = record.nindices[i];
        if (surface.fileNormals && index != GLM_NO_INDEX && surface.model->normals != nullptr) {
            const float* n = surface.model->normals + 3 * static_cast<std::size_t>(index);
            normals[i] = normalized({n[0], n[1], n[2]});
        } else {
            normals[i] =
                normalized(surface.around.empty() ? own : smoothNormal(surface, triangle, record.vindices[i], own));
        }
        if (!isFinite(normals[i]) || dot(normals[i], normals[i]) == 0) normals[i] = normalized(own);
    }
}

Surface makeSurface(const GLMmodel& model, const GLMextras* extras, const SurfaceOptions& options) {
    Surface surface;
    surface.model = &model;
    surface.extras = extras;
    makeMaterials(surface);
    makeStrokes(surface);
    const Survey survey = surveyTriangles(surface, options.threads);
    if (options.textures && model.numtexcoords > 0) loadTextures(surface, survey.materials, options);
    settleMaterials(surface);
    findSphere(surface, options.threads);
    const bool asked = options.smoothAngle >= 0;
    const double angle = asked ? options.smoothAngle : USUAL_ANGLE;
    surface.fileNormals = !asked;
    surface.smoothCosine = std::cos(angle * std::numbers::pi / 180);
    surface.smoothingGroups = !asked && extras != nullptr && extras->smoothing != nullptr;
    if ((asked && angle > 0) || (!asked && !survey.normals)) listAround(surface);
    return surface;
}
