// The score's text: what is played when, and what a musician is told about a mistake.
#include "score.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// One beat is one second; two tracks; one section of eight beats.
const std::string HEAD = "tempo 60\nlength 8\ntrack lead lead gain -6 pan 0.5 duck 0.25\ntrack kick kick ducks\n";

Score readText(const std::string& text) {
    const TempDir folder;
    Score score;
    EXPECT_TRUE(readScore(folder.write("test.score", text), score));
    return score;
}

// The error that reading the text ends with, without the file's path.
std::string errorOf(const std::string& text) {
    const TempDir folder;
    Score score;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(readScore(folder.write("test.score", text), score));
    const std::string error = testing::internal::GetCapturedStderr();
    return error.substr(std::min(error.size(), error.find("] ") + 2));
}

std::string notesOf(const Score& score) {
    std::string text;
    for (const Note& note : score.notes) {
        char line[96];
        std::snprintf(line, sizeof line, "%s %.3f+%.3f %.0f<%.0f %.0f\n",
                      score.tracks[static_cast<std::size_t>(note.track)].name.c_str(), note.start, note.length,
                      static_cast<double>(note.pitch), static_cast<double>(note.from),
                      static_cast<double>(note.velocity * 9));
        text += line;
    }
    return text;
}

}  // namespace

TEST(Score, ReadsHeadAndTracks) {
    const Score score = readText("title Two  Words\n" + HEAD + "master 3.5 # a comment\nsection all 0\nplay 8\n");
    EXPECT_EQ(score.title, "Two Words");
    EXPECT_EQ(score.beatsPerMinute, 60);
    EXPECT_EQ(score.masterGainDb, 3.5f);
    ASSERT_EQ(score.tracks.size(), 2u);
    EXPECT_EQ(score.tracks[0].gainDb, -6);
    EXPECT_EQ(score.tracks[0].pan, 0.5f);
    EXPECT_EQ(score.tracks[0].duck, 0.25f);
    EXPECT_FALSE(score.tracks[0].ducks);
    EXPECT_TRUE(score.tracks[1].ducks);
}

TEST(Score, StepsShareTheirPatternAndHoldsLengthenNotes) {
    const Score score = readText(HEAD + "pattern p 4\n  kick x.X. | ..5-\n  lead c4 - ~bb3:3\n  lead . a4+e5 . \n"
                                        "section all 0\nplay 4 p\nplay 4\n");
    EXPECT_EQ(notesOf(score), "kick 0.000+0.500 60<60 7\n"
                              "kick 1.000+0.500 60<60 9\n"
                              "kick 3.000+1.000 60<60 5\n"
                              "lead 0.000+1.333 60<60 7\n"
                              "lead 1.333+0.667 58<60 3\n"
                              "lead 2.667+0.667 69<69 7\n"
                              "lead 2.667+0.667 76<76 7\n");
}

TEST(Score, PlaysRepeatCutShiftAndTransposePatterns) {
    const Score score = readText(HEAD + "pattern p 2\n  lead c4 d4 - e4\nsection one 0\nplay 3.75 p\nplay 0.25\n"
                                        "section two 4\nplay 1 key -12 p@1\nplay 3\n");
    EXPECT_EQ(notesOf(score), "lead 0.000+0.500 60<60 7\n"
                              "lead 0.500+1.000 62<62 7\n"
                              "lead 1.500+0.500 64<64 7\n"
                              "lead 2.000+0.500 60<60 7\n"
                              "lead 2.500+1.000 62<62 7\n"
                              "lead 3.500+0.250 64<64 7\n"
                              "lead 4.500+0.500 52<52 7\n");
}

TEST(Score, SectionsMustBeFilledExactly) {
    EXPECT_EQ(errorOf(HEAD + "section one 0\nplay 4\nsection two 4.1\nplay 3.9\n"),
              "line 6: section \"one\" is 0.1 beats too short\n");
    EXPECT_EQ(errorOf(HEAD + "section one 0\nplay 8.5\n"), "line 6: section \"one\" is 0.5 beats too long\n");
}

TEST(Score, MistakesAreNamedWithTheirLine) {
    const std::string pattern = HEAD + "pattern p 4\n";
    const struct {
        std::string text, error;
    } cases[] = {
        {"tempi 60\n", "line 1: \"tempi\" is no statement\n"},
        {"tempo fast\n", "line 1: tempo must be a number from 30 to 400, not \"fast\"\n"},
        {"track lead lead gain\n", "line 1: \"gain\" needs a number\n"},
        {"track lead lead loud 3\n", "line 1: \"loud\" is none of gain, pan, delay, reverb, duck, ducks\n"},
        {"track lead\n", "line 1: write: track NAME INSTRUMENT, then pairs such as gain -6\n"},
        {pattern + "  bass c4\n", "line 6: there is no track \"bass\"\n"},
        {pattern + "  lead h4\n", "line 6: \"h4\" is no step: write ., -, x, 1 to 9 or notes like c#4\n"},
        {pattern + "  lead c4:0\n", "line 6: \"c4:0\" is no step: after the notes only :1 to :9 may follow\n"},
        {pattern + "  lead - c4\n", "line 6: the row of \"lead\" must begin with a note or a rest\n"},
        {pattern + "  lead c4 c4 c4 c4 c4 c4 c4\nsection s 0\nplay 8 p\n",
         "line 5: pattern \"p\": 7 steps of \"lead\" do not divide 4 beats evenly\n"},
        {pattern + "pattern p 4\n", "line 6: there is a pattern \"p\" already\n"},
        {HEAD + "play 4 p\n", "line 5: a section must come before the first play\n"},
        {HEAD + "section s 0\nplay 8 q\n", "line 6: there is no pattern \"q\"\n"},
        {"length 8\n", "line 1: tempo and length must be given\n"},
    };
    for (const auto& [text, error] : cases) EXPECT_EQ(errorOf(text), error);
}

TEST(Score, MissingFileIsNamed) {
    Score score;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(readScore("no/such.score", score));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[! no/such.score] cannot be read\n");
}
