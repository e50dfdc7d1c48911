#include "glm/glm_lines.h"

#include "glm/glm_text.h"
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

// Its text and its part of the arrays stay in the processor's cache.
constexpr std::size_t CHUNK = std::size_t{256} << 10;

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
    for (std::uint32_t i = 0; i < wanted.count; ++i) std::free(wanted.items[i].name);
    for (std::uint32_t i = 0; i < waiting.count; ++i) delete waiting.items[i];
}

void __glmFailChunk(GLMchunk& chunk, std::uint64_t line, const char* format, ...) {
    GLMfailure& failure = chunk.failure;
    if (failure.text[0] != '\0') return;
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(failure.text, sizeof failure.text, format, values);
    va_end(values);
    failure.line = line;
}

namespace {

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

// Cuts the polygon that was filled in as a fan of `count` triangles. False when memory is short.
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

// The facets of faces, each of which starts with the number of its triangles.
void makeFacets(const GLMmodel& model, GLMspan span, GLMchunk& chunk) {
    std::uint32_t first = span.first;
    while (first < span.last) {
        std::uint32_t next = first;
        while (next < span.last && model.triangles[next].findex == 1) ++next;
        if (next == first) {
            const std::uint32_t count = model.triangles[first].findex;
            if (!cutFan(model, model.triangles + first, count))
                return __glmFailChunk(chunk, 0, "out of memory (%u corners of one face)", count + 2);
            next += count;
        }
        __glmMakeFacets(model, first, next);
        first = next;
    }
}

GLMspan trianglesOf(const GLMchunk& chunk) {
    return {.first = static_cast<std::uint32_t>(chunk.before.triangles),
            .last = static_cast<std::uint32_t>(chunk.before.triangles + chunk.counts.triangles)};
}

// ---- Chunks -------------------------------------------------------------------------------------------------------

using Lock = std::unique_lock<std::mutex>;
using Chunk = std::unique_ptr<GLMchunk>;

void readMark(GLMchunk& chunk, const GLMwindow& window) {
    const std::string_view text(window.begin, static_cast<std::size_t>(window.end - window.begin));
    if (text.starts_with(GLM_UTF_8)) std::fill_n(window.begin, GLM_UTF_8.size(), ' ');
    if (__glmIsUtf16(text)) __glmFailChunk(chunk, 0, "glmReadOBJ: the file is UTF-16 text; save it as UTF-8");
}

// Brings a chunk's text into the window, unless it is a pipe's, and then there.
void loadChunk(const GLMjob& job, GLMchunk& chunk, GLMwindow& window) {
    const char* error = nullptr;
    if (job.source.pipe == nullptr) error = __glmLoadLines(window, job.source, chunk.begin, chunk.end);
    if (error != nullptr) return __glmFailChunk(chunk, 0, "%s", error);
    if (chunk.number == 0) readMark(chunk, window);
}

// Finds where the next chunk ends, which a pipe's text has to be read for. False where there is none.
bool cutChunk(GLMjob& job, GLMchunk& chunk, GLMwindow& window) {
    chunk.begin = job.next;
    if (job.source.pipe != nullptr) {
        const char* const error = __glmLoadNext(window, job.source, job.chunk);
        if (error != nullptr) __glmFailChunk(chunk, 0, "%s", error);
        chunk.end = chunk.begin + static_cast<std::uint64_t>(window.end - window.begin);
        return error != nullptr || chunk.end > chunk.begin;
    }
    if (chunk.begin == job.source.size) return false;
    bool failed = false;
    chunk.end = __glmCut(job.source, chunk.begin + job.chunk, failed);
    if (failed) __glmFailChunk(chunk, 0, "%s", GLM_CANNOT_READ);
    return true;
}

// The next chunk, or null where there is none or the call fails.
Chunk takeChunk(GLMjob& job, GLMwindow& window) {
    const Lock lock(job.lock);
    if (job.call.failed || job.failed != SIZE_MAX) return nullptr;
    Chunk chunk(new (std::nothrow) GLMchunk);
    if (chunk == nullptr) {
        __glmFailAtMemory(job.call, 1, sizeof(GLMchunk));
        return nullptr;
    }
    if (!cutChunk(job, *chunk, window)) return nullptr;
    chunk->number = job.taken++;
    job.next = chunk->end;
    return chunk;
}

// Tells of it on the caller's thread, the first worker. Where a pipe ends nobody knows.
void tellProgress(GLMjob& job, const GLMchunk& chunk, unsigned worker) {
    constexpr double SOME = 8 << 20;
    if (worker != 0) return;
    const auto done = static_cast<double>(chunk.end);
    const double all = job.source.pipe != nullptr ? done + SOME : static_cast<double>(job.source.size);
    __glmTellDone(job.call, done / all);
}

// A counted chunk's turn. False when it is not to be filled.
bool takeTurn(GLMjob& job, GLMchunk& chunk, Lock& lock) {
    job.changed.wait(lock, [&] { return job.turn == chunk.number; });
    chunk.before = job.sum;
    __glmNoteFailure(job, chunk);
    const bool goesOn = !job.call.failed && chunk.number < job.failed && __glmJoinChunk(job, chunk, lock);
    ++job.turn;
    if (goesOn) {
        ++job.filling;
        if (chunk.counts.positions > 0) ++job.unplaced;
    }
    job.changed.notify_all();
    return goesOn;
}

void addNotices(GLMjob& job, const GLMchunk& chunk) {
    for (const GLMnotice notice : {GLMnotice::texcoords, GLMnotice::normals}) {
        const auto index = static_cast<std::size_t>(notice);
        const GLMnoted& noted = chunk.notices[index];
        if (noted.count > 0) __glmNotice(job.notices[index], noted.count, chunk.before.lines + noted.line);
    }
}

template <typename T>
bool addTo(GLMjob& job, GLMlist<T>& list, const T& item) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
    if (!list.add(item)) __glmFailAtMemory(job.call, list.count, sizeof(T));
    return !job.call.failed;
}

