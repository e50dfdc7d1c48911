// A plain capture: each frame is written before the next one is drawn, and the next tick comes 25 ms later. The
// linker replaces the demo's calls with these functions (--wrap).
#include "textures.h"

#include <cstdio>
#include <string>

void realTimer(unsigned ms, void (*call)(int), int value) asm("__real_glutTimerFunc");
void plainTimer(unsigned ms, void (*call)(int), int value) asm("__wrap_glutTimerFunc");
void plainHandOver(int width, int height, const std::string& filename, int level, const std::string& line) asm(
    "__wrap__Z17ryl_handOverFrameiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEiS6_");

void plainTimer(unsigned, void (*call)(int), int value) {
    constexpr unsigned TICK_MS = 25;
    realTimer(TICK_MS, call, value);
}

void plainHandOver(int width, int height, const std::string& filename, int level, const std::string& line) {
    ryl_screenshot(width, height, filename.c_str(), level);
    std::puts(line.c_str());
}
