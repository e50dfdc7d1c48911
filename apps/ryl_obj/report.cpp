// Messages, and the bar that shows progress.
#include "command.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto PATIENCE = std::chrono::seconds(1);  // a task that takes less needs no bar
constexpr auto SHOWN_EVERY = std::chrono::milliseconds(50);
constexpr int BAR_WIDTH = 40;

const Clock::time_point START = Clock::now();  // of the program

struct Bar {
    bool shown = false;
    Clock::time_point last = START;
};
Bar bar;

constexpr char TO_LINE_START[] = "\r\033[K";

}  // namespace

void report(std::string_view file, unsigned long long line, std::string_view text) {
    hideProgress();
    std::string message = file.empty() ? "ryl-obj" : printable(file);
    if (line != 0) message += ":" + std::to_string(line);
    message += ": " + printable(text) + "\n";
    std::fputs(message.c_str(), stderr);
}

void refuse(const char* format, ...) {
    std::array<char, 4096> text{};
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text.data(), text.size(), format, values);
    va_end(values);
    report("", 0, text.data());
    std::exit(UNUSABLE);
}

std::string_view withoutFunction(std::string_view text) {
    constexpr std::string_view END = ": ";
    const std::size_t end = text.find(END);
    const bool named = text.starts_with("glm") && end != std::string_view::npos &&
                       text.substr(0, end).find_first_of("\"\\/") == std::string_view::npos;
    if (named) text.remove_prefix(end + END.size());
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string printable(std::string_view text) {
    constexpr unsigned char DELETE = 0x7f, C1_LEAD = 0xc2, C1_FIRST = 0x80, C1_LAST = 0x9f;
    std::string result;
    unsigned char before = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool control =
            byte < ' ' || byte == DELETE || (before == C1_LEAD && byte >= C1_FIRST && byte <= C1_LAST);  // of UTF-8
        before = byte;
        if (!control) {
            result += character;
            continue;
        }
        std::array<char, 8> escaped{};
        std::snprintf(escaped.data(), escaped.size(), "\\x%02x", byte);
        result += escaped.data();
    }
    return result;
}

void showProgress(const char* task, float done) {
    static const bool TERMINAL = isatty(STDERR_FILENO) != 0;
    const Clock::time_point now = Clock::now();
    if (!TERMINAL || now - START < PATIENCE || now - bar.last < SHOWN_EVERY) return;
    bar = {.shown = true, .last = now};
    std::string text;
    if (done >= 0) {
        text.assign(static_cast<std::size_t>(static_cast<float>(BAR_WIDTH) * std::min(done, 1.0f)), '#');
        text.resize(BAR_WIDTH, '.');
        text = "[" + text + "] ";
    }
    std::fprintf(stderr, "%s%s%s ...", TO_LINE_START, text.c_str(), task);
    std::fflush(stderr);
}

void hideProgress() {
    if (bar.shown) std::fputs(TO_LINE_START, stderr);
    bar.shown = false;
}
