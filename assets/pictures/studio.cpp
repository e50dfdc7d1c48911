#include "studio.h"

#include "palette.h"

#include <array>
#include <optional>

namespace {

constexpr int SHADOW_SAMPLES = 3;  // per axis of the soft box, turned anew for each sample
constexpr int BOUNCES = 2;
constexpr float FLOOR_GLOSS = 0.30f,
                FLOOR_FADE = 2.1f;  // of the balls' mirror images, and how fast they go with height
constexpr float NEAR_FLOOR = 0.26f, FAR_FLOOR = 0.60f;  // light of the paper

struct Ball {
    Vec3 centre;
    float radius;
    Vec3 colour;  // linear
    float metal;  // 0 lacquer, 1 mirror
};

Ball ballOnFloor(float x, float z, float radius, Vec3 colour, float metal = 0) {
    return {{x, radius, z}, radius, linear(colour), metal};
}

constexpr Vec3 CHROME = {0.92f, 0.90f, 0.97f};

const std::array<Ball, 11> BALLS = {
    ballOnFloor(-1.66f, -0.35f, 1.32f, palette::RIBBON_RED),
    ballOnFloor(0.66f, 0.05f, 0.95f, palette::RIBBON_BLUE),
    ballOnFloor(2.28f, -0.60f, 0.80f, CHROME, 1),
    ballOnFloor(-0.38f, 1.30f, 0.46f, palette::CUBE_GREEN),
    ballOnFloor(1.62f, 1.20f, 0.40f, palette::RIBBON_MAGENTA),
    ballOnFloor(-2.60f, 1.05f, 0.40f, palette::RIBBON_VIOLET),
    ballOnFloor(2.74f, 0.72f, 0.31f, palette::SUN_GOLD),
    ballOnFloor(-1.58f, 1.72f, 0.27f, CHROME, 1),
    ballOnFloor(0.62f, 1.95f, 0.18f, palette::SUN_ORANGE),
    ballOnFloor(-0.94f, 2.05f, 0.14f, palette::RIBBON_RED),
    ballOnFloor(2.18f, 1.70f, 0.13f, palette::RIBBON_VIOLET),
};

constexpr Vec3 EYE = {0.15f, 2.05f, 9.2f};
constexpr Vec3 LOOK_AT = {0.15f, 1.02f, 0.0f};
constexpr float VIEW_SLOPE = 0.236f;  // half height of the picture over the distance

// The key light: a square soft box to the upper left of the camera.
constexpr Vec3 KEY_CENTRE = {-4.5f, 7.5f, 5.0f};
constexpr float KEY_HALF = 1.7f;

struct Hit {
    float distance;
    const Ball* ball;
};

std::optional<Hit> nearest(Vec3 from, Vec3 direction) {
    std::optional<Hit> best;
    for (const Ball& ball : BALLS) {
        const Vec3 to = from - ball.centre;
        const float b = dot(to, direction), c = dot(to, to) - ball.radius * ball.radius, root = b * b - c;
        if (root <= 0) continue;
        const float distance = -b - std::sqrt(root);
        if (distance > 1e-3f && (!best || distance < best->distance)) best = Hit{distance, &ball};
    }
    return best;
}

// Whether a ball stands in the way of a ray that widens by `spread` per unit of length.
bool isHidden(Vec3 from, Vec3 direction, float spread = 0) {
    return std::any_of(BALLS.begin(), BALLS.end(), [&](const Ball& ball) {
        const Vec3 to = ball.centre - from;
        const float b = dot(to, direction), reach = ball.radius + spread * (b + ball.radius);
        return b > -ball.radius * spread && dot(to, to) - b * b < reach * reach;
    });
}

// What part of the key light reaches a point, 0..1.
float keyVisibility(Vec3 point, float turn) {
    // Most points see the whole lamp: one wide ray to its corners shows that.
    constexpr float LAMP_RADIUS = 1.46f * KEY_HALF;
    const Vec3 toLamp = KEY_CENTRE - point;
    const float distance = length(toLamp);
    if (!isHidden(point, toLamp * (1.0f / distance), LAMP_RADIUS / distance)) return 1;
    int seen = 0;
    for (int j = 0; j < SHADOW_SAMPLES; ++j)
        for (int i = 0; i < SHADOW_SAMPLES; ++i) {
            // A stratified sample that each call shifts by its own turn of the golden ratio.
            const float u = std::fmod((static_cast<float>(i) + turn) / SHADOW_SAMPLES, 1.0f) * 2 - 1;
            const float v = std::fmod((static_cast<float>(j) + turn * 1.618034f) / SHADOW_SAMPLES, 1.0f) * 2 - 1;
            const Vec3 lamp = KEY_CENTRE + Vec3{u * KEY_HALF, 0.35f * v * KEY_HALF, v * KEY_HALF};
            if (!isHidden(point, normalize(lamp - point))) ++seen;
        }
    return static_cast<float>(seen) / (SHADOW_SAMPLES * SHADOW_SAMPLES);
}

// How much of the sky each ball takes from a point with the given normal (Quilez, "Sphere ambient occlusion").
float openness(Vec3 point, Vec3 normal, const Ball* self) {
    float open = 1;
    for (const Ball& ball : BALLS) {
        if (&ball == self) continue;
        const Vec3 to = ball.centre - point;
        const float distance = length(to);
        const float covered =
            std::max(0.0f, dot(normal, to) / distance) * (ball.radius * ball.radius) / (distance * distance);
        open *= 1.0f - std::min(1.0f, covered);
    }
    return open;
}

// A soft-edged rectangle of light in a direction.
float softBox(Vec3 direction, Vec3 towards, Vec3 right, float halfWidth, float halfHeight, float softness) {
    const float depth = dot(direction, towards);
    if (depth <= 0.05f) return 0;
    const Vec3 up = cross(right, towards) * -1.0f;
    const float u = std::fabs(dot(direction, right)) / depth, v = std::fabs(dot(direction, up)) / depth;
    return smoothstep(halfWidth + softness, halfWidth, u) * smoothstep(halfHeight + softness, halfHeight, v);
}

const std::array<Vec3, 4> BANDS = {linear(ribbonColour(0.00f)), linear(ribbonColour(0.34f)),
                                   linear(ribbonColour(0.67f)), linear(ribbonColour(1.00f))};

// The ribbons of the opening as a curtain of light that waves around the studio, a little above the floor.
Vec3 northernLights(Vec3 d) {
    constexpr float LOWEST = 0.03f, HEIGHT = 0.46f;
    const float angle = std::atan2(d.x, d.z);
    const float up = (d.y - LOWEST - 0.07f * std::sin(2 * angle + 0.6f) - 0.03f * std::sin(5 * angle)) / HEIGHT;
    if (up <= 0 || up >= 1) return {0, 0, 0};
    const float band = up * static_cast<float>(BANDS.size()), index = std::floor(band), across = band - index;
    const float strength = 0.35f + 0.65f * smoothstep(-0.6f, 0.8f, std::sin(1.5f * angle + index));
    const float shown = smoothstep(0.0f, 0.10f, across) * smoothstep(1.0f, 0.86f, across);
    return BANDS[static_cast<size_t>(index)] * (1.9f * strength * shown);
}

// The studio, in linear light: dark behind the balls, so that their rims stand out on white; a soft box, a strip
// light at the right and a cool one behind.
Vec3 studio(Vec3 d) {
    const Vec3 back = linear(palette::NIGHT) * 1.5f;
    Vec3 light = mix(back, {0.30f, 0.28f, 0.42f}, smoothstep(-0.1f, 0.7f, d.y));
    light = mix(light, {0.80f, 0.80f, 0.95f}, smoothstep(0.82f, 0.97f, d.y)) + northernLights(d);
    const Vec3 key = normalize(KEY_CENTRE - Vec3{0, 0.8f, 0});
    const Vec3 keyRight = normalize(cross({0, 1, 0}, key));
    light = light + Vec3{26.0f, 25.2f, 24.0f} * softBox(d, key, keyRight, 0.20f, 0.20f, 0.025f);
    light = light + Vec3{6.0f, 5.4f, 7.6f} * softBox(d, normalize(Vec3{0.95f, 0.35f, 0.25f}),
                                                     normalize(Vec3{-0.25f, 0, 0.95f}), 0.09f, 0.75f, 0.05f);
    light = light + Vec3{1.0f, 0.7f, 2.2f} * softBox(d, normalize(Vec3{-0.80f, 0.30f, -0.60f}),
                                                     normalize(Vec3{0.60f, 0, -0.80f}), 0.30f, 0.60f, 0.20f);
    return light;
}

// The floor as the balls see it: paper that is bright at the horizon and lies in the group's shade below, so that it
// does not wash out the balls' own colours.
Vec3 floorLight(Vec3 point, float turn) {
    const float shade = 0.35f + 0.65f * keyVisibility(point, turn);
    const float level = mix(NEAR_FLOOR, FAR_FLOOR, smoothstep(2.0f, 9.0f, length(point)));
    return Vec3{0.95f, 0.93f, 1.0f} * (level * shade * openness(point, {0, 1, 0}, nullptr));
}

Vec3 trace(Vec3 from, Vec3 direction, float turn, int bounces);

Vec3 ballLight(const Hit& hit, Vec3 from, Vec3 direction, float turn, int bounces) {
    const Ball& ball = *hit.ball;
    const Vec3 point = from + direction * hit.distance;
    const Vec3 normal = (point - ball.centre) * (1.0f / ball.radius);
    const Vec3 lifted = point + normal * 2e-3f;
    const float facing = std::max(0.0f, -dot(direction, normal));
    const float fresnel = std::pow(1.0f - facing, 5.0f);

    const Vec3 toKey = normalize(KEY_CENTRE - point);
    const float key = std::max(0.0f, dot(normal, toKey) * 0.94f + 0.06f) * keyVisibility(lifted, turn);
    const float sky = (0.5f + 0.5f * normal.y) * openness(lifted, normal, &ball);
    // Light that has gone through a little of the lacquer: brighter and more saturated towards the lit side.
    const Vec3 diffuse = ball.colour * (1.35f * key * std::sqrt(key) + 0.16f * sky + 0.015f);
    // Paper below throws its white back up, less where the ball itself keeps the light off it.
    const float paper = std::max(0.0f, -normal.y) * smoothstep(0.0f, 0.9f, point.y / ball.radius);
    const Vec3 bounced = ball.colour * (0.50f * paper * openness(lifted, {0, -1, 0}, &ball));

    const Vec3 reflected = bounces > 0 ? trace(lifted, reflect(direction, normal), turn, bounces - 1)
                                       : studio(reflect(direction, normal));
    const float gloss = mix(0.045f + 0.60f * fresnel, 0.88f + 0.12f * fresnel, ball.metal);
    const Vec3 tintOfMetal = mix(Vec3{1, 1, 1}, ball.colour, ball.metal);
    return (diffuse + bounced) * (1.0f - ball.metal) * (1.0f - 0.5f * fresnel) + reflected * tintOfMetal * gloss;
}

Vec3 trace(Vec3 from, Vec3 direction, float turn, int bounces) {
    if (const std::optional<Hit> hit = nearest(from, direction))
        return ballLight(*hit, from, direction, turn, bounces);
    if (direction.y < -1e-4f) {
        const float distance = -from.y / direction.y;
        if (distance < 30)
            return mix(floorLight(from + direction * distance, turn), studio(direction),
                       smoothstep(6.0f, 30.0f, distance));
    }
    return studio(direction);
}

// The floor as the viewer sees it: nothing but the mirrored balls, fading with their height, over soft shadows.
Texel floorTexel(Vec3 point, Vec3 direction, float turn, float fade) {
    const float open = openness(point, {0, 1, 0}, nullptr);
    const float lit = keyVisibility(point, turn);
    const float shade = 1.0f - (0.52f + 0.48f * lit) * (0.35f + 0.65f * open);
    Texel texel = tint(mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.22f), fade * 0.85f * shade);
    const Vec3 mirrored = {direction.x, -direction.y, direction.z};
    if (const std::optional<Hit> hit = nearest(point, mirrored)) {
        const float height = (point + mirrored * hit->distance).y;
        const Vec3 light = ballLight(*hit, point, mirrored, turn, 1);
        texel = over(tint(encoded(exposed(light)), fade * FLOOR_GLOSS * std::exp(-FLOOR_FADE * height)), texel);
    }
    return texel;
}

}  // namespace

Texel spheresAt(float x, float y, float turn) {
    const Vec3 ahead = normalize(LOOK_AT - EYE), right = normalize(cross(ahead, {0, 1, 0})), up = cross(right, ahead);
    const Vec3 direction =
        normalize(ahead + right * ((2 * x - SPHERES_ASPECT) * VIEW_SLOPE) + up * ((1 - 2 * y) * VIEW_SLOPE));
    if (const std::optional<Hit> hit = nearest(EYE, direction))
        return opaque(encoded(exposed(ballLight(*hit, EYE, direction, turn, BOUNCES))));
    if (direction.y >= 0) return CLEAR;
    const Vec3 point = EYE + direction * (-EYE.y / direction.y);
    // Nothing of the floor reaches the picture's border.
    const float edgeX = smoothstep(0.0f, 0.2f, std::min(x, SPHERES_ASPECT - x)),
                edgeY = smoothstep(0.0f, 0.1f, 1 - y);
    const float fade = edgeX * edgeY * smoothstep(-9.0f, -2.0f, point.z);
    return fade > 0 ? floorTexel(point, direction, turn, fade) : CLEAR;
}
