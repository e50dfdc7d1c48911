// The sound library through its interface, on SDL's drivers that need no hardware.
#include "child.h"
#include "fmod.h"
#include "mp3_stream.h"
#include "noise.h"

#include <SDL.h>
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The test's own definitions come before those in the libraries.
int allocationsLeft = -1;  // below 0: any number
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
bool deviceHangs = false;
void SDL_CloseAudioDevice(SDL_AudioDeviceID device) {
    while (deviceHangs) pause();
    reinterpret_cast<decltype(&SDL_CloseAudioDevice)>(dlsym(RTLD_NEXT, "SDL_CloseAudioDevice"))(device);
}

namespace {

constexpr unsigned int STREAM = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM, MS = FMOD_TIMEUNIT_MS;
constexpr const char* NO_DEVICE = "sound: no audio device, playing silently\n";

struct Player {
    FMOD_SYSTEM* system = nullptr;
    FMOD_SOUND* sound = nullptr;
    FMOD_CHANNEL* channel = nullptr;

    FMOD_RESULT start(const char* driver) {
        setenv("SDL_AUDIODRIVER", driver, 1);
        if (const FMOD_RESULT made = FMOD_System_Create(&system); made != FMOD_OK) return made;
        return FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr);
    }
    FMOD_RESULT open(const std::string& path) {
        return FMOD_System_CreateSound(system, path.c_str(), STREAM, nullptr, &sound);
    }
    FMOD_RESULT play() { return FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, 0, &channel); }
    unsigned int position() const {
        unsigned int position = ~0U;
        EXPECT_EQ(FMOD_Channel_GetPosition(channel, &position, MS), FMOD_OK);
        return position;
    }
    void smooth(double ms) const {
        expectSmooth(ms, [&] { return static_cast<double>(position()); });
    }
    void seek(unsigned int ms) const {
        const Clock::time_point before = Clock::now();
        EXPECT_EQ(FMOD_Channel_SetPosition(channel, ms, MS), FMOD_OK);
        EXPECT_GE(position(), ms);
        EXPECT_LT(position(), ms + msSince(before) + TOLERANCE_MS);
    }
    void standsStill(unsigned int ms) const {
        for (int i = 0; i < 100; ++i, usleep(1000)) ASSERT_EQ(position(), ms);
    }
};

TEST(Sound, PositionIsInTimeThroughPausesSeeksAndTheEnd) {
    const TempDir folder;
    const std::string tune = noiseMp3(folder, "tune.mp3", 6, 44100, 2),
                      other = noiseMp3(folder, "other.mp3", 2, 22050, 1);
    for (const char* driver : {"dummy", "nonexistent"}) {
        Player player;
        ASSERT_EQ(player.start(driver), FMOD_OK);
        ASSERT_EQ(player.open(tune), FMOD_OK);
        unsigned int length = 0;
        EXPECT_EQ(FMOD_Sound_GetLength(player.sound, &length, MS), FMOD_OK);
        EXPECT_EQ(length, 6000U);
        ASSERT_EQ(player.play(), FMOD_OK);
        player.smooth(3000);
        FMOD_Channel_SetPaused(player.channel, 1);
        player.standsStill(player.position());
        for (const unsigned int target : {2222U, 5999U, 0U, 17U}) {
            player.seek(target);
            player.standsStill(target);
        }
        FMOD_BOOL paused = 0;
        FMOD_Channel_GetPaused(player.channel, &paused);
        EXPECT_EQ(paused, 1);
        FMOD_Channel_SetPaused(player.channel, 0);
        player.smooth(300);
        for (const unsigned int target : {3000U, 1U, 4567U, 4568U}) {
            player.seek(target);
            player.smooth(100);
        }
        player.seek(length - 50);
        usleep(100000);
        player.standsStill(length);
        EXPECT_EQ(FMOD_Channel_SetPosition(player.channel, length + 1, MS), FMOD_ERR_POSITION);
        player.seek(5000);
        player.smooth(100);
        ASSERT_EQ(player.open(other), FMOD_OK);  // of another format, so on another device
        ASSERT_EQ(player.play(), FMOD_OK);
        EXPECT_LT(player.position(), 100U);
        player.smooth(300);
    }
}

