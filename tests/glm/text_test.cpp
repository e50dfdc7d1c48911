// The reading rules against the C library's formatted input, which they stand for.
#include "glm/glm_text.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

// One text, read both ways step by step.
struct Both {
    explicit Both(const std::string& path) : file(std::fopen(path.c_str(), "r")) {
        EXPECT_TRUE(__glmOpenText(path.c_str(), text));
    }
    ~Both() { std::fclose(file); }

    // A failed conversion may have eaten a sign on one side only.
    void meetAgain() { text.at = text.begin + std::ftell(file); }

    void compareToken() {
        char expected[GLM_TOKEN_SIZE] = "", got[GLM_TOKEN_SIZE] = "";
        const bool any = std::fscanf(file, "%127s", expected) == 1;
        ASSERT_EQ(__glmReadToken(text, got), any);
        ASSERT_STREQ(got, expected);
    }
    void compareLine() {
        char expected[GLM_TOKEN_SIZE] = "", got[GLM_TOKEN_SIZE] = "";
        if (std::fgets(expected, sizeof expected, file) == nullptr) expected[0] = '\0';
        __glmReadLine(text, got, sizeof got);
        ASSERT_STREQ(got, expected);
    }
    void compareFloat() {
        float expected = -7, got = -7;
        const bool any = std::fscanf(file, "%f", &expected) == 1;
        ASSERT_EQ(__glmReadFloat(text, got), any);
        ASSERT_EQ(got, expected);
        if (!any) meetAgain();
    }
    void compareInteger() {
        long long expected = -7;
        std::int64_t got = -7;
        const bool any = std::fscanf(file, "%lld", &expected) == 1 && expected >= INT32_MIN && expected <= UINT32_MAX;
        ASSERT_EQ(__glmReadInteger(text, got), any);
        ASSERT_EQ(got, any ? expected : -7);
        if (!any) meetAgain();
    }

    std::FILE* file;
    GLMtext text{};
};

}  // namespace

TEST(Text, RandomTextReadsAsTheCLibraryReadsIt) {
    constexpr char LETTERS[] = "0123456789012345678901234567890.+-/vfg#\\  \t\r\n";
    constexpr void (Both::*COMPARE[])() = {&Both::compareToken, &Both::compareLine, &Both::compareFloat,
                                           &Both::compareInteger};
    const TempDir folder;
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i) {
        // Every other text has no white space: its tokens and lines pass 127 characters.
        const std::size_t letters = std::strlen(LETTERS) - (i % 2 == 0 ? 0 : 6);
        std::string bytes;
        while (bytes.size() < 600) bytes += LETTERS[random() % letters];
        Both both(folder.write("random.txt", bytes));
        while (both.text.at < both.text.end) ASSERT_NO_FATAL_FAILURE((both.*COMPARE[random() % 4])()) << bytes;
    }
}

TEST(Text, RareNumbersReadAsTheCLibraryReadsThem) {
    const TempDir folder;
    for (const char* number :
         {"+1.5", "1e5", "-1E-3", "1e999", "-1e999", "1e-999", "1e-40", "0x1.8p3", "inf", "-infinity",
          "3.4028235677973366e38", "16777217", "0.1000000089406967163", ".5", "5.", "+-1", "."}) {
        Both both(folder.write("number.txt", number));
        EXPECT_NO_FATAL_FAILURE(both.compareFloat()) << number;
        EXPECT_EQ(both.text.at - both.text.begin, std::ftell(both.file)) << number;
    }
}
