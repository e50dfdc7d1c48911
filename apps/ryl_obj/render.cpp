#include "render.h"

#include "parallel.h"
#include "shade.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

namespace {

constexpr std::uint32_t CHUNK = 1 << 14;  // of numbers, binned at once
constexpr int BAND_BITS = 4;
constexpr int BAND_ROWS = 1 << BAND_BITS;                     // of cells, drawn at once
constexpr std::size_t MOST_FRAGMENTS = std::size_t{1} << 19;  // that wait in a band
constexpr std::int32_t NOTHING = -1;
constexpr std::int32_t ALL_LANES = (1 << LANES) - 1;
constexpr double STROKE_NEARER = 1.002;  // of the depth, so that lines on a surface are seen

// A part of a cell that something translucent covers.
struct Fragment {
    std::uint32_t cell;
    std::uint32_t number;
    float depth;
    std::int32_t mask;  // a bit for each lane
};

struct Light4 {
    Seen lanes[LANES];
};

struct Cell {
    Float4 depths;
    Int4 numbers;  // of the nearest opaque things, or NOTHING
};

// A band of the picture while it is drawn.
struct Band {
    std::vector<Cell> cells = {};
    std::vector<Light4> lights = {};  // of each cell
    std::vector<Fragment> fragments = {};
};

std::size_t binOf(int band, bool translucent) { return 2 * static_cast<std::size_t>(band) + (translucent ? 1 : 0); }

struct Picture {
    const Drawing& drawing;
    const Cells& cells;
    const Lattice& lattice;
    Image& image;
    Scratch& scratch;
    int columns, rows, bands;  // of cells; of bands
    std::uint32_t chunks;

