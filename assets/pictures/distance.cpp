#include "distance.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float FAR = 1e12f;

// Squared distances along one line: the lower envelope of the parabolas that stand on its samples.
void transformLine(std::vector<float>& line) {
    const int n = static_cast<int>(line.size());
    std::vector<int> roots(static_cast<size_t>(n));
    std::vector<float> starts(static_cast<size_t>(n) + 1);
    const std::vector<float> heights = line;
    const auto height = [&](int i) { return heights[static_cast<size_t>(i)]; };
    const auto crossing = [&](int q, int p) {
        const auto a = static_cast<float>(q), b = static_cast<float>(p);
        return ((height(q) + a * a) - (height(p) + b * b)) / (2 * (a - b));
    };
    size_t k = 0;
    roots[0] = 0;
    starts[0] = -FAR;
    starts[1] = FAR;
    for (int q = 1; q < n; ++q) {
        float s = crossing(q, roots[k]);
        while (k > 0 && s <= starts[k]) s = crossing(q, roots[--k]);
        roots[++k] = q;
        starts[k] = s;
        starts[k + 1] = FAR;
    }
    k = 0;
    for (int q = 0; q < n; ++q) {
        while (starts[k + 1] < static_cast<float>(q)) ++k;
        const auto way = static_cast<float>(q - roots[k]);
        line[static_cast<size_t>(q)] = way * way + height(roots[k]);
    }
}

// Distance of each pixel to the nearest one whose seed is not FAR; a seed is the square of the distance left there.
std::vector<float> transform(std::vector<float> field, int width, int height) {
    std::vector<float> line(static_cast<size_t>(height));
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) line[static_cast<size_t>(y)] = field[static_cast<size_t>(y) * width + x];
        transformLine(line);
        for (int y = 0; y < height; ++y) field[static_cast<size_t>(y) * width + x] = line[static_cast<size_t>(y)];
    }
    for (int y = 0; y < height; ++y) {
        const auto row = field.begin() + static_cast<long>(y) * width;
        std::vector<float> values(row, row + width);
        transformLine(values);
        std::copy(values.begin(), values.end(), row);
    }
    for (float& value : field) value = std::sqrt(value);
    return field;
}

// Box filter along a line of `count` values that lie `stride` apart; beyond the ends the end values go on.
void boxLine(float* line, int count, int stride, int radius) {
    std::vector<float> source(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) source[static_cast<size_t>(i)] = line[static_cast<long>(i) * stride];
    const auto at = [&](int i) {
        return static_cast<double>(source[static_cast<size_t>(std::clamp(i, 0, count - 1))]);
    };
    double sum = 0;
    for (int i = -radius; i <= radius; ++i) sum += at(i);
    for (int i = 0; i < count; ++i) {
        line[static_cast<long>(i) * stride] = static_cast<float>(sum / (2 * radius + 1));
        sum += at(i + radius + 1) - at(i - radius);
    }
}

}  // namespace

Field distanceField(const Mask& mask) {
    std::vector<float> inside(mask.coverage.size()), outside(mask.coverage.size());
    for (size_t i = 0; i < mask.coverage.size(); ++i) {
        const float c = mask.coverage[i], toInside = std::max(0.0f, 0.5f - c), toOutside = std::max(0.0f, c - 0.5f);
        inside[i] = c <= 0 ? FAR : toInside * toInside;
        outside[i] = c >= 1 ? FAR : toOutside * toOutside;
    }
    const std::vector<float> toInside = transform(std::move(inside), mask.width, mask.height);
    const std::vector<float> toOutside = transform(std::move(outside), mask.width, mask.height);
    Field field{mask.width, mask.height, std::vector<float>(toInside.size())};
    for (size_t i = 0; i < toInside.size(); ++i) field.values[i] = toOutside[i] - toInside[i];
    return field;
}

Field smoothed(Field field, int radius) {
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < field.height; ++y)
            boxLine(&field.values[static_cast<size_t>(y) * field.width], field.width, 1, radius);
        for (int x = 0; x < field.width; ++x)
            boxLine(&field.values[static_cast<size_t>(x)], field.height, field.width, radius);
    }
    return field;
}

float sampled(const Field& field, float x, float y) {
    const float cx = std::clamp(x - 0.5f, 0.0f, static_cast<float>(field.width) - 1.001f);
    const float cy = std::clamp(y - 0.5f, 0.0f, static_cast<float>(field.height) - 1.001f);
    const auto column = static_cast<size_t>(cx), row = static_cast<size_t>(cy);
    const float u = cx - static_cast<float>(column), v = cy - static_cast<float>(row);
    const float* at = &field.values[row * static_cast<size_t>(field.width) + column];
    const float top = at[0] + (at[1] - at[0]) * u;
    const float bottom = at[field.width] + (at[field.width + 1] - at[field.width]) * u;
    const float dx = x - 0.5f - cx, dy = y - 0.5f - cy;
    return top + (bottom - top) * v - std::sqrt(dx * dx + dy * dy);
}

void layHalo(Canvas& canvas, Vec3 colour, int radius, float strength) {
    Field shape{canvas.width, canvas.height, {}};
    for (const Texel& texel : canvas.texels) shape.values.push_back(texel.alpha);
    shape = smoothed(std::move(shape), radius);
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            const size_t i = static_cast<size_t>(y) * canvas.width + x;
            // Gone before the picture's border.
            const auto border = static_cast<float>(std::min({x, y, canvas.width - 1 - x, canvas.height - 1 - y}));
            const float fade = smoothstep(0, 2 * static_cast<float>(radius), border);
            canvas.texels[i] =
                over(canvas.texels[i], tint(colour, fade * std::min(0.9f, strength * shape.values[i])));
        }
}
