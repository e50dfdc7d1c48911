#include "glm/glm_lines.h"

#include "glm/glm_threads.h"
#include "glm/glm_triangulate.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace {

// Small enough that threads end at the same time, large enough that what is kept of each is little.
constexpr std::size_t CHUNK = std::size_t{1} << 20;

struct Word {
    std::string_view text;
    GLMkeyword keyword;
};
constexpr Word WORDS[] = {
    {"v", GLMkeyword::position},
    {"vn", GLMkeyword::normal},
    {"vt", GLMkeyword::texcoord},
    {"f", GLMkeyword::face},
    {"fo", GLMkeyword::face},
    {"l", GLMkeyword::line},
    {"p", GLMkeyword::point},
    {"g", GLMkeyword::group},
    {"o", GLMkeyword::object},
    {"s", GLMkeyword::smoothing},
    {"usemtl", GLMkeyword::material},
    {"mtllib", GLMkeyword::library},
    {"vp", GLMkeyword::curve},
    {"cstype", GLMkeyword::curve},
    {"deg", GLMkeyword::curve},
    {"bmat", GLMkeyword::curve},
    {"step", GLMkeyword::curve},
    {"curv", GLMkeyword::curve},
    {"curv2", GLMkeyword::curve},
    {"surf", GLMkeyword::curve},
    {"parm", GLMkeyword::curve},
    {"trim", GLMkeyword::curve},
    {"hole", GLMkeyword::curve},
    {"scrv", GLMkeyword::curve},
    {"sp", GLMkeyword::curve},
    {"end", GLMkeyword::curve},
    {"con", GLMkeyword::curve},
    {"mg", GLMkeyword::curve},
    {"bsp", GLMkeyword::curve},
    {"bzp", GLMkeyword::curve},
    {"cdc", GLMkeyword::curve},
    {"cdp", GLMkeyword::curve},
    {"res", GLMkeyword::curve},
    {"ctech", GLMkeyword::curve},
    {"stech", GLMkeyword::curve},
    {"bevel", GLMkeyword::attribute},
    {"c_interp", GLMkeyword::attribute},
    {"d_interp", GLMkeyword::attribute},
    {"lod", GLMkeyword::attribute},
    {"maplib", GLMkeyword::attribute},
    {"usemap", GLMkeyword::attribute},
    {"shadow_obj", GLMkeyword::attribute},
    {"trace_obj", GLMkeyword::attribute},
};

}  // namespace

GLMkeyword __glmKeyword(const char* p) {
    if (__glmIsEnd(*p) || *p == '#') return GLMkeyword::none;
    const std::string_view text(p, static_cast<std::size_t>(__glmWordEnd(p) - p));
    const auto* const word =
        std::find_if(std::begin(WORDS), std::end(WORDS), [&](const Word& known) { return known.text == text; });
    return word != std::end(WORDS) ? word->keyword : GLMkeyword::unknown;
}

void GLMchunk::dropNames() {
    for (std::uint32_t i = 0; i < names.count; ++i) std::free(names.items[i]);
    names = {};
    numbers = {};
}

GLMjob::~GLMjob() {
    for (std::uint32_t i = 0; i < libraries.count; ++i) std::free(libraries.items[i]);
}

void __glmFailChunk(GLMchunk& chunk, std::uint64_t place, const char* format, ...) {
    if (chunk.error[0] != '\0') return;
    std::va_list values;
    va_start(values, format);
    // The analyzer misses the va_start.
    std::vsnprintf(chunk.error, sizeof chunk.error, format, values);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(values);
    chunk.errorAt = place;
}

std::uint64_t __glmLineOf(const GLMjob& job, const GLMchunk& chunk, std::uint64_t place) {
    return chunk.before.lines + __glmCountLines(job.source, chunk.begin, place) + 1;
}

// ---- Passes -------------------------------------------------------------------------------------------------------

