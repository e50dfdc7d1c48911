// The sound library on real sound servers, with sinks that nobody hears.
#include "player.h"
#include "sync.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr double CLOSE_MS = 20;  // machines do other things too
constexpr int TRIES = 5;         // an overloaded machine disturbs some

std::string nameOf(SoundServer::Kind kind) { return kind == SoundServer::PulseAudio ? "PulseAudio" : "PipeWire"; }

// Plays clicks.
class Clicks : TempDir, public Player {
public:
    explicit Clicks(int seconds) {
        const std::string tune = path() / "clicks.mp3";
        makeClicks(tune, seconds);
        EXPECT_EQ(play(tune), FMOD_OK);
    }
};

// Are the clicks of the next seconds, all but one, heard where the position says?
testing::AssertionResult inStep(const Player& player, const SoundServer& server, const std::string& sink) {
    std::vector<double> errors;
    for (int i = 0; i < TRIES; ++i) {
        const Monitor monitor(server, sink);
        const std::vector<Poll> polls = pollPosition(3, [&] { return player.position(); });
        errors = clickErrors(monitor.recording(), polls);
        const auto close = std::ranges::count_if(errors, [](double error) { return std::abs(error) < CLOSE_MS; });
        if (std::ssize(errors) >= 4 && close >= std::ssize(errors) - 1) return testing::AssertionSuccess();
    }
    testing::AssertionResult failure = testing::AssertionFailure() << errors.size() << " clicks heard, off by";
    for (const double error : errors) failure << ' ' << error;
    return failure << " ms";
}

struct Sink {
    SoundServer::Kind kind;
    std::string options;  // of a sink that is added; empty: none is
    int awayMs = 0;
};

void PrintTo(const Sink& sink, std::ostream* out) { *out << sink.options << ' ' << sink.awayMs << " ms away"; }

class ServerSink : public testing::TestWithParam<Sink> {};

TEST_P(ServerSink, PlaysInStepThroughPauseSeekAndEnd) {
    const auto& [kind, options, awayMs] = GetParam();
    SoundServer server(kind), far(kind);
    if (!server.missing().empty()) GTEST_SKIP() << server.missing();
    if (awayMs > 0) far.start();
    server.start();
    if (awayMs > 0) server.addTunnel("away", far, awayMs);
    if (!options.empty()) server.addSink("other", options);
    const SoundServer& ears = awayMs > 0 ? far : server;
    const std::string sink = options.empty() ? "heard" : "other";

    const Clicks player(60);
    EXPECT_TRUE(inStep(player, ears, sink));

    FMOD_Channel_SetPaused(player.channel, 1);
    player.standsStill(player.position());
    usleep(static_cast<unsigned int>(awayMs + 600) * 1000);  // until what is on its way has been heard
    const Monitor monitor(ears, sink);
    usleep(700000);
    EXPECT_TRUE(monitor.recording().onsets().empty()) << "paused";
    FMOD_Channel_SetPaused(player.channel, 0);
    EXPECT_TRUE(inStep(player, ears, sink));

    for (const unsigned int target : {40000U, 10000U}) {
        player.seek(target);
        EXPECT_TRUE(inStep(player, ears, sink));
    }
    player.seek(59900);
    usleep(static_cast<unsigned int>(awayMs + 1000) * 1000);
    player.standsStill(60000);
}

INSTANTIATE_TEST_SUITE_P(Sinks, ServerSink,
                         testing::Values(Sink{SoundServer::PulseAudio, ""}, Sink{SoundServer::PipeWire, ""},
                                         Sink{SoundServer::PulseAudio, "rate=48000 channels=6"},
                                         Sink{SoundServer::PipeWire, "rate=96000 channels=6"},
                                         Sink{SoundServer::PulseAudio, "rate=96000 channels=1"},
                                         Sink{SoundServer::PipeWire, "rate=48000 channels=1"},
                                         Sink{SoundServer::PulseAudio, "", 200},
                                         Sink{SoundServer::PulseAudio, "", 500}),
                         [](const auto& sink) {
                             std::string name = nameOf(sink.param.kind);
                             for (const char letter : sink.param.options + "_" + std::to_string(sink.param.awayMs))
                                 name += std::isalnum(static_cast<unsigned char>(letter)) ? letter : '_';
                             return name;
                         });

