// The reading rules against the C library's formatted input, which they stand for.
#include "glm/glm_text.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

constexpr int TEXTS = 400;
constexpr int TEXT_LENGTH = 600;

struct Both {
    explicit Both(const std::string& path) : file(std::fopen(path.c_str(), "r")) {
        EXPECT_TRUE(__glmOpenText(path.c_str(), text));
    }
    ~Both() { std::fclose(file); }
    // A failed conversion may have eaten a sign in one reader and not in the other.
    void meetAgain() { text.at = text.begin + std::ftell(file); }

    std::FILE* file;
    GLMtext text{};
};

void compareToken(Both& both) {
    char expected[GLM_TOKEN_SIZE] = "", got[GLM_TOKEN_SIZE] = "";
    const bool any = std::fscanf(both.file, "%127s", expected) == 1;
    ASSERT_EQ(__glmReadToken(both.text, got), any);
    ASSERT_STREQ(got, expected);
}

void compareLine(Both& both) {
    char expected[GLM_TOKEN_SIZE] = "", got[GLM_TOKEN_SIZE] = "";
    if (std::fgets(expected, sizeof expected, both.file) == nullptr) expected[0] = '\0';
    __glmReadLine(both.text, got, sizeof got);
    ASSERT_STREQ(got, expected);
}

void compareFloat(Both& both) {
    float expected = -7, got = -7;
    const bool any = std::fscanf(both.file, "%f", &expected) == 1;
    ASSERT_EQ(__glmReadFloat(both.text, got), any);
    ASSERT_EQ(got, expected);
    if (!any) both.meetAgain();
}

void compareInteger(Both& both) {
    long long expected = -7;
    std::int64_t got = -7;
    const bool any = std::fscanf(both.file, "%lld", &expected) == 1;
    const bool inRange = expected >= INT32_MIN && expected <= UINT32_MAX;
    ASSERT_EQ(__glmReadInteger(both.text, got), any && inRange);
    if (any && inRange) {
        ASSERT_EQ(got, expected);
    } else {
        both.meetAgain();
    }
}

}  // namespace

TEST(Text, RandomTextReadsAsTheCLibraryReadsIt) {
    constexpr char ALPHABET[] = "0123456789012345678901234567890.+-/vfg#\\  \t\r\n";
    constexpr void (*COMPARE[])(Both&) = {compareToken, compareLine, compareFloat, compareInteger};
    const TempDir folder;
    std::mt19937 random(1);
    for (int i = 0; i < TEXTS; ++i) {
        std::string bytes;
        // Few line ends in some texts, so that lines and tokens pass 127 characters.
        const std::size_t letters = std::strlen(ALPHABET) - (i % 2 == 0 ? 0 : 6);
        while (bytes.size() < TEXT_LENGTH) bytes += ALPHABET[random() % letters];
        Both both(folder.write("random.txt", bytes));
        while (both.text.at < both.text.end) ASSERT_NO_FATAL_FAILURE(COMPARE[random() % 4](both)) << bytes;
    }
}

TEST(Text, RareNumbersReadAsTheCLibraryReadsThem) {
    const TempDir folder;
    for (const char* number :
         {"+1.5", "1e5", "-1E-3", "1e999", "-1e999", "1e-999", "1e-40", "0x1.8p3", "inf", "-infinity",
          "3.4028235677973366e38", "16777217", "0.1000000089406967163", ".5", "5.", "+-1", "."}) {
        Both both(folder.write("number.txt", number));
        EXPECT_NO_FATAL_FAILURE(compareFloat(both)) << number;
        EXPECT_EQ(both.text.at - both.text.begin, std::ftell(both.file)) << number;
    }
}

TEST(Text, NulBytesEndACStringButNotTheText) {
    const TempDir folder;
    GLMtext text{};
    ASSERT_TRUE(__glmOpenText(folder.write("nul.txt", std::string("a\0b c\0\n7", 8)).c_str(), text));
    char token[GLM_TOKEN_SIZE];
    ASSERT_TRUE(__glmReadToken(text, token));
    EXPECT_STREQ(token, "a");
    __glmReadLine(text, token, sizeof token);
    EXPECT_STREQ(token, " c");
    std::int64_t number = 0;
    EXPECT_TRUE(__glmReadInteger(text, number));
    EXPECT_EQ(number, 7);
    EXPECT_FALSE(__glmReadToken(text, token));
}
