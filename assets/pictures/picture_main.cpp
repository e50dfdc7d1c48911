// The program that paints one picture, the one whose source it is built with, and writes it.

#include "painting.h"

#include <cstdio>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fputs("usage: make_PICTURE FILE.png FONT.ttf\n", stderr);
        return 1;
    }
    return writePng(paintPicture(argv[2]), argv[1]) ? 0 : 1;
}
