// What is in a chunk. Lines and their words are found 64 characters at a time, with AVX2 where the processor has it.
// The counts are the same without.
#include "glm/glm_lines.h"
#include "glm/glm_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <string_view>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define GLM_AVX2 gnu::target("avx2,bmi,popcnt")
#endif

namespace {

constexpr std::ptrdiff_t BLOCK = 64;

// Of 64 characters, the first one in the lowest bit.
struct Bits {
    std::uint64_t ends, hashes, words;  // ends of lines, "#", first characters of words
};

struct Classes {
    std::uint64_t white = 0, feeds = 0, returns = 0, hashes = 0;
};

// Instructions that every processor has. Each structure classifies WIDTH characters at once.
struct Baseline {
#ifdef __SSE2__
    static constexpr int WIDTH = 16;
    static std::uint64_t where(__m128i found) { return static_cast<std::uint16_t>(_mm_movemask_epi8(found)); }
    static std::uint64_t whereIs(__m128i characters, char c) {
        return where(_mm_cmpeq_epi8(characters, _mm_set1_epi8(c)));
    }
    static Classes classesOf(const char* p) {
        const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i low = _mm_min_epu8(characters, _mm_set1_epi8(' '));
        return {where(_mm_cmpeq_epi8(low, characters)), whereIs(characters, '\n'), whereIs(characters, '\r'),
                whereIs(characters, '#')};
    }
#else
    static constexpr int WIDTH = 1;
    static Classes classesOf(const char* p) {
        return {static_cast<unsigned char>(*p) <= ' ', *p == '\n', *p == '\r', *p == '#'};
    }
#endif
    // std::popcount calls a function where the processor need not have an instruction for it.
    static std::uint32_t countBits(std::uint64_t bits) {
        constexpr std::uint64_t ALTERNATE = 0x5555555555555555, PAIRS = 0x3333333333333333,
                                NIBBLES = 0x0f0f0f0f0f0f0f0f, BYTES = 0x0101010101010101;
        bits -= (bits >> 1) & ALTERNATE;
        bits = (bits & PAIRS) + ((bits >> 2) & PAIRS);
        bits = (bits + (bits >> 4)) & NIBBLES;
        return static_cast<std::uint32_t>((bits * BYTES) >> 56);
    }
};

#ifdef GLM_AVX2
// Instructions that most processors since 2013 have.
struct Avx2 {
    static constexpr int WIDTH = 32;
    [[GLM_AVX2]] static std::uint64_t where(__m256i found) {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(found));
    }
    [[GLM_AVX2]] static std::uint64_t whereIs(__m256i characters, char c) {
        return where(_mm256_cmpeq_epi8(characters, _mm256_set1_epi8(c)));
    }
    [[GLM_AVX2]] static Classes classesOf(const char* p) {
        const __m256i characters = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        const __m256i low = _mm256_min_epu8(characters, _mm256_set1_epi8(' '));
        return {where(_mm256_cmpeq_epi8(low, characters)), whereIs(characters, '\n'), whereIs(characters, '\r'),
                whereIs(characters, '#')};
    }
    [[GLM_AVX2]] static std::uint32_t countBits(std::uint64_t bits) {
        return static_cast<std::uint32_t>(__builtin_popcountll(bits));
    }
};
#endif

// Of a block.
template <typename Processor>
[[gnu::always_inline]] inline Classes classesOf(const char* p) {
    Classes all;
    for (int i = 0; i < BLOCK; i += Processor::WIDTH) {
        const Classes some = Processor::classesOf(p + i);
        all.white |= some.white << i;
        all.feeds |= some.feeds << i;
        all.returns |= some.returns << i;
        all.hashes |= some.hashes << i;
    }
    return all;
}

// A block of a window. `white` says whether the character in front of it is white, and then whether its last one is.
// Characters from `end` on are white.
template <typename Processor>
[[gnu::always_inline]] inline Bits bitsOf(const char* p, const char* end, bool& white) {
    const Classes classes = classesOf<Processor>(p);
    std::uint64_t inside = ~std::uint64_t{0};
    if (end - p < BLOCK) inside = (std::uint64_t{1} << (end - p)) - 1;
    const std::uint64_t nextFeeds = (classes.feeds >> 1) | (std::uint64_t{p[BLOCK] == '\n'} << (BLOCK - 1));
    const std::uint64_t before = (classes.white << 1) | std::uint64_t{white};
    white = (classes.white >> (BLOCK - 1)) != 0;
    return {.ends = (classes.feeds | (classes.returns & ~nextFeeds)) & inside,
            .hashes = classes.hashes & inside,
            .words = ~classes.white & before & inside};
}

}  // namespace

// ---- Statements ---------------------------------------------------------------------------------------------------