// SDL's disk driver records what it gets; its silence goes.
std::vector<std::int16_t> recorded(const std::string& path, std::size_t channels) {
    constexpr std::size_t REQUEST = 256;  // frames; larger ones are multiples
    const std::string bytes = run("cat " + path).output;
    std::vector<std::int16_t> samples;
    std::vector<std::int16_t> block(REQUEST * channels);
    for (std::size_t at = 0; at + block.size() * 2 <= bytes.size(); at += block.size() * 2) {
        std::memcpy(block.data(), bytes.data() + at, block.size() * 2);
        if (std::any_of(block.begin(), block.end(), [](std::int16_t sample) { return sample != 0; }))
            samples.insert(samples.end(), block.begin(), block.end());
    }
    return samples;
}

TEST(Sound, PlaysTheDecodedFileSampleForSample) {
    for (const auto& [rate, channels] : {std::pair{44100, 2}, std::pair{48000, 1}, std::pair{8000, 2}}) {
        const TempDir folder;
        const std::string path = noiseMp3(folder, "tune.mp3", 12, rate, channels),
                          disk = folder.path() / "recording.raw";
        Mp3Stream whole;
        ASSERT_EQ(openMp3(path.c_str(), whole), Mp3Open::Ok);
        std::vector<std::int16_t> stream(static_cast<std::size_t>(whole.frames * channels));
        for (std::size_t at = 0; at < stream.size();)
            at += static_cast<std::size_t>(readMp3(whole, std::span(stream).subspan(at)) * channels);
        setenv("SDL_DISKAUDIOFILE", disk.c_str(), 1);
        setenv("SDL_DISKAUDIODELAY", "4", 1);
        Player player;
        ASSERT_EQ(player.start("disk"), FMOD_OK);
        ASSERT_EQ(player.open(path), FMOD_OK);
        ASSERT_EQ(player.play(), FMOD_OK);
        const auto waitForMore = [&](int ms) {
            const auto target =
                std::filesystem::file_size(disk) + static_cast<std::uintmax_t>(rate * channels * 2 / 1000 * ms);
            for (int i = 0; i < 6000 && std::filesystem::file_size(disk) < target; ++i) usleep(10000);
        };
        waitForMore(500);
        FMOD_Channel_SetPaused(player.channel, 1);
        waitForMore(250);
        FMOD_Channel_SetPaused(player.channel, 0);
        waitForMore(500);
        constexpr unsigned int TARGETS[] = {4567, 17, 9999, 10777};
        for (const unsigned int target : TARGETS) {
            // Comes while the decoder is at work on another.
            FMOD_Channel_SetPosition(player.channel, 3210, MS);
            usleep(target % 1000);
            FMOD_Channel_SetPosition(player.channel, target, MS);
            waitForMore(250);
        }
        waitForMore(2000);

        const std::vector<std::int16_t> heard = recorded(disk, static_cast<std::size_t>(channels));
        // The last bit of a sample depends on what the decoder has decoded before.
        const auto same = [](std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; };
        const auto from = [&](unsigned int ms) {
            return stream.begin() + (rate * static_cast<long>(ms) + 999) / 1000 * channels;
        };
        const long second = rate * channels;
        ASSERT_GT(heard.size(), stream.size() / 4);
        EXPECT_TRUE(std::equal(heard.begin(), heard.begin() + second * 3 / 4, stream.begin(), same))
            << "across the pause";
        for (const unsigned int target : TARGETS)
            EXPECT_NE(std::search(heard.begin(), heard.end(), from(target), from(target) + second / 8, same),
                      heard.end())
                << target;
        EXPECT_NE(std::search(heard.begin(), heard.end(), from(TARGETS[3]), stream.end(), same), heard.end())
            << "the end";
    }
}

