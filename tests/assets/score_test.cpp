// The score's text: what is played when, and what a musician is told about a mistake.
#include "mixer.h"
#include "score.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace {

// One beat is one second; two tracks; eight beats.
const std::string HEAD =
    "tempo 60\nlength 8\ntrack lead lead gain -6 duck 0.5 reverb 0.5 delay 0.5\ntrack kick kick ducks\n";

// Reads a score and plays it. Returns what was printed, without the file's path.
std::string play(const std::string& text, Stereo& mix) {
    const TempDir folder;
    Score score;
    testing::internal::CaptureStderr();
    const bool played = readScore(folder.write("test.score", text), score) && playScore(score, mix);
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_EQ(played, error.empty());
    return error.empty() ? error : error.substr(error.find("] ") + 2);
}

TEST(Score, SoundsTheSameEveryTime) {
    const std::string text =
        HEAD + "pattern p 4\n  kick x.X. | ..5-\n  lead c4 - ~bb3:3 a4+e5\nsection s 0\nplay 8 p\n";
    Stereo once, again;
    EXPECT_EQ(play(text, once) + play(text, again), "");
    EXPECT_TRUE(once.left == again.left && once.right == again.right);
    EXPECT_GT(*std::max_element(once.left.begin(), once.left.end()), 0.1f);
}

TEST(Score, MistakesAreNamedWithTheirLine) {
    const std::string pattern = HEAD + "pattern p 4\n";
    const std::pair<std::string, const char*> cases[] = {
        {pattern + "  lead c4:0\n", "line 6: \"c4:0\" is no step: after the notes only :1 to :9 may follow\n"},
        {HEAD + "section one 0\nplay 4\nsection two 4.1\nplay 3.9\n",
         "line 6: section \"one\" is 0.1 beats too short\n"},
        {HEAD + "track a banjo\nsection s 0\nplay 8\n", "track \"a\": there is no instrument \"banjo\"\n"},
    };
    for (const auto& [text, error] : cases) {
        Stereo mix;
        EXPECT_EQ(play(text, mix), error);
    }
}

}  // namespace
