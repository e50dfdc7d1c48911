#include "glm/glm_output.h"

#include "glm/glm_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

void failAt(GLMcall& call, const GLMoutput& output, const char* what) {
    __glmFail(call, GLMplace::none, "%s() failed: file \"%s\" is %s.", output.function, output.path.get(), what);
}

bool openPart(GLMcall& call, GLMoutput& output) {
    constexpr int MOST = 100;  // parts that calls which were cut off may have left
    constexpr std::size_t ENDING_SIZE = 16;
    struct stat status {};
    const bool there = stat(output.path.get(), &status) == 0;
    if (there && !call.options.replace) failAt(call, output, "there already");
    if (there && !S_ISREG(status.st_mode)) failAt(call, output, "no regular file");
    const std::size_t size = std::strlen(output.path.get()) + ENDING_SIZE;
    GLMstring part(call.failed ? nullptr : __glmTryArray<char>(call, size));
    for (int i = 0; part != nullptr && output.file == nullptr && i < MOST; ++i) {
        std::snprintf(part.get(), size, "%s.part%d", output.path.get(), i);
        output.file = std::fopen(part.get(), "wx");
        if (output.file == nullptr && errno != EEXIST) break;
    }
    if (output.file == nullptr) return false;
    output.part = std::move(part);
    return !there || fchmod(fileno(output.file), status.st_mode & ALLPERMS) == 0;
}

void failAtWriting(GLMcall& call, const GLMoutput& output) {
    __glmFail(call, GLMplace::none, "%s() failed: can't write file \"%s\".", output.function, output.path.get());
}

}  // namespace

GLMoutput::~GLMoutput() {
    if (file != nullptr) std::fclose(file);
    if (part != nullptr) unlink(part.get());
}

bool __glmOpenOutput(GLMcall& call, const char* path, const char* name, GLMoutput& output) {
    output.path = __glmTryBeside(call, path, name);
    if (output.path == nullptr) return false;
    call.file = output.path.get();
    if (!call.returns) output.file = std::fopen(output.path.get(), "w");
    if (call.returns ? openPart(call, output) : output.file != nullptr) return true;
    __glmFail(call, GLMplace::none, "%s() failed: can't open file \"%s\"%s", output.function, output.path.get(),
              output.ending);
    return false;
}

// Those of the last buffer come with closing it.
void __glmCloseOutput(GLMcall& call, GLMoutput& output) {
    std::FILE* file = std::exchange(output.file, nullptr);
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed) failAtWriting(call, output);
}

void __glmPublish(GLMcall& call, GLMoutput& output) {
    if (call.failed || output.part == nullptr) return;
    const char *part = output.part.get(), *path = output.path.get();
    const unsigned keep = call.options.replace ? 0 : RENAME_NOREPLACE;
    bool done = renameat2(AT_FDCWD, part, AT_FDCWD, path, keep) == 0;
    // Some file systems cannot do that; none of them replaces with a link.
    if (!done && errno == EINVAL) done = link(part, path) == 0 && unlink(part) == 0;
    if (done) return output.part.reset();
    call.file = path;
    if (errno == EEXIST) return failAt(call, output, "there already");
    failAtWriting(call, output);
}

void __glmPublish(GLMcall& call, GLMoutput& first, GLMoutput& second) {
    const bool returns = first.part != nullptr;
    __glmPublish(call, first);
    if (call.failed) return;
    __glmPublish(call, second);
    // Without permission to replace, the first file is new.
    if (call.failed && returns && !call.options.replace) unlink(first.path.get());
}

bool __glmOpenSink(GLMcall& call, std::FILE* file, GLMsink& sink) {
    sink.file = file;
    sink.buffer.reset(__glmTryArray<char>(call, GLM_SINK_SIZE));
    sink.at = sink.buffer.get();
    if (sink.at == nullptr) return false;
    sink.end = sink.at + GLM_SINK_SIZE;
    std::setvbuf(file, nullptr, _IONBF, 0);
    return true;
}

void __glmFlush(GLMsink& sink) {
    std::fwrite(sink.buffer.get(), 1, static_cast<std::size_t>(sink.at - sink.buffer.get()), sink.file);
    sink.at = sink.buffer.get();
}

void __glmPutText(GLMsink& sink, std::string_view text) {
    while (!text.empty()) {
        __glmRoom(sink, 1);
        const std::size_t size = std::min(text.size(), static_cast<std::size_t>(sink.end - sink.at));
        sink.at = std::copy_n(text.begin(), size, sink.at);
        text.remove_prefix(size);
    }
}

void __glmPutNumbers(GLMsink& sink, std::string_view keyword, const float* numbers, int count) {
    __glmPutText(sink, keyword);
    __glmRoom(sink, static_cast<std::size_t>(count) * GLM_NUMBER_SIZE + 1);
    for (int i = 0; i < count; ++i) {
        *sink.at++ = ' ';
        sink.at = __glmPutFloat(sink.at, numbers[i]);
    }
    *sink.at++ = '\n';
}

namespace {

// Puts the text on one line. A backslash at its end would make the line go on, so a blank follows it.
void putOnLine(GLMsink& sink, std::string_view text) {
    const bool goesOn = text.ends_with('\\');
    while (!text.empty()) {
        const std::size_t length = std::min(text.find_first_of("\n\r"), text.size());
        __glmPutText(sink, text.substr(0, length));
        if (length < text.size()) __glmPutText(sink, " ");
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    if (goesOn) __glmPutText(sink, " ");
}

}  // namespace

void __glmPutRest(GLMsink& sink, const char* rest) {
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    std::string_view left = rest != nullptr ? rest : "";
    while (!left.empty() && isBlank(left.front())) left.remove_prefix(1);
    while (!left.empty() && isBlank(left.back())) left.remove_suffix(1);
    putOnLine(sink, left);
}

void __glmPutName(GLMsink& sink, const char* name) { putOnLine(sink, __glmWholeName(name != nullptr ? name : "")); }