namespace {

constexpr int PASSES = 2;

// Cuts the text. False when the call fails.
bool cutChunks(GLMjob& job, std::size_t size) {
    constexpr unsigned char MARK[] = {0xef, 0xbb, 0xbf};  // of UTF-8
    const std::uint64_t total = job.source.size;
    const auto most = static_cast<std::size_t>(total / size) + 1;
    job.chunks.reset(new (std::nothrow) GLMchunk[most]);
    if (job.chunks == nullptr) {
        __glmFailAtMemory(job.call, most, sizeof(GLMchunk));
        return false;
    }
    char first[sizeof MARK];
    bool failed = total >= sizeof first && !__glmReadAt(job.source, 0, first, sizeof first);
    std::uint64_t begin = total >= sizeof first && std::memcmp(first, MARK, sizeof MARK) == 0 ? sizeof MARK : 0;
    while (begin < total && !failed) {
        GLMchunk& chunk = job.chunks[job.count++];
        chunk.begin = begin;
        chunk.end = begin =
            __glmCut(job.source, std::max<std::uint64_t>(begin + 1, std::uint64_t{size} * job.count), failed);
    }
    if (failed) __glmFail(job.call, GLMplace::none, "can't read file \"%s\"", job.model->pathname);
    return !failed;
}

// Notes that a chunk has failed: those behind it need not be read any more.
void noteFailure(GLMjob& job, std::size_t chunk) {
    std::size_t first = job.failed.load();
    while (chunk < first && !job.failed.compare_exchange_weak(first, chunk)) {
    }
}

// Tells of it on the caller's thread, the first worker. False when it cancels.
bool tellProgress(GLMjob& job, std::uint64_t bytes, unsigned worker) {
    const std::uint64_t done = job.done.fetch_add(bytes) + bytes;
    if (worker != 0) return true;
    __glmTellDone(job.call, static_cast<double>(done) / static_cast<double>(PASSES * job.source.size));
    if (job.call.failed) noteFailure(job, 0);
    return !job.call.failed;
}

// Reads a chunk, window by window. `state` is what `pass` goes on with from one to the next. False when it is not
// read to its end.
template <typename State>
bool readChunk(GLMjob& job, std::size_t number, unsigned worker, State state,
               bool (*pass)(State&, const GLMwindow&)) {
    GLMchunk& chunk = job.chunks[number];
    GLMwindow& window = job.windows[worker];
    __glmStartWindow(window, job.source, chunk.begin, chunk.end);
    std::uint64_t told = chunk.begin;
    bool goesOn = number <= job.failed;
    while (goesOn && __glmNextLines(window)) {
        const bool passed = pass(state, window);
        goesOn = tellProgress(job, window.next - std::exchange(told, window.next), worker) && passed &&
                 number <= job.failed;
    }
    if (window.error != nullptr) __glmFailChunk(chunk, chunk.begin, "%s", window.error);
    if (chunk.error[0] != '\0') noteFailure(job, number);
    return goesOn && window.error == nullptr;
}

// Makes the first chunk's failure the call's, if one has failed. False when the call fails.
bool endPass(GLMjob& job) {
    if (job.call.failed) return false;
    for (std::size_t i = 0; i < job.count; ++i) {
        GLMchunk& chunk = job.chunks[i];
        if (chunk.error[0] != '\0') {
            job.call.line = __glmLineOf(job, chunk, chunk.errorAt);
            __glmFail(job.call, GLMplace::none, "%s", chunk.error);
            return false;
        }
        // Those in front of a failure; the rest is added up when all have been counted.
        if (i + 1 < job.count) job.chunks[i + 1].before.lines = chunk.before.lines + chunk.counts.lines;
    }
    return true;
}

bool requireStatements(GLMjob& job) {
    const auto known = [](const GLMchunk& chunk) { return chunk.known; };
    if (std::any_of(job.chunks.get(), job.chunks.get() + job.count, known)) return true;
    __glmFail(job.call, GLMplace::none, "glmReadOBJ: no statement of an OBJ file in it");
    return false;
}

// ---- Triangles ----------------------------------------------------------------------------------------------------

// What is known of a polygon's corners and its triangles while it is cut.
struct Polygon {
    std::uint32_t (*triangles)[3];
    GLMelementcorner* corners;
    std::uint32_t* positions;
};

GLMelementcorner cornerOf(const GLMtriangle& triangle, int corner) {
    return {.position = triangle.vindices[corner],
            .texcoord = triangle.tindices[corner],
            .normal = triangle.nindices[corner]};
}

// Cuts the polygon of which the second pass made a fan of `count` triangles. False when memory is short.
bool cutPolygon(const GLMmodel& model, GLMtriangle* fan, std::uint32_t count, const Polygon& polygon) {
    const std::uint32_t corners = count + 2;
    for (std::uint32_t i = 0; i < corners; ++i) {
        polygon.corners[i] = i == 0 ? cornerOf(fan[0], 0) : i == 1 ? cornerOf(fan[0], 1) : cornerOf(fan[i - 2], 2);
        polygon.positions[i] = polygon.corners[i].position;
    }
    if (__glmTriangulate(model.vertices, polygon.positions, corners, polygon.triangles) != count) return false;
    for (std::uint32_t i = 0; i < count; ++i)
        for (int k = 0; k < 3; ++k) {
            const GLMelementcorner& corner = polygon.corners[polygon.triangles[i][k]];
            fan[i].vindices[k] = corner.position;
            fan[i].tindices[k] = corner.texcoord;
            fan[i].nindices[k] = corner.normal;
        }
    return true;
}

bool cutFan(const GLMmodel& model, GLMtriangle* fan, std::uint32_t count) {
    constexpr std::uint32_t FEW = 64;  // corners
    if (count + 2 <= FEW) {
        std::uint32_t triangles[FEW][3], positions[FEW];
        GLMelementcorner corners[FEW];
        return cutPolygon(model, fan, count, {.triangles = triangles, .corners = corners, .positions = positions});
    }
    const std::size_t size = count + std::size_t{2};
    const std::unique_ptr<std::uint32_t[][3]> triangles(new (std::nothrow) std::uint32_t[size][3]);
    const std::unique_ptr<GLMelementcorner[]> corners(new (std::nothrow) GLMelementcorner[size]);
    const std::unique_ptr<std::uint32_t[]> positions(new (std::nothrow) std::uint32_t[size]);
    if (triangles == nullptr || corners == nullptr || positions == nullptr) return false;
    return cutPolygon(model, fan, count,
                      {.triangles = triangles.get(), .corners = corners.get(), .positions = positions.get()});
}

// The facets of a chunk's faces, each of which starts with the number of its triangles.
void makeFacets(const GLMmodel& model, GLMchunk& chunk) {
    auto first = static_cast<std::uint32_t>(chunk.before.triangles);
    const auto last = static_cast<std::uint32_t>(chunk.before.triangles + chunk.counts.triangles);
    while (first < last) {
        std::uint32_t next = first;
        while (next < last && model.triangles[next].findex == 1) ++next;
        if (next == first) {
            const std::uint32_t count = model.triangles[first].findex;
            if (!cutFan(model, model.triangles + first, count))
                return __glmFailChunk(chunk, chunk.begin, "out of memory (%u corners of one face)", count + 2);
            next += count;
        }
        __glmMakeFacets(model, first, next);
        first = next;
    }
}

// ---- The passes ---------------------------------------------------------------------------------------------------

// Each thread takes the next chunk when it is done with one.
bool countAll(GLMjob& job) {
    __glmShare(job.threads, job.count, [&](std::size_t number, unsigned worker) {
        readChunk(job, number, worker, __glmCounterOf(job, job.chunks[number]), __glmCountWindow);
    });
    return endPass(job) && requireStatements(job);
}

// Chunks with positions are filled before those without, whose facets are made while the processor still has them at
// hand.
bool fillAll(GLMjob& job) {
    for (const bool positions : {true, false})
        __glmShare(job.threads, job.count, [&](std::size_t number, unsigned worker) {
            GLMchunk& chunk = job.chunks[number];
            if ((chunk.counts.positions > 0) == positions &&
                readChunk(job, number, worker, __glmFillerOf(job, chunk), __glmFillWindow) && !positions)
                makeFacets(*job.model, chunk);
        });
    if (!endPass(job)) return false;
    __glmShare(job.threads, job.count, [&](std::size_t number, unsigned) {
        GLMchunk& chunk = job.chunks[number];
        if (chunk.counts.positions > 0) makeFacets(*job.model, chunk);
    });
    return endPass(job);
}

// ---- The whole ----------------------------------------------------------------------------------------------------

struct NoticeText {
    GLMnotice notice;
    const char* text;
};
constexpr NoticeText NOTICES[] = {
    {GLMnotice::curves, "curves and surfaces skipped"},
    {GLMnotice::corners, "element with too few corners skipped"},
    {GLMnotice::smoothing, "\"s\" without a number, taken as off"},
    {GLMnotice::texcoords, "corner of a texture coordinate that is not there, taken as none"},
    {GLMnotice::normals, "corner of a normal that is not there, taken as none"},
};

void warnOf(GLMjob& job, GLMnotice notice, const char* text) {
    std::uint64_t count = 0;
    const GLMchunk* first = nullptr;
    const auto index = static_cast<std::size_t>(notice);
    for (std::size_t i = 0; i < job.count; ++i) {
        const std::uint64_t more = job.chunks[i].notices[index].count;
        if (first == nullptr && more > 0) first = &job.chunks[i];
        count += more;
    }
    if (first == nullptr) return;
    job.call.line = __glmLineOf(job, *first, first->notices[index].first);
    job.call.times = count;
    if (notice == GLMnotice::unknown)
        __glmWarn(job.call, GLMplace::none, "glmReadOBJ: unknown statements skipped, the first is \"%s\"",
                  first->unknown);
    else
        __glmWarn(job.call, GLMplace::none, "glmReadOBJ: %s", text);
    job.call.times = 1;
    job.call.line = 0;
}

// False when the call fails, as it may where memory is short.
bool warnOfAll(GLMjob& job) {
    if (job.call.options.warn == nullptr) return true;
    warnOf(job, GLMnotice::unknown, "");
    for (const NoticeText& notice : NOTICES) warnOf(job, notice.notice, notice.text);
    return !job.call.failed;
}

bool prepare(GLMjob& job, std::size_t chunkSize) {
    if (!cutChunks(job, chunkSize)) return false;
    job.threads = __glmThreadCount(job.call.options.threads, job.count);
    job.windows.reset(new (std::nothrow) GLMwindow[job.threads]());
    if (job.windows == nullptr) __glmFailAtMemory(job.call, job.threads, sizeof(GLMwindow));
    return job.windows != nullptr;
}

}  // namespace

bool __glmReadLines(GLMcall& call, const GLMtext& text, GLMmodel* model, GLMextras* extras) {
    GLMjob job{.call = call, .model = model, .extras = extras, .source = __glmSourceOf(text)};
    const bool done = prepare(job, call.chunk != 0 ? call.chunk : CHUNK) && countAll(job) && __glmJoin(job) &&
                      fillAll(job) && warnOfAll(job);
    if (done) __glmTellDone(call, 1);
    return done && !call.failed;
}
