// The sound library through its interface, without a sound server.
#include "child.h"
#include "player.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr const char* NO_DEVICE = "sound: no audio device, playing silently\n";
constexpr unsigned int MS = FMOD_TIMEUNIT_MS;
// An output that takes ten seconds to close: it waits for its command to end.
constexpr const char* HANGS =
    R"(type file format raw file "|exec >/dev/null 2>&1; cat; exec sleep 10" slave.pcm { type null })";

// ALSA's configuration for this process: `output` is its default output, and there is no other.
void setAlsa(const TempDir& folder, const std::string& output) {
    setenv("ALSA_CONFIG_PATH", folder.write("asound.conf", "pcm.!default { " + output + " }\n").c_str(), 1);
    setenv("RYL_SOUND", "alsa", 1);
}

TEST(Sound, PositionIsInTimeThroughPausesSeeksAndTheEnd) {
    const TempDir folder;
    const std::string tune = noiseMp3(folder, 6), other = noiseMp3(folder, 2, 22050, 1);
    setAlsa(folder, "type null");
    for (const char* driver : {"none", "alsa"}) {
        setenv("RYL_SOUND", driver, 1);
        Player player;
        ASSERT_EQ(player.play(tune), FMOD_OK);
        player.smooth(3000);
        FMOD_Channel_SetPaused(player.channel, 1);
        player.standsStill(player.position());
        player.seek(2222);
        player.standsStill(2222);
        FMOD_BOOL paused = 0;
        FMOD_Channel_GetPaused(player.channel, &paused);
        EXPECT_EQ(paused, 1);
        FMOD_Channel_SetPaused(player.channel, 0);
        for (const unsigned int target : {3000U, 1U, 4567U, 0U}) {
            player.seek(target);
            player.smooth(200);
        }
        unsigned int length = 0;
        EXPECT_EQ(FMOD_Sound_GetLength(player.sound, &length, MS), FMOD_OK);
        EXPECT_EQ(length, 6000U);
        player.seek(length - 50);
        usleep(200000);
        player.standsStill(length);
        EXPECT_EQ(FMOD_Channel_SetPosition(player.channel, length + 1, MS), FMOD_ERR_POSITION);
        player.seek(5000);
        player.smooth(100);
        ASSERT_EQ(player.play(other), FMOD_OK);  // of another format, so on another device
        EXPECT_LT(player.position(), 100U);
        player.smooth(300);
    }
}

// The frames that are not silent.
std::vector<std::int16_t> sounding(const std::vector<std::int16_t>& samples, int channels) {
    std::vector<std::int16_t> frames;
    for (auto frame = samples.begin(); frame + channels <= samples.end(); frame += channels)
        if (std::any_of(frame, frame + channels, [](int sample) { return sample != 0; }))
            frames.insert(frames.end(), frame, frame + channels);
    return frames;
}

// Plays, pauses and seeks. What should have been heard must stand in the file that ALSA has written.
testing::AssertionResult writesWhatIsDecoded(int rate, int channels) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, 12, rate, channels), disk = folder.path() / "recording.raw";
    setAlsa(folder, "type file format raw slave.pcm { type null } file " + disk);
    Player player;
    if (player.play(path) != FMOD_OK) return testing::AssertionFailure() << "it does not play";
    const long second = long{rate} * channels;
    const auto record = [&](long ms) {
        const auto size = [&] { return static_cast<long>(std::filesystem::file_size(disk)); };
        const long target = size() + second * 2 / 1000 * ms;
        for (int i = 0; i < 6000 && size() < target; ++i) usleep(10000);
    };
    record(500);
    FMOD_Channel_SetPaused(player.channel, 1);
    const unsigned int stand = player.position();
    record(250);
    FMOD_Channel_SetPaused(player.channel, 0);
    if (const unsigned int now = player.position(); now != stand)
        return testing::AssertionFailure() << "paused at " << stand << " ms, resumed at " << now;
    record(500);
    constexpr long TARGETS[] = {4567, 17, 9999, 10777};
    for (const long target : TARGETS) {
        FMOD_Channel_SetPosition(player.channel, 3210, MS);
        usleep(static_cast<unsigned int>(target) % 1000);  // the decoder is at work on this one
        FMOD_Channel_SetPosition(player.channel, static_cast<unsigned int>(target), MS);
        record(250);
    }
    record(2000);

    const std::vector<std::int16_t> stream = decoded(path);
    const std::string bytes = readFile(disk);
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    const std::vector<std::int16_t> heard = sounding(samples, channels);
    const auto placeOf = [&](long ms, long count) {
        const auto from = stream.begin() + (rate * ms + 999) / 1000 * channels;
        const auto part = sounding({from, from + std::min(count, stream.end() - from)}, channels);
        return std::search(heard.begin(), heard.end(), part.begin(), part.end(), sameSample) - heard.begin();
    };
    if (const auto place = placeOf(0, second * 3 / 4); place != 0)
        return testing::AssertionFailure() << "a gap or a repeat around the pause; the start is at " << place;
    for (const long target : TARGETS)
        if (placeOf(target, target == TARGETS[3] ? 2 * second : second / 8) == std::ssize(heard))
            return testing::AssertionFailure() << target << " ms is not heard";
    return testing::AssertionSuccess();
}

