// The numbers of a chunk, into the arrays. Whatever was counted has its place, so several chunks are filled at once;
// a statement that was not counted means that the file has changed since.
#include "glm/glm_lines.h"
#include "glm/glm_scan.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

// Of a place in the window, in the chunk.
std::uint64_t lineOf(const GLMfiller& filler, const char* p) { return __glmCountLines(filler.window.begin, p); }

// The functions that read return where they stopped, or null when the chunk fails.
std::nullptr_t failAtChange(GLMfiller& filler, const char* p) {
    __glmFailChunk(filler.chunk, lineOf(filler, p), "the file changes while it is read");
    return nullptr;
}

bool isLineEnd(const char* p) { return __glmIsEnd(*p) || *p == '#'; }

// Whether a word ends here.
bool isWordEnd(const char* p) {
    return static_cast<unsigned char>(*p) <= ' ' || *p == '#' || (*p == '\\' && __glmIsEnd(p[1]));
}

// To the start of the next line, from anywhere in front of a "#" on this one.
const char* skipLine(const char* p) {
    for (bool comment = false;; ++p) {
        comment |= *p == '#' && __glmIsComment(p);
        if (!__glmIsEnd(*p)) continue;
        if (comment || p[-1] != '\\') return __glmNextLine(p);
        p = __glmNextLine(p) - 1;
    }
}

// The word at `p` as messages show it.
struct Shown {
    char text[64];
};
Shown shownOf(const char* p) {
    Shown shown{};
    std::copy_n(p, std::min<std::ptrdiff_t>(__glmWordEnd(p) - p, sizeof shown.text - 1), shown.text);
    return shown;
}

// ---- Numbers ------------------------------------------------------------------------------------------------------

// What some C libraries print for numbers that are none.
const char* scanNotFinite(const char* p, float& value) {
    constexpr struct {
        std::string_view text;
        float value;
    } FORMS[] = {{"1.#INF", std::numeric_limits<float>::infinity()},
                 {"1.#IND", std::numeric_limits<float>::quiet_NaN()},
                 {"1.#QNAN", std::numeric_limits<float>::quiet_NaN()},
                 {"1.#SNAN", std::numeric_limits<float>::quiet_NaN()}};
    const bool negative = *p == '-';
    if (negative) ++p;
    for (const auto& form : FORMS) {
        if (std::strncmp(p, form.text.data(), form.text.size()) != 0) continue;
        value = negative ? -form.value : form.value;
        for (p += form.text.size(); __glmIsDigit(*p);) ++p;
        return p;
    }
    return nullptr;
}

const char* scanRareNumber(const char* p, const char* end, float& value) {
    if (const char* stop = scanNotFinite(p, value)) return stop;
    return __glmConvertFloat(p, end, value);
}