    std::uint32_t things() const {
        const bool normals = drawing.look.normals > 0;
        return drawing.triangles() + drawing.strokes() + (normals ? drawing.triangles() : 0);
    }
    // What a chunk draws in a band; the translucent things have a bin of their own.
    std::span<const std::uint32_t> bin(std::uint32_t chunk, int band, bool translucent) const {
        const Bins& bins = scratch.chunks[chunk];
        const std::uint32_t* begin = &bins.begins[binOf(band, translucent)];
        return {bins.numbers.data() + begin[0], bins.numbers.data() + begin[1]};
    }
};

// ---- Where things land --------------------------------------------------------------------------------------------

// The nearest whole number; of a half, the greater one. `at` is within MOST_COORDINATE.
std::int32_t wholeOf(double at) {
    // Above 0 a conversion rounds down, so no library is called.
    return static_cast<std::int32_t>(at + (MOST_COORDINATE + 0.5)) - MOST_COORDINATE;
}

ScreenPoint pointOf(const Projection& projection, Vec3 position) {
    const Landing landing = land(projection, position);
    const double x = (projection.scale * landing.x + projection.offsetX) * SUBPIXELS;
    const double y = (projection.offsetY - projection.scale * landing.y) * SUBPIXELS;
    // No number compares as within a limit.
    if (!(std::abs(x) < MOST_COORDINATE) || !(std::abs(y) < MOST_COORDINATE) || !(landing.depth > 0))
        return {0, 0, 0};
    return {wholeOf(x), wholeOf(y), static_cast<float>(landing.depth)};
}

void placePoints(const Surface& surface, const Projection& projection, unsigned threads,
                 std::vector<ScreenPoint>& points) {
    const std::size_t count = std::size_t{surface.model->numvertices} + 1;
    points.resize(count);
    parallelFor((count + CHUNK - 1) / CHUNK, threads, [&](std::size_t chunk) {
        const std::size_t end = std::min(count, (chunk + 1) * CHUNK);
        for (std::size_t i = std::max<std::size_t>(1, chunk * CHUNK); i < end; ++i)
            points[i] = pointOf(projection, positionOf(surface, static_cast<std::uint32_t>(i)));
    });
    points[0] = {0, 0, 0};
}

// The ends of a stroke or of a normal.
struct Ends {
    ScreenPoint a, b;
    double radius;  // 1/256 pixel
};

Ends strokeEnds(const Drawing& drawing, const Stroke& stroke) {
    const bool point = stroke.ends[0] == stroke.ends[1];
    Ends ends = {drawing.points[stroke.ends[0]], drawing.points[stroke.ends[1]],
                 (point ? drawing.look.pointSize : drawing.look.lineWidth) * SUBPIXELS / 2};
    ends.a.depth = static_cast<float>(ends.a.depth * STROKE_NEARER);
    ends.b.depth = static_cast<float>(ends.b.depth * STROKE_NEARER);
    return ends;
}

Ends normalEnds(const Drawing& drawing, std::uint32_t triangle) {
    const std::uint32_t* v = drawing.surface.model->triangles[triangle].vindices;
    const Vec3 centre =
        (positionOf(drawing.surface, v[0]) + positionOf(drawing.surface, v[1]) + positionOf(drawing.surface, v[2])) *
        (1.0 / 3);
    const Vec3 tip = centre + normalized(areaNormal(drawing.surface, triangle)) *
                                  (drawing.look.normals / drawing.projection.inverseRadius);
    return {pointOf(drawing.projection, centre), pointOf(drawing.projection, tip), SUBPIXELS / 2.0};
}

Ends endsOf(const Drawing& drawing, std::uint32_t number) {
    number -= drawing.triangles();
    return number < drawing.strokes() ? strokeEnds(drawing, drawing.surface.strokes[number])
                                      : normalEnds(drawing, number - drawing.strokes());
}

// ---- Binning: which bands a thing is drawn in ---------------------------------------------------------------------

// Whether a sample lies between the two coordinates.
bool holdsSample(const Lattice& lattice, std::int32_t least, std::int32_t most) {
    const auto before = [&](std::int32_t at) { return (at - lattice.first) >> lattice.stepBits; };
    return before(most) != before(least - 1);
}

// Bands that a thing is drawn in; none when the first is beyond the last.
struct Bands {
    std::uint32_t number = 0;  // of the thing
    int first = 0, last = -1;
    bool translucent = false;
};

Bands bandsOf(const Picture& picture, std::uint32_t number, std::int32_t upper, std::int32_t lower,
              bool translucent) {
    const int bits = BAND_BITS + picture.cells.sizeBits;
    return {number, std::max(upper >> bits, 0), std::min(lower >> bits, picture.bands - 1), translucent};
}

Bands triangleBands(const Picture& picture, std::uint32_t number) {
    const Look& look = picture.drawing.look;
    if (look.hidden != nullptr && (*look.hidden)[number]) return {};
    const GLMtriangle& triangle = picture.drawing.surface.model->triangles[number];
    const ScreenPoint& a = picture.drawing.points[triangle.vindices[0]];
    const ScreenPoint& b = picture.drawing.points[triangle.vindices[1]];
    const ScreenPoint& c = picture.drawing.points[triangle.vindices[2]];
    if (a.depth == 0 || b.depth == 0 || c.depth == 0) return {};
    const auto [left, right] = std::minmax({a.x, b.x, c.x});
    const auto [upper, lower] = std::minmax({a.y, b.y, c.y});
    if (right < 0 || left > picture.image.width * SUBPIXELS) return {};
    if (!holdsSample(picture.lattice, left, right) || !holdsSample(picture.lattice, upper, lower)) return {};
    if (doubleArea(a, b, c) == 0) return {};
    const bool translucent = picture.drawing.surface.materials[triangle.material].translucent && !look.wireframe;
    return bandsOf(picture, number, upper, lower, translucent);
}

Bands strokeBands(const Picture& picture, std::uint32_t number) {
    const Drawing& drawing = picture.drawing;
    const std::uint32_t stroke = number - drawing.triangles();
    const Look& look = drawing.look;
    if (stroke < drawing.strokes()) {
        const std::uint32_t group = drawing.surface.strokes[stroke].group;
        if (look.hiddenGroups != nullptr && group < look.hiddenGroups->size() && (*look.hiddenGroups)[group])
            return {};
    } else if (look.hidden != nullptr && (*look.hidden)[stroke - drawing.strokes()]) {
        return {};
    }
    const Ends ends = endsOf(drawing, number);
    if (ends.a.depth == 0 || ends.b.depth == 0) return {};
    const auto reach = static_cast<std::int32_t>(std::ceil(ends.radius));
    const auto [upper, lower] = std::minmax({ends.a.y, ends.b.y});
    return bandsOf(picture, number, upper - reach, lower + reach, false);
}

// Sorts by counting, so that the bins of a chunk are one piece of memory.
void binChunk(const Picture& picture, std::uint32_t chunk) {
    thread_local std::vector<Bands> drawn;
    drawn.clear();
    const std::uint32_t triangles = picture.drawing.triangles();
    const std::uint32_t end = std::min<std::uint64_t>(picture.things(), (std::uint64_t{chunk} + 1) * CHUNK);
    for (std::uint32_t number = chunk * CHUNK; number < end; ++number) {
        const Bands bands = number < triangles ? triangleBands(picture, number) : strokeBands(picture, number);
        if (bands.first <= bands.last) drawn.push_back(bands);
    }
    Bins& bins = picture.scratch.chunks[chunk];
    bins.begins.assign(binOf(picture.bands, false) + 1, 0);
    for (const Bands& bands : drawn)
        for (int band = bands.first; band <= bands.last; ++band) ++bins.begins[binOf(band, bands.translucent)];
    std::uint32_t sum = 0;
    for (std::uint32_t& entry : bins.begins) entry = sum += entry;
    bins.numbers.resize(sum);
    // Each entry is the end of its bin, and moves to the beginning as the bin fills from behind.
    for (auto bands = drawn.rbegin(); bands != drawn.rend(); ++bands)
        for (int band = bands->first; band <= bands->last; ++band)
            bins.numbers[--bins.begins[binOf(band, bands->translucent)]] = bands->number;
}

// ---- Drawing a band -----------------------------------------------------------------------------------------------

template <typename Emit>
void rasterizeThing(const Drawing& drawing, std::uint32_t number, const Window& window, const Emit& emit) {
    if (number >= drawing.triangles()) {
        const Ends ends = endsOf(drawing, number);
        return rasterizeStroke(ends.a, ends.b, ends.radius, window, emit);
    }
    constexpr double WIRE = 0.6 * SUBPIXELS;  // on each side of an edge
    const std::uint32_t* v = drawing.surface.model->triangles[number].vindices;
    rasterizeTriangle(drawing.points[v[0]], drawing.points[v[1]], drawing.points[v[2]], window,
                      drawing.look.wireframe ? WIRE : 0, emit);
}

std::size_t cellAt(const Window& window, int row, int column) {
    return static_cast<std::size_t>(row - window.firstRow) * static_cast<std::size_t>(window.columns) +
           static_cast<std::size_t>(column);
}

void drawOpaque(const Picture& picture, const Window& window, int index, Band& band) {
    for (std::uint32_t chunk = 0; chunk < picture.chunks; ++chunk)
        for (const std::uint32_t number : picture.bin(chunk, index, false))
            rasterizeThing(picture.drawing, number, window, [&](int row, int column, Int4 inside, Float4 depth) {
                Cell& cell = band.cells[cellAt(window, row, column)];
                const Int4 drawn = inside & (depth > cell.depths);
                cell.depths = drawn ? depth : cell.depths;
                cell.numbers = drawn ? Int4{} + static_cast<std::int32_t>(number) : cell.numbers;
            });
}

// The middle of the samples whose bits are set, 1/256 pixel.
std::pair<double, double> middleOf(const Window& window, std::uint32_t cell, std::int32_t mask) {
    const auto columns = static_cast<std::uint32_t>(window.columns);
    int x = 0, y = 0, count = 0;
    for (std::size_t lane = 0; lane < LANES; ++lane)
        if ((mask >> lane & 1) != 0) {
            x += window.cells.x[lane];
            y += window.cells.y[lane];
            ++count;
        }
    const double left = static_cast<double>(cell % columns) * window.cells.size;
    const std::uint32_t row = cell / columns;
    const double upper = (static_cast<double>(row) + window.firstRow) * window.cells.size;
    return {left + static_cast<double>(x) / count, upper + static_cast<double>(y) / count};
}

// Calls use(seen, mask) for each part of a cell that is shaded at once: samples of a pixel that show the same thing.
template <typename Use>
void shadeParts(const Window& window, bool together, std::uint32_t cell, std::uint32_t number, std::int32_t mask,
                Shader& shader, const Use& use) {
    if (together) {
        const auto [x, y] = middleOf(window, cell, mask);
        return use(shader.shade(number, x, y), mask);
    }
    for (std::int32_t bit = 1; bit <= ALL_LANES; bit <<= 1)
        if ((mask & bit) != 0) {
            const auto [x, y] = middleOf(window, cell, bit);
            use(shader.shade(number, x, y), bit);
        }
}

std::size_t firstLane(std::int32_t mask) {
    std::size_t lane = 0;
    while ((mask >> lane & 1) == 0) ++lane;
    return lane;
}

// The lanes of a cell that show the same thing as the first one of `rest`.
std::int32_t sameLanes(Int4 numbers, std::int32_t rest) {
    const std::size_t first = firstLane(rest);
    std::int32_t mask = 0;
    for (std::size_t lane = first; lane < LANES; ++lane)
        if (numbers[lane] == numbers[first]) mask |= 1 << lane;
    return mask & rest;
}

Seen backgroundAt(const Picture& picture, int row) {
    const Look& look = picture.drawing.look;
    if (look.clear) return {{0, 0, 0}, 0};
    const float part = (static_cast<float>(row) + 0.5f) / static_cast<float>(picture.rows);
    return {look.top * (1 - part) + look.bottom * part, 1};
}

void setLanes(Light4& light, const Seen& seen, std::int32_t mask) {
    for (std::size_t lane = 0; lane < LANES; ++lane)
        if ((mask >> lane & 1) != 0) light.lanes[lane] = seen;
}

void shadeCell(const Window& window, bool together, Band& band, std::uint32_t cell, const Seen& background,
               Shader& shader) {
    const Int4 numbers = band.cells[cell].numbers;
    Light4& light = band.lights[cell];
    for (std::int32_t rest = ALL_LANES; rest != 0;) {
        const std::int32_t mask = sameLanes(numbers, rest);
        const std::int32_t number = numbers[firstLane(mask)];
        if (number == NOTHING)
            setLanes(light, background, mask);
        else
            shadeParts(window, together, cell, static_cast<std::uint32_t>(number), mask, shader,
                       [&](const Seen& seen, std::int32_t lanes) { setLanes(light, seen, lanes); });
        rest &= ~mask;
    }
}

void shadeOpaque(const Picture& picture, const Window& window, Band& band, Shader& shader) {
    const bool together = picture.drawing.look.smoothEdges;
    std::uint32_t cell = 0;
    for (int row = window.firstRow; row < window.endRow; ++row) {
        const Seen background = backgroundAt(picture, row);
        for (int column = 0; column < window.columns; ++column, ++cell)
            shadeCell(window, together, band, cell, background, shader);
    }
}

// Lays the fragments over what is there, the farthest of each cell first.
void blendFragments(const Picture& picture, const Window& window, Band& band, Shader& shader) {
    std::sort(band.fragments.begin(), band.fragments.end(), [](const Fragment& a, const Fragment& b) {
        if (a.cell != b.cell) return a.cell < b.cell;
        return a.depth != b.depth ? a.depth < b.depth : a.number < b.number;
    });
    for (const Fragment& fragment : band.fragments)
        shadeParts(window, picture.drawing.look.smoothEdges, fragment.cell, fragment.number, fragment.mask, shader,
                   [&](const Seen& seen, std::int32_t mask) {
                       for (std::size_t lane = 0; lane < LANES; ++lane) {
                           if ((mask >> lane & 1) == 0) continue;
                           Seen& under = band.lights[fragment.cell].lanes[lane];
                           under.light = seen.light + under.light * (1 - seen.alpha);
                           under.alpha = seen.alpha + under.alpha * (1 - seen.alpha);
                       }
                   });
    band.fragments.clear();
}

void drawTranslucent(const Picture& picture, const Window& window, int index, Band& band, Shader& shader) {
    for (std::uint32_t chunk = 0; chunk < picture.chunks; ++chunk)
        for (const std::uint32_t number : picture.bin(chunk, index, true)) {
            rasterizeThing(picture.drawing, number, window, [&](int row, int column, Int4 inside, Float4 depth) {
                const std::size_t cell = cellAt(window, row, column);
                const Int4 seen = inside & (depth > band.cells[cell].depths);
                std::int32_t mask = 0;
                float nearest = 0;
                for (std::size_t lane = 0; lane < LANES; ++lane)
                    if (seen[lane] != 0) {
                        mask |= 1 << lane;
                        nearest = std::max(nearest, depth[lane]);
                    }
                if (mask != 0) band.fragments.push_back({static_cast<std::uint32_t>(cell), number, nearest, mask});
            });
            if (band.fragments.size() > MOST_FRAGMENTS) blendFragments(picture, window, band, shader);
        }
    blendFragments(picture, window, band, shader);
}

void writePixel(Image& image, int x, int y, Colour light, float alpha) {
    if (x >= image.width || y >= image.height) return;
    std::uint8_t* pixel = pixelAt(image, x, y);
    const float part = alpha > 0 ? 1 / alpha : 0;
    pixel[0] = byteOf(light.red * part);
    pixel[1] = byteOf(light.green * part);
    pixel[2] = byteOf(light.blue * part);
    pixel[3] = static_cast<std::uint8_t>(std::lround(alpha * 255));
}

void writeBand(const Picture& picture, const Window& window, const Band& band) {
    for (int row = window.firstRow; row < window.endRow; ++row)
        for (int column = 0; column < window.columns; ++column) {
            const Light4& light = band.lights[cellAt(window, row, column)];
            if (picture.drawing.look.smoothEdges) {
                Seen sum = {{0, 0, 0}, 0};
                for (const Seen& lane : light.lanes) sum = {sum.light + lane.light, sum.alpha + lane.alpha};
                writePixel(picture.image, column, row, sum.light * (1.0f / LANES), sum.alpha / LANES);
                continue;
            }
            for (int lane = 0; lane < LANES; ++lane)
                writePixel(picture.image, 2 * column + (lane & 1), 2 * row + (lane >> 1), light.lanes[lane].light,
                           light.lanes[lane].alpha);
        }
}

void drawBand(const Picture& picture, int index, Band& band) {
    const Window window = {picture.cells, picture.columns, index * BAND_ROWS,
                           std::min((index + 1) * BAND_ROWS, picture.rows)};
    const std::size_t count = cellAt(window, window.endRow, 0);
    band.cells.assign(count, Cell{Float4{}, Int4{} + NOTHING});
    band.lights.resize(count);
    Shader shader(picture.drawing);
    drawOpaque(picture, window, index, band);
    shadeOpaque(picture, window, band, shader);
    drawTranslucent(picture, window, index, band, shader);
    writeBand(picture, window, band);
}

}  // namespace