struct Trouble {
    const char* what;
    std::function<void(SoundServer&)> begin, end;
    const char* sink = "heard";  // where the sound is afterwards
};

const Trouble TROUBLES[] = {
    {"killed_and_started_again", [](auto& server) { server.end(); }, [](auto& server) { server.start(); }},
    {"hangs", [](auto& server) { server.suspend(true); }, [](auto& server) { server.suspend(false); }},
    {"sink_suspended", [](auto& server) { server.control("suspend-sink heard 1"); },
     [](auto& server) { server.control("suspend-sink heard 0"); }},
    {"another_default", [](auto& server) { server.addSink("other", "rate=96000"); }, [](auto&) {}, "other"},
    {"sink_removed", [](auto& server) { server.control("unload-module " + server.heardModule()); },
     [](auto& server) { server.addSink("new", "rate=48000"); }, "new"},
};

void PrintTo(const Trouble& trouble, std::ostream* out) { *out << trouble.what; }

class ServerInTrouble : public testing::TestWithParam<std::tuple<SoundServer::Kind, Trouble>> {};

TEST_P(ServerInTrouble, DoesNotStopTheTimeAndTheSoundComesBack) {
    const auto& [kind, trouble] = GetParam();
    SoundServer server(kind);
    if (!server.missing().empty()) GTEST_SKIP() << server.missing();
    server.start();
    const Clicks player(100);
    EXPECT_TRUE(inStep(player, server, "heard"));
    trouble.begin(server);
    player.smooth(2500);
    trouble.end(server);
    player.smooth(1000);
    EXPECT_TRUE(inStep(player, server, trouble.sink));
}

INSTANTIATE_TEST_SUITE_P(Servers, ServerInTrouble,
                         testing::Combine(testing::Values(SoundServer::PulseAudio, SoundServer::PipeWire),
                                          testing::ValuesIn(TROUBLES)),
                         [](const auto& info) {
                             return nameOf(std::get<0>(info.param)) + "_" + std::get<1>(info.param).what;
                         });

class Server : public testing::TestWithParam<SoundServer::Kind> {};

TEST_P(Server, TakesTheTuneWithoutAGapOrAClick) {
    constexpr int RATE = 48000, CHANNELS = 2;
    SoundServer server(GetParam());
    if (!server.missing().empty()) GTEST_SKIP() << server.missing();
    server.start(RATE);
    const TempDir folder;
    const std::string tune = noiseMp3(folder, 8, RATE);
    const std::vector<std::int16_t> stream = decoded(tune);
    Player player;
    long same = 0;
    for (int i = 0; i < TRIES && same < std::ssize(stream) / 2; ++i) {
        const Monitor monitor(server, "heard", RATE, CHANNELS);
        ASSERT_EQ(player.play(tune), FMOD_OK);
        usleep(5500000);
        const std::vector<std::int16_t> taken = monitor.recording().samples;
        const auto near = [](int a, int b) { return std::abs(a - b) <= 2; };
        const auto first =
            std::search(taken.begin(), taken.end(), stream.begin() + 2000, stream.begin() + 2200, near);
        same = std::mismatch(first, taken.end(), stream.begin() + 2000, stream.end(), near).first - first;
    }
    EXPECT_GE(same, std::ssize(stream) / 2);
}

INSTANTIATE_TEST_SUITE_P(Servers, Server, testing::Values(SoundServer::PulseAudio, SoundServer::PipeWire),
                         [](const auto& kind) { return nameOf(kind.param); });

}  // namespace
