// make_tune - renders the score and encodes it as an mp3 file

#include "mixer.h"
#include "mp3.h"

#include <cstdio>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SCORE TUNE.mp3\n", argv[0]);
        return 1;
    }
    Score score;
    Stereo mix;
    return readScore(argv[1], score) && playScore(score, mix) && writeMp3(mix, score, argv[2]) ? 0 : 1;
}
