#include "shade.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// The lights move with the camera. What faces the first gets about the light that makes it its own colour.
constexpr Vec3 KEY = {-0.42, 0.62, 0.66}, FILL = {0.75, 0.05, 0.55};  // right, up, back
constexpr float KEY_LIGHT = 0.72f;
constexpr Colour FILL_LIGHT = {0.13f, 0.15f, 0.18f}, SKY = {0.26f, 0.28f, 0.31f}, GROUND = {0.12f, 0.11f, 0.10f};
constexpr float HIGHLIGHT = 0.8f;  // of a specular colour of 1
constexpr Colour INK = {0.02f, 0.03f, 0.05f};
constexpr Colour PLAIN_STROKE = {0.04f, 0.10f, 0.22f}, NORMAL_STROKE = {0.05f, 0.25f, 0.75f};
constexpr double EDGE_HALF_WIDTH = 0.5;  // pixels

Vec3 inWorld(const Projection& projection, Vec3 v) {
    return normalized(projection.right * v.x + projection.up * v.y + projection.back * v.z);
}

float luminance(Colour c) { return 0.21f * c.red + 0.72f * c.green + 0.07f * c.blue; }

}  // namespace

Shader::Shader(const Drawing& drawing)
    : drawing(drawing), key(inWorld(drawing.projection, KEY)), fill(inWorld(drawing.projection, FILL)),
      halfKey(normalized(key + drawing.projection.back)), met(GLM_NO_INDEX) {}

Seen Shader::shade(std::uint32_t number, double x, double y) {
    if (number < drawing.triangles()) {
        if (number != met) meet(number);
        return shadeTriangle(x, y);
    }
    number -= drawing.triangles();
    if (number < drawing.strokes()) return shadeStroke(drawing.surface.strokes[number], x, y);
    return {NORMAL_STROKE, 1};
}

void Shader::meet(std::uint32_t triangle) {
    const Surface& surface = drawing.surface;
    const GLMmodel& model = *surface.model;
    const GLMtriangle& record = model.triangles[triangle];
    met = triangle;
    material = &surface.materials[record.material];
    textured = material->diffuseMap != nullptr || material->alphaMap != nullptr || material->emissionMap != nullptr;
    Vec3 normals[3];
    cornerNormals(surface, triangle, normals);
    const float* colors = surface.extras != nullptr ? surface.extras->colors : nullptr;
    for (int i = 0; i < 3; ++i) {
        const ScreenPoint& point = drawing.points[record.vindices[i]];
        const std::uint32_t texcoord = record.tindices[i];
        Corner& corner = corners[i];
        corner = {static_cast<double>(point.x),
                  static_cast<double>(point.y),
                  drawing.projection.distance > 0 ? point.depth : 1.0,
                  normals[i],
                  0,
                  0,
                  material->diffuse};
        if (texcoord <= model.numtexcoords) {
            corner.u = model.texcoords[2 * static_cast<std::size_t>(texcoord)];
            corner.v = model.texcoords[2 * static_cast<std::size_t>(texcoord) + 1];
        } else {
            textured = false;
        }
        if (colors == nullptr) continue;
        const Colour painted = lightOf(colors + 3 * static_cast<std::size_t>(record.vindices[i]));
        corner.colour = record.material == 0 ? painted : painted * material->diffuse;
    }
    const Corner &a = corners[0], &b = corners[1], &c = corners[2];
    area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    // Rows count downwards, so a front has a negative area.
    outward = areaNormal(surface, triangle) * (area < 0 ? 1 : -1);
}

Shader::Shares Shader::sharesAt(double x, double y) const {
    Shares shares{};
    double sum = 0;
    for (int i = 0; i < 3; ++i) {
        const Corner &one = corners[(i + 1) % 3], &two = corners[(i + 2) % 3];
        shares.of[i] = ((one.x - x) * (two.y - y) - (two.x - x) * (one.y - y)) / area * corners[i].weight;
        sum += shares.of[i];
    }
    for (double& share : shares.of) share /= sum;
    return shares;
}

// How much of a texture the pixel covers: the most that u or v changes to the next pixel.
double Shader::reachOf(const Shares& here, double x, double y) const {
    double most = 0;
    for (int axis = 0; axis < 2; ++axis) {
        const Shares there = sharesAt(axis == 0 ? x + SUBPIXELS : x, axis == 0 ? y : y + SUBPIXELS);
        double u = 0, v = 0;
        for (int i = 0; i < 3; ++i) {
            u += (there.of[i] - here.of[i]) * corners[i].u;
            v += (there.of[i] - here.of[i]) * corners[i].v;
        }
        most = std::max(most, u * u + v * v);
    }
    return std::sqrt(most);
}