// Keeps a chunk, and a pipe's text of it, until it can be filled again.
void keep(GLMjob& job, Chunk& chunk, const GLMwindow& window) {
    const char* const error = job.source.pipe != nullptr ? __glmCopyLines(chunk->kept, window) : nullptr;
    if (error != nullptr) return __glmFail(job.call, GLMplace::none, "%s", error);
    chunk->waits = false;
    for (const GLMnotice notice : {GLMnotice::texcoords, GLMnotice::normals}) __glmNoted(*chunk, notice) = {};
    if (addTo(job, job.waiting, chunk.get())) static_cast<void>(chunk.release());
}

// What follows from how a chunk was filled.
void settleChunk(GLMjob& job, Chunk& chunk, const GLMwindow& window, bool filled) {
    const GLMspan span = trianglesOf(*chunk);
    Lock lock(job.lock);
    if (chunk->counts.positions > 0) --job.unplaced;
    // The facets are made while the processor has the chunk at hand, if all positions in front of it are there.
    const bool left = !filled || chunk->waits || job.unplaced > 0;
    if (!left && span.first < span.last) {
        lock.unlock();
        makeFacets(*job.model, span, *chunk);
        lock.lock();
    }
    --job.filling;
    __glmNoteFailure(job, *chunk);
    if (filled && chunk->waits) {
        keep(job, chunk, window);
    } else {
        addNotices(job, *chunk);
        if (left && span.first < span.last) addTo(job, job.facets, span);
    }
    job.changed.notify_all();
}

void readChunk(GLMjob& job, Chunk chunk, GLMwindow& window, unsigned worker) {
    if (chunk->failure.text[0] == '\0') loadChunk(job, *chunk, window);
    if (chunk->failure.text[0] == '\0') __glmCountChunk(job, *chunk, window);
    Lock lock(job.lock);
    if (!takeTurn(job, *chunk, lock)) return;
    tellProgress(job, *chunk, worker);
    GLMfiller filler = __glmFillerOf(job, *chunk, window, false);
    lock.unlock();
    settleChunk(job, chunk, window, __glmFillChunk(filler));
}