// As __glmScanFloat.
[[gnu::always_inline]] inline const char* scanFloat(GLMfiller& filler, const char* first, float& value) {
    constexpr std::uint32_t POWERS[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
    const bool negative = *first == '-';
    std::uint32_t whole = 0, fraction = 0;
    const char* const point = __glmScanDigits(first + (negative ? 1 : 0), whole, filler.wholeLength);
    if (point == nullptr || *point != '.') return __glmScanFloat(first, value);
    const char* const end = __glmScanDigits(point + 1, fraction, filler.fractionLength);
    if (end == nullptr || end == point + 1 || !__glmIsWhite(*end)) return __glmScanFloat(first, value);
    const std::ptrdiff_t decimals = end - point - 1;
    const std::uint64_t digits = std::uint64_t{whole} * POWERS[decimals] + fraction;
    return __glmRoundFraction(digits, decimals, negative, value) ? end : nullptr;
}

// `count` numbers of the statement at `line`. `p` is behind its keyword.
template <int Count>
const char* readNumbers(GLMfiller& filler, const char* line, const char* p, float* numbers) {
    for (int i = 0; i < Count; ++i) {
        p = __glmSkipBlanks(p);
        const char* next = scanFloat(filler, p, numbers[i]);
        if (next == nullptr) next = isLineEnd(p) ? nullptr : scanRareNumber(p, __glmWordEnd(p), numbers[i]);
        if (next != nullptr && isWordEnd(next)) {
            p = next;
            continue;
        }
        const char* const what = isLineEnd(p) ? "nothing" : "\"";
        __glmFailChunk(filler.chunk, lineOf(filler, line), "glmReadOBJ: Got %s%s%s instead of number %d of \"%s\"",
                       what, isLineEnd(p) ? "" : shownOf(p).text, isLineEnd(p) ? "" : "\"", i + 1,
                       shownOf(line).text);
        return nullptr;
    }
    return p;
}

// To the next line, from behind a statement's numbers.
const char* finishLine(const char* p) {
    if (*p == '\n') return p + 1;
    p = __glmSkipBlanks(p);
    return __glmIsEnd(*p) ? __glmNextLine(p) : skipLine(p);
}

// The numbers behind those of a position: a weight, a colour, or both.
const char* readColor(GLMfiller& filler, const char* p) {
    constexpr int MOST = 4;
    float numbers[MOST] = {}, *color = __glmVector(filler.colors, filler.positions);
    int count = 0;
    for (p = __glmSkipBlanks(p); count < MOST && !isLineEnd(p); p = __glmSkipBlanks(p), ++count) {
        const char* next = __glmScanFloat(p, numbers[count]);
        if (next == nullptr) next = scanRareNumber(p, __glmWordEnd(p), numbers[count]);
        if (next == nullptr || !isWordEnd(next)) break;
        p = next;
    }
    const bool hasColor = count >= 3;
    for (int i = 0; i < 3; ++i) color[i] = hasColor ? numbers[count - 3 + i] : 1.0f;
    return p;
}

const char* readPosition(GLMfiller& filler, const char* line, const char* p) {
    if (filler.positions == filler.end.positions) return failAtChange(filler, line);
    p = readNumbers<3>(filler, line, p, __glmVector(filler.vertices, ++filler.positions));
    if (p == nullptr) return nullptr;
    if (filler.colors != nullptr) p = readColor(filler, p);
    return finishLine(p);
}

const char* readNormal(GLMfiller& filler, const char* line, const char* p) {
    if (filler.normals == filler.end.normals) return failAtChange(filler, line);
    p = readNumbers<3>(filler, line, p, __glmVector(filler.normalArray, ++filler.normals));
    return p != nullptr ? finishLine(p) : nullptr;
}

// A texture coordinate with one number lies on a one-dimensional image.
const char* readTexcoord(GLMfiller& filler, const char* line, const char* p) {
    if (filler.texcoords == filler.end.texcoords) return failAtChange(filler, line);
    float* const texcoord = filler.texcoordArray + GLM_TEXCOORD_SIZE * ++filler.texcoords;
    texcoord[1] = 0.0f;
    p = readNumbers<1>(filler, line, p, texcoord);
    if (p == nullptr || isLineEnd(__glmSkipBlanks(p))) return p != nullptr ? finishLine(p) : nullptr;
    p = readNumbers<1>(filler, line, p, texcoord + 1);
    return p != nullptr ? finishLine(p) : nullptr;
}

// ---- Elements -----------------------------------------------------------------------------------------------------

// A number of more than nine digits, or none. Null when it is none.
const char* scanRareIndex(const char* p, std::uint32_t& index) {
    std::int64_t value = 0;
    if (*p == '+') ++p;
    const auto [end, error] = std::from_chars(p, __glmWordEnd(p), value);
    if (error == std::errc::invalid_argument) return nullptr;
    index = value > 0 && value < GLM_NO_INDEX && error == std::errc() ? static_cast<std::uint32_t>(value) : 0;
    return end;
}

// A number that counts from 1, or back from the last of `soFar`; what is in front of the first one becomes 0.
[[gnu::always_inline]] inline const char* scanIndex(GLMfiller& filler, const char* p, std::uint32_t soFar,
                                                    std::uint32_t& index) {
    const bool relative = *p == '-';
    const char* const first = relative ? p + 1 : p;
    std::uint32_t number = 0;
    const char* end = __glmScanDigits(first, number, filler.indexLength);
    if (end == nullptr) end = __glmScanIndex(first, number);
    if (end == nullptr || end == first) end = scanRareIndex(first, number);
    index = !relative ? number : number > 0 && number <= soFar ? soFar + 1 - number : 0;
    return end;
}

std::nullptr_t failAtCorner(GLMfiller& filler, const char* line, const char* corner, const char* what) {
    __glmFailChunk(filler.chunk, lineOf(filler, line), "glmReadOBJ: Got \"%s\" as a corner of \"%s\"%s",
                   shownOf(corner).text, shownOf(line).text, what);
    return nullptr;
}

// The element that is being read: its statement, and the place of the corner.
struct Place {
    const char *line, *corner;
};

// A normal or texture coordinate that is not there, as far as it is known. Where the file has none at all, and where
// it is written as 0, the corner has none; the call fails otherwise. What is found wrong at once, and what at the
// end, does not depend on where the text is cut.
bool dropIndex(GLMfiller& filler, const Place& place, const char* number, std::uint32_t& index, bool isNormal) {
    const std::uint32_t known = isNormal ? filler.known.normals : filler.known.texcoords;
    const std::uint32_t soFar = isNormal ? filler.normals : filler.texcoords;
    if (!filler.whole && (index != 0 || (soFar == 0 && *number != '0'))) {
        filler.chunk.waits = true;
        return true;
    }
    if (known > 0 && *number != '0') {
        failAtCorner(filler, place.line, place.corner,
                     isNormal ? ", whose normal is not there" : ", whose texture coordinate is not there");
        return false;
    }
    index = GLM_NO_INDEX;
    GLMnoted& noted = __glmNoted(filler.chunk, isNormal ? GLMnotice::normals : GLMnotice::texcoords);
    if (noted.count++ == 0) noted.line = lineOf(filler, place.line);
    return true;
}

bool startsIndex(char c) { return __glmIsDigit(c) || c == '-' || c == '+'; }

// A corner: "v", "v/vt", "v//vn" or "v/vt/vn", whose last numbers may be missing behind their slashes.
[[gnu::always_inline]] inline const char* readCorner(GLMfiller& filler, const char* line, const char* p,
                                                     GLMelementcorner& corner) {
    const Place place{.line = line, .corner = p};
    corner.texcoord = corner.normal = GLM_NO_INDEX;
    p = scanIndex(filler, p, filler.positions, corner.position);
    if (p != nullptr && *p == '/') {
        const char* number = ++p;
        if (startsIndex(*p)) {
            p = scanIndex(filler, p, filler.texcoords, corner.texcoord);
            if (corner.texcoord - 1 >= filler.known.texcoords && p != nullptr &&
                !dropIndex(filler, place, number, corner.texcoord, false))
                return nullptr;
        }
        if (p != nullptr && *p == '/') {
            number = ++p;
            if (startsIndex(*p)) {
                p = scanIndex(filler, p, filler.normals, corner.normal);
                if (corner.normal - 1 >= filler.known.normals && p != nullptr &&
                    !dropIndex(filler, place, number, corner.normal, true))
                    return nullptr;
            }
        }
    }
    if (p == nullptr || !isWordEnd(p)) return failAtCorner(filler, line, place.corner, "");
    if (corner.position - 1 < filler.known.positions) return p;
    if (!filler.whole && corner.position != 0) {
        filler.chunk.waits = true;
        return p;
    }
    return failAtCorner(filler, line, place.corner, ", whose position is not there");
}

void storeTriangle(GLMfiller& filler, std::uint32_t number, const GLMelementcorner& a, const GLMelementcorner& b,
                   const GLMelementcorner& c) {
    const GLMstate& state = filler.state;
    filler.triangleArray[number] = {.vindices = {a.position, b.position, c.position},
                                    .nindices = {a.normal, b.normal, c.normal},
                                    .tindices = {a.texcoord, b.texcoord, c.texcoord},
                                    .findex = 0,
                                    .material = state.material};
}

// What goes with the triangles from `first` on, which one face gave.
void finishFace(GLMfiller& filler, std::uint32_t first) {
    filler.triangleArray[first].findex = filler.triangles - first;
    for (std::uint32_t i = first; i < filler.triangles; ++i) {
        if (filler.objects != nullptr) filler.objects[i] = filler.state.object;
        if (filler.smoothing != nullptr) filler.smoothing[i] = filler.state.smoothing;
    }
}

// A face becomes a fan around its first corner, which is cut anew where it does not cover the face. Until then the
// facet normal of its first triangle holds the number of its triangles.
const char* readFace(GLMfiller& filler, const char* line, const char* p) {
    const std::uint32_t start = filler.triangles;
    GLMelementcorner first{}, previous{}, corner;
    std::uint32_t count = 0;
    for (p = __glmSkipBlanks(p); !isLineEnd(p); p = __glmSkipBlanks(p)) {
        p = readCorner(filler, line, p, corner);
        if (p == nullptr) return nullptr;
        if (++count == 1) {
            first = corner;
        } else if (count > 2) {
            if (filler.triangles == filler.end.triangles) return failAtChange(filler, line);
            storeTriangle(filler, filler.triangles++, first, previous, corner);
        }
        previous = corner;
    }
    if (count > 2) finishFace(filler, start);
    return finishLine(p);
}

// A point, a line, or a face that is to stay one.
const char* readElement(GLMfiller& filler, GLMelementkind kind, std::uint32_t least, const char* line,
                        const char* p) {
    const GLMstate& state = filler.state;
    const std::uint32_t first = filler.corners;
    GLMelementcorner corner;
    std::uint32_t count = 0;
    for (p = __glmSkipBlanks(p); !isLineEnd(p); p = __glmSkipBlanks(p), ++count) {
        p = readCorner(filler, line, p, corner);
        if (p == nullptr) return nullptr;
        if (count < filler.end.corners - first) filler.cornerArray[first + count] = corner;
    }
    if (count < least) return finishLine(p);  // it was not counted
    if (count > filler.end.corners - first || filler.elements == filler.end.elements)
        return failAtChange(filler, line);
    filler.corners += count;
    filler.elementArray[filler.elements++] = {.kind = kind,
                                              .first = first,
                                              .count = count,
                                              .group = state.group,
                                              .object = state.object,
                                              .material = state.material,
                                              .smoothing = state.smoothing};
    return finishLine(p);
}

// ---- Statements ---------------------------------------------------------------------------------------------------

const char* changeState(GLMfiller& filler, GLMkeyword keyword, const char* line) {
    const GLMlist<GLMevent>& events = filler.chunk.events;
    if (filler.event == events.count || events.items[filler.event].keyword != keyword)
        return failAtChange(filler, line);
    const GLMevent& event = events.items[filler.event++];
    if (keyword == GLMkeyword::group) filler.state.group = event.value;
    if (keyword == GLMkeyword::object) filler.state.object = event.value;
    if (keyword == GLMkeyword::material) filler.state.material = event.value;
    if (keyword == GLMkeyword::smoothing) filler.state.smoothing = event.value;
    return skipLine(line);
}

const char* readRareStatement(GLMfiller& filler, const char* line) {
    const GLMkeyword keyword = __glmKeyword(line);
    const char* const p = __glmWordEnd(line);
    switch (keyword) {
    case GLMkeyword::position:
        return readPosition(filler, line, p);
    case GLMkeyword::normal:
        return readNormal(filler, line, p);
    case GLMkeyword::texcoord:
        return readTexcoord(filler, line, p);
    case GLMkeyword::face:
        if (!filler.polygons) return readFace(filler, line, p);
        return filler.takesElements ? readElement(filler, GLMelementkind::face, 3, line, p) : skipLine(line);
    case GLMkeyword::line:
        return filler.takesElements ? readElement(filler, GLMelementkind::line, 2, line, p) : skipLine(line);
    case GLMkeyword::point:
        return filler.takesElements ? readElement(filler, GLMelementkind::point, 1, line, p) : skipLine(line);
    case GLMkeyword::group:
    case GLMkeyword::object:
    case GLMkeyword::material:
    case GLMkeyword::smoothing:
    case GLMkeyword::library:
        return changeState(filler, keyword, line);
    default:
        return skipLine(line);
    }
}

bool hasAll(const GLMfiller& filler) {
    const GLMplaces& end = filler.end;
    return filler.positions == end.positions && filler.normals == end.normals && filler.texcoords == end.texcoords &&
           filler.triangles == end.triangles && filler.elements == end.elements && filler.corners == end.corners;
}

// Most statements begin at the line's start with one of four keywords and a blank.
const char* readStatement(GLMfiller& filler, const char* line) {
    if (line[0] == 'f' && __glmIsBlank(line[1]) && !filler.polygons) return readFace(filler, line, line + 1);
    if (line[0] != 'v') return readRareStatement(filler, line);
    if (__glmIsBlank(line[1])) return readPosition(filler, line, line + 1);
    if (line[1] == 'n' && __glmIsBlank(line[2])) return readNormal(filler, line, line + 2);
    if (line[1] == 't' && __glmIsBlank(line[2])) return readTexcoord(filler, line, line + 2);
    return readRareStatement(filler, line);
}

}  // namespace