namespace {

struct Line {
    const char* begin;
    std::uint64_t number;  // in the chunk, from 0
    std::uint32_t words;   // up to a "#"
};

// A chunk that is being counted.
struct Counter {
    const GLMjob& job;
    GLMchunk& chunk;
    const char* window;
};

// Of a place in the window, in the chunk.
std::uint64_t lineOf(const Counter& counter, const char* p) { return __glmCountLines(counter.window, p); }

void notice(Counter& counter, GLMnotice what, const char* p) {
    GLMnoted& noted = __glmNoted(counter.chunk, what);
    if (noted.count++ == 0) noted.line = lineOf(counter, p);
}

bool failAtMemory(const Counter& counter, const char* p) {
    __glmFailChunk(counter.chunk, lineOf(counter, p), "out of memory (names of a chunk)");
    return false;
}

// Past white space and on into the next line, in a name, which may have other control characters.
const char* skipWhite(const char* p, const char* end) {
    for (;;) {
        while (p < end && __glmIsWhite(*p)) ++p;
        if (p == end || *p != '\\' || !__glmIsEnd(p[1])) return p;
        ++p;
    }
}

// A copy of a name, the rest of a line up to `end` without white space around it, behind a character. What goes on in
// the next line has one blank there. Null when memory is short.
GLMstring copyName(char first, const char* p, const char* end) {
    p = skipWhite(p, end);
    while (end > p && __glmIsWhite(end[-1])) --end;
    GLMstring name(static_cast<char*>(std::malloc(static_cast<std::size_t>(end - p) + 2)));
    if (name == nullptr) return name;
    char* to = name.get();
    *to++ = first;
    while (p < end) {
        const bool goesOn = *p == '\\' && __glmIsEnd(p[1]);
        *to++ = goesOn ? ' ' : *p;
        p = goesOn ? skipWhite(p, end) : p + 1;
    }
    *to = '\0';
    const std::string_view whole = __glmWholeName(name.get() + 1);
    *std::copy(whole.begin(), whole.end(), name.get() + 1) = '\0';
    return name;
}

// The chunk's number of a name. False when memory is short.
bool numberName(GLMchunk& chunk, GLMkeyword keyword, const char* p, const char* end, std::uint32_t& number) {
    GLMstring name = copyName(static_cast<char>('a' + static_cast<int>(keyword)), p, end);
    if (name == nullptr) return false;
    const std::string_view key = name.get();  // up to a NUL, as everybody reads it
    if (const std::uint32_t* known = __glmFindName(chunk.numbers, key)) {
        number = *known;
        return true;
    }
    number = chunk.names.count;
    if (!chunk.names.add(name.get())) return false;
    static_cast<void>(name.release());
    return __glmAddName(chunk.numbers, key, number);
}

// "off" and no number at all are 0, "on" is 1.
std::uint32_t smoothingOf(Counter& counter, const char* p, const char* line) {
    p = __glmSkipBlanks(p);
    const char* const end = __glmWordEnd(p);
    const std::string_view word(p, static_cast<std::size_t>(end - p));
    if (word.empty() || word.front() == '#' || word == "off") return 0;
    if (word == "on") return 1;
    std::uint32_t number = 0;
    const auto [stop, error] = std::from_chars(p, end, number);
    if (error == std::errc() && (stop == end || *stop == '#')) return number;
    notice(counter, GLMnotice::smoothing, line);
    return 0;
}

bool noteState(Counter& counter, GLMkeyword keyword, std::uint64_t line, const char* p, const char* end) {
    GLMchunk& chunk = counter.chunk;
    GLMevent event{.value = 0,
                   .at = static_cast<std::uint32_t>(chunk.counts.triangles),
                   .line = static_cast<std::uint32_t>(line),
                   .keyword = keyword};
    const char* const name = __glmWordEnd(p);
    if (keyword == GLMkeyword::smoothing) {
        event.value = smoothingOf(counter, name, p);
        chunk.smoothed |= event.value != 0;
    } else if (!numberName(chunk, keyword, name, end, event.value)) {
        return failAtMemory(counter, p);
    }
    return chunk.events.add(event) || failAtMemory(counter, p);
}

// An element with fewer corners than it needs is skipped.
void countElement(Counter& counter, const Line& line, std::uint32_t least) {
    GLMchunk& chunk = counter.chunk;
    const std::uint32_t corners = line.words - 1;
    if (corners < least) return notice(counter, GLMnotice::corners, line.begin);
    if (counter.job.extras == nullptr) return;
    ++chunk.counts.elements;
    chunk.counts.corners += corners;
}

void countFace(Counter& counter, const Line& line) {
    constexpr std::uint32_t LEAST = 3;  // corners
    if (line.words <= LEAST || counter.job.call.options.polygons) return countElement(counter, line, LEAST);
    counter.chunk.counts.triangles += line.words - LEAST;
}

void countPosition(Counter& counter, const Line& line) {
    constexpr std::uint32_t WITH_COLOR = 7;  // words
    ++counter.chunk.counts.positions;
    counter.chunk.colored |= line.words >= WITH_COLOR;
}

void noteUnknown(Counter& counter, const char* p) {
    GLMchunk& chunk = counter.chunk;
    if (chunk.unknown[0] == '\0') {
        const auto length = static_cast<std::size_t>(__glmWordEnd(p) - p);
        std::copy_n(p, std::min(length, sizeof chunk.unknown - 1), chunk.unknown);
    }
    notice(counter, GLMnotice::unknown, p);
}

// A statement of any kind, with blanks in front perhaps, that ends at `end`.
bool countStatement(Counter& counter, const Line& line, const char* end) {
    const char* p = __glmSkipBlanks(line.begin);
    const GLMkeyword keyword = __glmKeyword(p);
    GLMchunk& chunk = counter.chunk;
    if (keyword == GLMkeyword::none) return true;
    chunk.known |= keyword != GLMkeyword::unknown;
    switch (keyword) {
    case GLMkeyword::position:
        countPosition(counter, line);
        break;
    case GLMkeyword::normal:
        ++chunk.counts.normals;
        break;
    case GLMkeyword::texcoord:
        ++chunk.counts.texcoords;
        break;
    case GLMkeyword::face:
        countFace(counter, line);
        break;
    case GLMkeyword::line:
        countElement(counter, line, 2);
        break;
    case GLMkeyword::point:
        countElement(counter, line, 1);
        break;
    case GLMkeyword::curve:
        notice(counter, GLMnotice::curves, p);
        break;
    case GLMkeyword::unknown:
        noteUnknown(counter, p);
        break;
    case GLMkeyword::attribute:
        break;
    default:
        return noteState(counter, keyword, line.number, p, end);
    }
    return true;
}

// Most statements begin at the line's start with one of four keywords.
[[gnu::always_inline]] inline bool countLine(Counter& counter, const Line& line, const char* end) {
    const char* const p = line.begin;
    const auto isWhite = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    GLMchunk& chunk = counter.chunk;
    if (p[0] == 'f' && isWhite(p[1])) {
        countFace(counter, line);
    } else if (p[0] == 'v' && isWhite(p[1])) {
        countPosition(counter, line);
    } else if (p[0] == 'v' && p[1] == 'n' && isWhite(p[2])) {
        ++chunk.counts.normals;
    } else if (p[0] == 'v' && p[1] == 't' && isWhite(p[2])) {
        ++chunk.counts.texcoords;
    } else {
        return countStatement(counter, line, end);
    }
    chunk.known = true;
    return true;
}

template <typename Processor>
[[gnu::always_inline]] inline bool countChunk(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window) {
    Counter counter{.job = job, .chunk = chunk, .window = window.begin};
    std::uint64_t& lines = chunk.counts.lines;
    Line line{.begin = window.begin, .number = lines, .words = 0};
    bool white = true, comment = false;
    for (const char* p = window.begin; p < window.end; p += BLOCK) {
        const Bits bits = bitsOf<Processor>(p, window.end, white);
        std::uint64_t left = ~std::uint64_t{0};  // of the block
        for (;;) {
            const std::uint64_t stops = (comment ? bits.ends : bits.ends | bits.hashes) & left;
            const std::uint64_t stop = stops & -stops, passed = (stop - 1) & left;
            if (!comment) line.words += Processor::countBits(bits.words & passed);
            if (stop == 0) break;
            left &= ~(stop | (stop - 1));
            const char* const end = p + std::countr_zero(stop);
            if ((bits.ends & stop) == 0) {
                comment = __glmIsComment(end);
                continue;
            }
            ++lines;
            if (!comment && __glmGoesOn(end)) {
                // A backslash by itself was taken for a word.
                const char* const backslash = end[-1] == '\\' ? end - 1 : end - 2;
                if (static_cast<unsigned char>(backslash[-1]) <= ' ') --line.words;
            } else {
                if (!countLine(counter, line, end)) return false;
                line = {.begin = end + 1, .number = lines, .words = 0};
                comment = false;
            }
        }
    }
    return true;
}

#ifdef GLM_AVX2
[[GLM_AVX2]] bool countWithAvx2(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window) {
    return countChunk<Avx2>(job, chunk, window);
}
#endif

}  // namespace

bool __glmCountChunk(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window) {
#ifdef GLM_AVX2
    const bool has =
        __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("popcnt");
    if (has && !job.call.baseline) return countWithAvx2(job, chunk, window);
#endif
    return countChunk<Baseline>(job, chunk, window);
}