bool readChunks(GLMjob& job) {
    __glmShare(job.threads, job.threads, [&](std::size_t, unsigned worker) {
        while (Chunk chunk = takeChunk(job, job.windows[worker]))
            readChunk(job, std::move(chunk), job.windows[worker], worker);
    });
    return !job.call.failed;
}

// ---- What is left -------------------------------------------------------------------------------------------------

// Makes the first chunk's failure the call's, if one has failed. False when the call fails.
bool endChunks(GLMjob& job) {
    if (!job.call.failed && job.failed != SIZE_MAX) {
        job.call.line = job.failure.line + 1;
        __glmFail(job.call, GLMplace::none, "%s", job.failure.text);
    }
    return !job.call.failed;
}

void refillChunk(GLMjob& job, GLMchunk& chunk, GLMwindow& window) {
    const GLMwindow& text = chunk.kept.memory != nullptr ? chunk.kept : window;
    if (&text == &window) loadChunk(job, chunk, window);
    if (chunk.failure.text[0] == '\0') {
        GLMfiller filler = __glmFillerOf(job, chunk, text, true);
        __glmFillChunk(filler);
    }
    const Lock lock(job.lock);
    __glmNoteFailure(job, chunk);
    addNotices(job, chunk);
    addTo(job, job.facets, trianglesOf(chunk));
}

// Fills the chunks again whose corners waited for what follows in the text.
bool refillChunks(GLMjob& job) {
    __glmShare(job.threads, job.waiting.count, [&](std::size_t number, unsigned worker) {
        refillChunk(job, *job.waiting.items[number], job.windows[worker]);
    });
    return endChunks(job);
}

bool makeLeftFacets(GLMjob& job) {
    __glmShare(job.threads, job.facets.count, [&](std::size_t number, unsigned) {
        GLMchunk chunk;
        makeFacets(*job.model, job.facets.items[number], chunk);
        const Lock lock(job.lock);
        __glmNoteFailure(job, chunk);
    });
    return endChunks(job);
}

bool requireStatements(GLMjob& job) {
    if (!job.known) __glmFail(job.call, GLMplace::none, "glmReadOBJ: no statement of an OBJ file in it");
    return job.known;
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

// False when the call fails, as it may where memory is short.
bool warnOfAll(GLMjob& job) {
    const auto warn = [&](GLMnotice notice, const char* text, const char* word) {
        const GLMnoted& noted = job.notices[static_cast<std::size_t>(notice)];
        if (noted.count == 0) return;
        job.call.line = noted.line + 1;
        job.call.times = noted.count;
        __glmWarn(job.call, GLMplace::none, "glmReadOBJ: %s%s", text, word);
    };
    char quoted[sizeof job.unknown + 2];
    std::snprintf(quoted, sizeof quoted, "\"%s\"", job.unknown);
    warn(GLMnotice::unknown, "unknown statements skipped, the first is ", quoted);
    for (const NoticeText& notice : NOTICES) warn(notice.notice, notice.text, "");
    job.call.line = 0;
    job.call.times = 1;
    return !job.call.failed;
}

bool prepare(GLMjob& job) {
    const std::uint64_t pieces = job.source.pipe != nullptr ? 1 : job.source.size / job.chunk + 1;
    const auto most = static_cast<std::size_t>(std::min<std::uint64_t>(pieces, SIZE_MAX));
    job.threads = __glmThreadCount(job.call.options.threads, most);
    job.windows.reset(new (std::nothrow) GLMwindow[job.threads]());
    if (job.windows == nullptr) __glmFailAtMemory(job.call, job.threads, sizeof(GLMwindow));
    return job.windows != nullptr;
}

}  // namespace

bool __glmReadLines(GLMcall& call, GLMsource& source, GLMmodel* model, GLMextras* extras) {
    GLMjob job{.call = call,
               .model = model,
               .extras = extras,
               .source = source,
               .chunk = call.chunk != 0 ? call.chunk : CHUNK};
    const bool done = prepare(job) && readChunks(job) && endChunks(job) && requireStatements(job) &&
                      refillChunks(job) && makeLeftFacets(job) && __glmJoinEnd(job) && warnOfAll(job);
    if (done) __glmTellDone(call, 1);
    return done && !call.failed;
}