GLMfiller __glmFillerOf(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window, bool whole) {
    const auto places = [](const GLMcounts& counts) {
        const auto number = [](std::uint64_t count) { return static_cast<std::uint32_t>(count); };
        return GLMplaces{.positions = number(counts.positions),
                         .normals = number(counts.normals),
                         .texcoords = number(counts.texcoords),
                         .triangles = number(counts.triangles),
                         .elements = number(counts.elements),
                         .corners = number(counts.corners)};
    };
    GLMcounts end = chunk.before;
    __glmAdd(end, chunk.counts);
    GLMfiller filler{{places(chunk.before)}, chunk, window, places(end), places(job.sum), whole, chunk.state};
    filler.polygons = job.call.options.polygons;
    filler.vertices = job.model->vertices;
    filler.normalArray = job.model->normals;
    filler.texcoordArray = job.model->texcoords;
    filler.triangleArray = job.model->triangles;
    if (job.extras == nullptr) return filler;
    filler.takesElements = true;
    filler.colors = job.extras->colors;
    filler.objects = job.extras->objects;
    filler.smoothing = job.extras->smoothing;
    filler.elementArray = job.extras->elements;
    filler.cornerArray = job.extras->corners;
    return filler;
}

bool __glmFillChunk(GLMfiller& filler) {
    const char* p = filler.window.begin;
    while (p < filler.window.end) {
        p = __glmSkipBlanks(p);
        p = __glmIsEnd(*p) ? __glmNextLine(p) : readStatement(filler, p);
        if (p == nullptr) return false;
    }
    return hasAll(filler) || failAtChange(filler, filler.window.end) != nullptr;
}