// A process that is held up loses frames, and should, so two tries of three may fail.
TEST(Sound, PlaysTheDecodedFileSampleForSample) {
    for (const auto& [rate, channels] : {std::pair{44100, 2}, std::pair{48000, 1}, std::pair{8000, 2}}) {
        testing::AssertionResult result = writesWhatIsDecoded(rate, channels);
        for (int i = 0; i < 2 && !result; ++i) result = writesWhatIsDecoded(rate, channels);
        EXPECT_TRUE(result) << rate;
    }
}

TEST(Sound, GivesACodeForWhatItCannotPlayAndPlaysOnWhereAFileBreaksOff) {
    const TempDir folder;
    const std::string mp3 = readFile(noiseMp3(folder, 2)), path = folder.path();
    setenv("RYL_SOUND", "none", 1);
    Player player;
    EXPECT_EQ(player.open(path), FMOD_ERR_NULL_HANDLE);
    EXPECT_EQ(FMOD_System_Create(&player.system), FMOD_OK);
    EXPECT_EQ(player.open(path), FMOD_ERR_NOT_INITIALIZED);
    EXPECT_EQ(FMOD_System_Init(player.system, 1, 1, nullptr), FMOD_ERR_UNSUPPORTED);
    EXPECT_EQ(FMOD_Channel_SetPaused(player.channel, 1), FMOD_ERR_NULL_HANDLE);
    const std::pair<std::string, FMOD_RESULT> files[] = {
        {folder.write("empty.mp3", ""), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("zeros.mp3", std::string(200000, '\0')), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("cut.mp3", mp3.substr(0, 300)), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("tag.mp3", std::string("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "TIT2"), FMOD_ERR_FILE_NOT_MP3},
        {"/proc/self/mem", FMOD_ERR_FILE_UNREADABLE},
        {path, FMOD_ERR_FILE_UNREADABLE},
        {path + "/none.mp3", FMOD_ERR_FILE_NOT_FOUND},
    };
    for (const auto& [name, code] : files) {
        EXPECT_EQ(player.play(name), code) << name;
        EXPECT_STRNE(FMOD_ErrorString(code), FMOD_ErrorString(static_cast<FMOD_RESULT>(99)));
    }
    EXPECT_STREQ(FMOD_ErrorString(FMOD_ERR_FILE_NOT_FOUND), "The file was not found.");
    ASSERT_EQ(player.play(folder.write("hole.mp3", mp3.substr(0, 9000) + std::string(3000, '\0') + mp3.substr(9000))),
              FMOD_OK);
    std::filesystem::resize_file(folder.path() / "hole.mp3", 15000);
    player.seek(1000);
    player.smooth(300);
}

// A server that takes every call and answers none.
std::string muteServer(const TempDir& folder) {
    const std::string path = folder.path() / "mute";
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int mute = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(mute, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(mute, 8), 0);
    return "unix:" + path;
}

TEST(Sound, PlaysAndEndsThoughTheDeviceIsMissingOrHangs) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, 2), mute = muteServer(folder);
    const struct {
        const char *sound, *alsa, *server;
        std::string line;
    } cases[] = {
        {"none", "", "unix:/none", ""},
        {"alsa", HANGS, "unix:/none", ""},
        {"alsa", "type hw card 99", "unix:/none", NO_DEVICE},
        {"", "type hw card 99", "unix:/none", NO_DEVICE},
        {"pulse", "", mute.c_str(), NO_DEVICE},
        {"loud", HANGS, "unix:/none", "sound: RYL_SOUND is \"loud\", not pulse, alsa or none: taking the default\n"},
    };

    for (const auto& [sound, alsa, server, line] : cases) {
        const ChildResult result = runInChild([&, sound = sound, alsa = alsa, server = server] {
            setAlsa(folder, alsa);
            setenv("RYL_SOUND", sound, 1);
            setenv("PULSE_SERVER", server, 1);
            const Clock::time_point began = Clock::now();
            Player player;
            if (player.play(path) != FMOD_OK || msSince(began) > 10000) exit(1);
            player.smooth(300);
            if (testing::Test::HasFailure()) exit(2);
        });
        EXPECT_EQ(result.status, 0) << sound << ", " << alsa << ", signal " << result.signal;
        EXPECT_EQ(result.output + result.errors, line);
    }
}

TEST(SharedObject, ExportsTheInterfaceAloneUnderItsRelativeName) {
    EXPECT_EQ(
        run("nm -D --defined-only libs/libfmodex.so | awk '{ print $2, substr($3, 1, 5) }' | sort | uniq -c").output,
        "     11 T FMOD_\n");
    EXPECT_EQ(run("readelf -d libs/libfmodex.so | grep -c 'soname: .libs/libfmodex.so.'").output, "1\n");
}

}  // namespace