Colour Shader::litBy(Vec3 normal, Colour diffuse) const {
    const auto towardsKey = static_cast<float>(std::max(0.0, dot(normal, key)));
    const auto towardsFill = static_cast<float>(std::max(0.0, dot(normal, fill)));
    const auto towardsSky = static_cast<float>(0.5 + 0.5 * dot(normal, drawing.projection.up));
    const float first = KEY_LIGHT * towardsKey;
    return diffuse *
           (SKY * towardsSky + GROUND * (1 - towardsSky) + FILL_LIGHT * towardsFill + Colour{first, first, first});
}

Colour Shader::highlight(Vec3 normal, const Material& from) const {
    const Colour& specular = from.specular;
    if (from.exponent <= 0 || specular.red + specular.green + specular.blue <= 0) return {0, 0, 0};
    const double facing = dot(normal, halfKey);
    if (facing <= 0 || dot(normal, key) <= 0) return {0, 0, 0};
    return specular * (HIGHLIGHT * std::pow(static_cast<float>(facing), from.exponent));
}

// How much of the pixel is on one of the triangle's edges.
float Shader::edgeAt(double x, double y) const {
    double nearest = 1e9;
    for (int i = 0; i < 3; ++i) {
        const Corner &one = corners[i], &two = corners[(i + 1) % 3];
        const double dx = two.x - one.x, dy = two.y - one.y, size = std::sqrt(dx * dx + dy * dy);
        if (size > 0) nearest = std::min(nearest, std::abs(dx * (y - one.y) - dy * (x - one.x)) / size);
    }
    return static_cast<float>(std::clamp(EDGE_HALF_WIDTH + 0.5 - nearest / SUBPIXELS, 0.0, 1.0));
}

Seen Shader::shadeTriangle(double x, double y) {
    const Shares shares = sharesAt(x, y);
    Vec3 normal = {0, 0, 0};
    double u = 0, v = 0;
    Colour diffuse = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        normal = normal + corners[i].normal * shares.of[i];
        u += shares.of[i] * corners[i].u;
        v += shares.of[i] * corners[i].v;
        diffuse = diffuse + corners[i].colour * static_cast<float>(shares.of[i]);
    }
    // Both sides of a surface are lit, whichever way its normals point.
    normal = normalized(dot(normal, outward) < 0 ? normal * -1 : normal);
    float alpha = material->alpha;
    Colour emission = material->emission;
    if (textured) {
        const double reach = reachOf(shares, x, y);
        if (material->diffuseMap != nullptr) {
            const Texel texel = sample(*material->diffuseMap, material->diffuseLay, u, v, reach);
            diffuse = diffuse * texel.light;
            alpha *= texel.alpha;
        }
        if (material->alphaMap != nullptr) {
            const Texel texel = sample(*material->alphaMap, material->alphaLay, u, v, reach);
            alpha *=
                material->alphaMap->clear ? texel.alpha : static_cast<float>(byteOf(luminance(texel.light))) / 255;
        }
        if (material->emissionMap != nullptr)
            emission = sample(*material->emissionMap, material->emissionLay, u, v, reach).light;
    }
    const Colour shine = material->lit ? highlight(normal, *material) : Colour{0, 0, 0};
    Seen seen = {(material->lit ? litBy(normal, diffuse) : diffuse) * alpha + emission * alpha + shine, alpha};
    seen.alpha = std::min(1.0f, alpha + (1 - alpha) * luminance(shine));
    if (!drawing.look.edges && !drawing.look.wireframe) return seen;
    const float line = drawing.look.wireframe ? 1 : edgeAt(x, y);
    return {seen.light * (1 - line) + INK * line, seen.alpha * (1 - line) + line};
}

Seen Shader::shadeStroke(const Stroke& stroke, double x, double y) const {
    const Surface& surface = drawing.surface;
    const float* colors = surface.extras != nullptr ? surface.extras->colors : nullptr;
    Colour colour = stroke.material == 0 ? PLAIN_STROKE : surface.materials[stroke.material].diffuse;
    if (colors != nullptr) {
        const Colour painted = lightOf(colors + 3 * static_cast<std::size_t>(stroke.ends[0]));
        colour = stroke.material == 0 ? painted : painted * colour;
    }
    const double radius = drawing.look.pointSize / 2;
    constexpr double LEAST_BALL = 1.5;  // pixels; smaller points have one colour
    if (stroke.ends[0] != stroke.ends[1] || radius < LEAST_BALL) return {colour, 1};
    const ScreenPoint& centre = drawing.points[stroke.ends[0]];
    const double right = (x - centre.x) / (radius * SUBPIXELS), down = (y - centre.y) / (radius * SUBPIXELS);
    const double back = std::sqrt(std::max(0.0, 1 - right * right - down * down));
    return {litBy(inWorld(drawing.projection, {right, -down, back}), colour), 1};
}