TEST(Sound, FilesThatCannotBePlayedGiveACode) {
    const TempDir folder;
    const std::string mp3 = run("cat " + noiseMp3(folder, "tune.mp3", 2, 44100, 2)).output;
    const std::string path = folder.path();
    const std::pair<std::string, FMOD_RESULT> files[] = {
        {folder.write("empty.mp3", ""), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("zeros.mp3", std::string(200000, '\0')), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("cut.mp3", mp3.substr(0, 300)), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("tag.mp3", std::string("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "TIT2"), FMOD_ERR_FILE_NOT_MP3},
        {"/proc/self/mem", FMOD_ERR_FILE_UNREADABLE},
        {path, FMOD_ERR_FILE_UNREADABLE},
        {path + "/none.mp3", FMOD_ERR_FILE_NOT_FOUND},
        {path + "/empty.mp3/none.mp3", FMOD_ERR_FILE_NOT_FOUND},
    };
    Player player;
    ASSERT_EQ(player.start("dummy"), FMOD_OK);
    for (const auto& [name, code] : files) EXPECT_EQ(player.open(name), code) << name;
    // Broken on its way: it plays what there is, and the position goes on.
    for (const std::string& bytes :
         {mp3.substr(0, mp3.size() / 2), mp3.substr(0, 9000) + std::string(3000, '\0') + mp3.substr(9000)}) {
        ASSERT_EQ(player.open(folder.write("tune.mp3", bytes)), FMOD_OK);
        ASSERT_EQ(player.play(), FMOD_OK);
        std::filesystem::resize_file(folder.path() / "tune.mp3", 3000);
        player.seek(500);
        player.smooth(200);
    }
}

TEST(Sound, WrongArgumentsGiveACodeAndEveryCodeHasASentence) {
    std::set<std::string> sentences;  // one code more than there are: the sentence for all unknown ones
    for (int code = FMOD_OK; code <= FMOD_ERR_RESOURCES + 1; ++code)
        sentences.insert(FMOD_ErrorString(static_cast<FMOD_RESULT>(code)));
    EXPECT_EQ(sentences.size(), static_cast<std::size_t>(FMOD_ERR_RESOURCES) + 2);
    EXPECT_STREQ(FMOD_ErrorString(FMOD_ERR_FILE_NOT_FOUND), "The file was not found.");
    Player player;
    unsigned int number = 7;
    EXPECT_EQ(FMOD_System_Create(nullptr), FMOD_ERR_PARAMETER);
    ASSERT_EQ(FMOD_System_Create(&player.system), FMOD_OK);
    EXPECT_EQ(player.open("none.mp3"), FMOD_ERR_NOT_INITIALIZED);
    EXPECT_EQ(FMOD_System_Init(player.system, 0, FMOD_INIT_NORMAL, nullptr), FMOD_ERR_PARAMETER);
    EXPECT_EQ(FMOD_System_Init(player.system, 1, 1, nullptr), FMOD_ERR_UNSUPPORTED);
    EXPECT_EQ(player.play(), FMOD_ERR_NULL_HANDLE);
    EXPECT_EQ(FMOD_Channel_GetPosition(nullptr, &number, MS), FMOD_ERR_NULL_HANDLE);
    EXPECT_EQ(FMOD_Channel_SetPaused(nullptr, 1), FMOD_ERR_NULL_HANDLE);
    EXPECT_EQ(number, 7U);
}

TEST(Sound, ExhaustedMemoryGivesACode) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, "tune.mp3", 1, 44100, 2);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    Player player;
    int failures = 0;
    const auto tried = [&](const std::function<FMOD_RESULT()>& call) {
        FMOD_RESULT result = FMOD_ERR_RESOURCES;
        for (int count = 0; result == FMOD_ERR_RESOURCES && count < 100; ++count, ++failures) {
            allocationsLeft = count;
            result = call();
            allocationsLeft = -1;
        }
        EXPECT_EQ(result, FMOD_OK);
    };
    tried([&] { return FMOD_System_Create(&player.system); });
    tried([&] { return FMOD_System_Init(player.system, 1, FMOD_INIT_NORMAL, nullptr); });
    tried([&] { return FMOD_System_CreateSound(player.system, path.c_str(), STREAM, nullptr, &player.sound); });
    tried([&] { return player.play(); });
    EXPECT_GE(failures, 4 + 4);
    player.smooth(200);
}

TEST(Sound, ExitEndsAPlayingSoundThoughTheDeviceHangsAndAMissingDeviceIsOneLine) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, "tune.mp3", 2, 44100, 2);
    for (const char* driver : {"dummy", "alsa", "nonexistent"})
        for (const bool hanging : {false, true}) {
            const ChildResult result = runInChild([&] {
                deviceHangs = hanging;
                Player player;
                if (player.start(driver) != FMOD_OK || player.open(path) != FMOD_OK || player.play() != FMOD_OK)
                    exit(1);
                usleep(100000);
            });
            EXPECT_EQ(result.status, 0) << driver << ", signal " << result.signal;
            EXPECT_EQ(result.output + result.errors, *driver == 'd' ? "" : NO_DEVICE);
        }
}

TEST(SharedObject, ExportsTheInterfaceAloneUnderItsRelativeName) {
    EXPECT_EQ(run("nm -D --defined-only libs/libfmodex.so | grep -c ' T FMOD_'").output, "11\n");
    EXPECT_EQ(run("nm -D --defined-only libs/libfmodex.so | grep -vc ' T FMOD_'").output, "0\n");
    EXPECT_EQ(run("readelf -d libs/libfmodex.so | grep -c 'soname: .libs/libfmodex.so.'").output, "1\n");
}

}  // namespace
