#include "tracks.h"

#include "live.h"
#include "number.h"
#include "system.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace {

enum class Curve { step, linear, smooth, ramp };
constexpr std::string_view CURVES[] = {"step", "linear", "smooth", "ramp"};  // in the order of Curve

struct Row {
    double time;  // seconds
    float value;
    Curve curve;  // to the next row
};

struct Track {
    std::vector<Row> rows = {};  // by time
    std::size_t at = 0;          // the row that was asked for last
    std::string file = {};       // where it comes from
};

struct HashName {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
};
using Tracks = std::unordered_map<std::string, Track, HashName, std::equal_to<>>;

Tracks tracks;

// ---- Reading a file -----------------------------------------------------------------------------------------------

struct Reader {
    Tracks found = {};
    Track* track = nullptr;  // the one whose rows come
    double unit = 1;         // of times, seconds
};

using Words = std::vector<std::string>;

Words wordsOf(const std::string& line) {
    std::istringstream stream(line);
    Words words{std::istream_iterator<std::string>(stream), {}};
    const auto comment =
        std::find_if(words.begin(), words.end(), [](const std::string& word) { return word.front() == '#'; });
    words.erase(comment, words.end());
    return words;
}

std::optional<double> numberOf(const std::string& word) {
    double number = 0;
    const bool whole = ryl_numberAt(word, number) == word.data() + word.size();
    return whole && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

// These read one line each and return what is wrong with it; an empty string if nothing is.

std::string readTempo(Reader& reader, const Words& words) {
    constexpr double SECONDS = 60;
    const std::optional<double> beats = words.size() == 2 ? numberOf(words[1]) : std::nullopt;
    if (!beats || *beats <= 0) return "\"tempo\" takes the number of beats a minute";
    reader.unit = SECONDS / *beats;
    return "";
}

std::string startTrack(Reader& reader, const Words& words) {
    if (words.size() != 2) return "\"track\" takes a name of one word";
    const auto [found, isNew] = reader.found.try_emplace(words[1]);
    reader.track = &found->second;
    return isNew ? "" : "the track \"" + words[1] + "\" is already there";
}

std::string readRow(Reader& reader, const Words& words) {
    const std::optional<double> time = numberOf(words[0]);
    if (!time || !std::isfinite(*time * reader.unit)) return "\"" + words[0] + "\" is no time and no statement";
    if (words.size() < 2 || words.size() > 3) return "a row is a time, a value and perhaps a curve";
    const std::optional<double> value = numberOf(words[1]);
    if (!value || !std::isfinite(static_cast<float>(*value))) return "\"" + words[1] + "\" is no value";
    const std::string curve = words.size() == 3 ? words[2] : std::string(CURVES[0]);
    const auto* const known = std::find(std::begin(CURVES), std::end(CURVES), curve);
    if (known == std::end(CURVES)) return "\"" + curve + "\" is none of step, linear, smooth, ramp";
    if (reader.track == nullptr) return "this row is in no track";
    std::vector<Row>& rows = reader.track->rows;
    const double seconds = *time * reader.unit;
    if (!rows.empty() && seconds <= rows.back().time) return "the time " + words[0] + " is not after the one before";
    rows.push_back({seconds, static_cast<float>(*value), static_cast<Curve>(known - std::begin(CURVES))});
    return "";
}

std::string readLine(Reader& reader, const Words& words) {
    if (words.empty()) return "";
    if (words[0] == "tempo") return readTempo(reader, words);
    if (words[0] == "track") return startTrack(reader, words);
    return readRow(reader, words);
}

std::string atLine(const std::string& path, int line, const std::string& wrong) {
    return "[! " + path + "] line " + std::to_string(line) + ": " + wrong;
}

// Returns the message if the file is missing or wrong; all tracks are as before then.
std::string readTracks(const std::string& path) {
    const std::optional<std::string> text = ryl_readFile(path.c_str());
    if (!text) return "[! " + path + "] file not found.";
    Reader reader;
    std::istringstream lines(*text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string wrong = readLine(reader, wordsOf(line));
        if (!wrong.empty()) return atLine(path, number, wrong);
    }
    if (reader.found.empty()) return "[! " + path + "] there is no track in it";
    std::erase_if(tracks, [&](const auto& entry) { return entry.second.file == path; });
    for (auto& [name, track] : reader.found) {
        track.file = path;
        tracks.insert_or_assign(name, std::move(track));
    }
    return "";
}

// ---- Values -------------------------------------------------------------------------------------------------------

// Part of the way to the next row, both 0 to 1.
double shareOf(Curve curve, double f) {
    switch (curve) {
    case Curve::step:
        return 0;
    case Curve::linear:
        return f;
    case Curve::smooth:
        return f * f * (3 - 2 * f);
    case Curve::ramp:
        break;
    }
    return f * f;
}

// The number of rows that begin at t or before, from `first` on.
std::size_t rowsUntil(const std::vector<Row>& rows, double t) {
    const auto after =
        std::upper_bound(rows.begin(), rows.end(), t, [](double at, const Row& row) { return at < row.time; });
    return static_cast<std::size_t>(after - rows.begin());
}

bool isCurrent(const std::vector<Row>& rows, std::size_t at, double t) {
    return at + 1 < rows.size() && rows[at].time <= t && t < rows[at + 1].time;
}

float valueAt(Track& track, double t) {
    const std::vector<Row>& rows = track.rows;
    if (rows.empty()) return 0;
    if (t < rows.front().time) return rows.front().value;
    // Time mostly goes on a little.
    if (!isCurrent(rows, track.at, t))
        track.at = isCurrent(rows, track.at + 1, t) ? track.at + 1 : rowsUntil(rows, t) - 1;
    const Row& from = rows[track.at];
    if (track.at + 1 == rows.size()) return from.value;
    const Row& to = rows[track.at + 1];
    const double share = shareOf(from.curve, (t - from.time) / (to.time - from.time));
    return static_cast<float>(from.value + (static_cast<double>(to.value) - from.value) * share);
}

Track& missingTrack(std::string_view name) {
    std::printf("[/] there is no track \"%s\"\n", std::string(name).c_str());
    return tracks[std::string(name)];
}

}  // namespace

void ryl_loadTracks(const char* path) {
    const std::string wrong = readTracks(path);
    if (!wrong.empty()) {
        std::puts(wrong.c_str());
        std::exit(-1);
    }
    ryl_reloadOnSave({path}, [path = std::string(path)] { return readTracks(path); });
}

float ryl_track(std::string_view name, double t) {
    const auto found = tracks.find(name);
    return valueAt(found != tracks.end() ? found->second : missingTrack(name), t);
}