Extent extentOf(const Surface& surface, const Projection& projection, unsigned threads) {
    const std::size_t count = std::size_t{surface.model->numvertices} + 1, chunks = (count + CHUNK - 1) / CHUNK;
    std::vector<Extent> extents(chunks);
    parallelFor(chunks, threads, [&](std::size_t chunk) {
        const std::size_t end = std::min(count, (chunk + 1) * CHUNK);
        for (std::size_t i = std::max<std::size_t>(1, chunk * CHUNK); i < end; ++i) {
            if (!surface.used[i]) continue;
            const Landing landing = land(projection, positionOf(surface, static_cast<std::uint32_t>(i)));
            if (std::isfinite(landing.x) && std::isfinite(landing.y)) include(extents[chunk], landing.x, landing.y);
        }
    });
    Extent whole;
    for (const Extent& extent : extents) {
        if (extent.left > extent.right) continue;
        include(whole, extent.left, extent.bottom);
        include(whole, extent.right, extent.top);
    }
    return whole;
}

void render(const Surface& surface, const Projection& projection, const Look& look, Scratch& scratch, Image& image) {
    placePoints(surface, projection, look.threads, scratch.points);
    const Drawing drawing = {surface, projection, look, scratch.points};
    Picture picture = {drawing,
                       look.smoothEdges ? FOUR_A_PIXEL : ONE_A_PIXEL,
                       look.smoothEdges ? FINE_LATTICE : PIXEL_LATTICE,
                       image,
                       scratch,
                       0,
                       0,
                       0,
                       0};
    const int pixels = picture.cells.size / SUBPIXELS;
    picture.columns = (image.width + pixels - 1) / pixels;
    picture.rows = (image.height + pixels - 1) / pixels;
    picture.bands = (picture.rows + BAND_ROWS - 1) / BAND_ROWS;
    picture.chunks = (picture.things() + CHUNK - 1) / CHUNK;
    if (scratch.chunks.size() < picture.chunks) scratch.chunks.resize(picture.chunks);
    parallelFor(picture.chunks, look.threads,
                [&](std::size_t chunk) { binChunk(picture, static_cast<std::uint32_t>(chunk)); });
    parallelFor(static_cast<std::size_t>(picture.bands), look.threads, [&](std::size_t index) {
        thread_local Band band;
        drawBand(picture, static_cast<int>(index), band);
    });
}
