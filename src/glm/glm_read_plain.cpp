#include "glm/glm_reader.h"
#include "glm/glm_scan.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t SCAN_SPAN = 512;  // characters of the window that hold most statements
constexpr std::size_t SCAN_CORNERS = 8;

bool startsNumber(char c) { return __glmIsDigit(c) || c == '+' || c == '-'; }

const char* skipBlanks(const char* p) {
    while (*p == ' ' || *p == '\t' || *p == '\r') ++p;
    return p;
}

const char* skipWhite(const char* p) {
    while (__glmIsWhite(*p)) ++p;
    return p;
}

// The end of the keyword, when it is what `p` points to and a blank follows it; else null.
template <std::size_t Size>
const char* afterKeyword(const char* p, const char (&keyword)[Size]) {
    for (const char* expected = keyword; *expected != '\0'; ++expected, ++p)
        if (*p != *expected) return nullptr;
    return *p == ' ' ? p : nullptr;
}

// A face while it is scanned; the first pass only counts its corners.
struct CountedFace {
    std::uint32_t count = 0;  // of the corners
    static const char* scan(const char* p, std::uint32_t GLMcorner::* /*index*/) { return __glmSkipIndex(p); }
};
struct ScannedFace {
    GLMcorner corners[SCAN_CORNERS];
    std::uint32_t count = 0;
    const char* scan(const char* p, std::uint32_t GLMcorner::*index) {
        return __glmScanIndex(p, corners[count].*index);
    }
};

template <bool Texcoord, bool Normal, typename Face>
const char* scanCorner(const char* p, Face& face) {
    const auto afterSlash = [](const char* at) { return at != nullptr && *at == '/' ? at + 1 : nullptr; };
    p = face.scan(p, &GLMcorner::position);
    if constexpr (Texcoord || Normal) p = afterSlash(p);
    if constexpr (Texcoord) p = p != nullptr ? face.scan(p, &GLMcorner::texcoord) : nullptr;
    if constexpr (Normal) {
        p = afterSlash(p);
        p = p != nullptr ? face.scan(p, &GLMcorner::normal) : nullptr;
    }
    return p;
}

// Returns where the next statement starts; null when this is no plain face of that form.
template <bool Texcoord, bool Normal, typename Face>
const char* scanCorners(const char* p, Face& face) {
    face.count = 0;
    for (p = skipBlanks(p); *p != '\n'; p = skipBlanks(p), ++face.count) {
        if (face.count == SCAN_CORNERS) return nullptr;
        p = scanCorner<Texcoord, Normal>(p, face);
        if (p == nullptr || !__glmIsWhite(*p)) return nullptr;
    }
    p = skipWhite(p);
    // Corners may go on in the next line.
    return face.count < 3 || *p == '\0' || startsNumber(*p) ? nullptr : p;
}

// A face is of the one form that all its corners have; the most frequent one is tried first. A form that does not fit
// fills in no number that the one that fits does not fill in as well.
template <typename Face>
const char* scanFace(const char* p, Face& face) {
    const char* next = scanCorners<true, true>(p, face);
    if (next == nullptr) next = scanCorners<false, true>(p, face);
    if (next == nullptr) next = scanCorners<true, false>(p, face);
    return next != nullptr ? next : scanCorners<false, false>(p, face);
}

template <std::size_t Size>
const char* scanVector(const char* p, float* vector) {
    for (std::size_t i = 0; i < Size && p != nullptr; ++i) p = __glmScanFloat(skipBlanks(p), vector[i]);
    return p;
}

// Calls `scan` with the start of each statement in turn, and goes on to where it says that the next one starts, until
// it says null. `scan` sees text that a NUL follows, and is not to move the window.
template <typename Scan>
void scanStatements(GLMtext& text, Scan scan) {
    while (__glmHas(text, SCAN_SPAN)) {
        const char* next = scan(skipWhite(text.at));
        if (next == nullptr) return;
        text.at = next;
    }
}

// Scans the next entry of an array, unless it is full.
template <std::size_t Size>
const char* fillEntry(const char* p, float* array, std::uint32_t& filled, std::uint32_t count) {
    if (filled == count) return nullptr;
    const char* end = scanVector<Size>(p, array + Size * (filled + std::size_t{1}));
    if (end != nullptr) ++filled;
    return end;
}

}  // namespace

void __glmCountPlain(GLMreader& reader) {
    const auto skipLine = [&](const char* p, void (*count)(GLMreader&)) {
        const std::size_t length = std::min(GLM_TOKEN_SIZE - 1, static_cast<std::size_t>(reader.text.end - p));
        const void* end = std::memchr(p, '\n', length);
        if (end != nullptr) count(reader);
        return static_cast<const char*>(end);
    };
    scanStatements(reader.text, [&](const char* p) -> const char* {
        if (const char* corners = afterKeyword(p, "f")) {
            CountedFace face;
            const char* end = scanFace(corners, face);
            if (end == nullptr) return nullptr;
            __glmCountTriangles(reader, face.count - 2);
            return end;
        }
        if (const char* position = afterKeyword(p, "v")) return skipLine(position, __glmCountPosition);
        if (const char* normal = afterKeyword(p, "vn")) return skipLine(normal, __glmCountNormal);
        if (const char* texcoord = afterKeyword(p, "vt")) return skipLine(texcoord, __glmCountTexcoord);
        return nullptr;
    });
}

void __glmFillPlain(GLMreader& reader, GLMfilled& filled) {
    const GLMmodel& model = *reader.model;
    scanStatements(reader.text, [&](const char* p) -> const char* {
        if (const char* corners = afterKeyword(p, "f")) {
            ScannedFace face;
            const char* end = scanFace(corners, face);
            if (end == nullptr || face.count - 2 > __glmTriangleRoom(reader)) return nullptr;
            __glmStartFace(reader);
            for (std::uint32_t i = 2; i < face.count; ++i)
                __glmAddTriangle(reader, filled, face.corners[0], face.corners[i - 1], face.corners[i]);
            return end;
        }
        if (const char* position = afterKeyword(p, "v"))
            return fillEntry<GLM_VECTOR_SIZE>(position, model.vertices, filled.vertices, model.numvertices);
        if (const char* normal = afterKeyword(p, "vn"))
            return fillEntry<GLM_VECTOR_SIZE>(normal, model.normals, filled.normals, model.numnormals);
        if (const char* texcoord = afterKeyword(p, "vt"))
            return fillEntry<GLM_TEXCOORD_SIZE>(texcoord, model.texcoords, filled.texcoords, model.numtexcoords);
        return nullptr;
    });
}
