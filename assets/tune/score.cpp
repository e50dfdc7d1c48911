#include "score.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

using Words = std::vector<std::string>;

constexpr int DEFAULT_VELOCITY = 7, FULL_VELOCITY = 9;
constexpr float PITCH_OF_UNPITCHED = 60.0f;
constexpr double BEAT_TOLERANCE = 1e-6;
constexpr float MAX_TRANSPOSE = 24;

// One step of a row.
struct Step {
    enum class Kind { rest, hold, hit } kind = Kind::rest;
    std::vector<float> pitches;
    int velocity = DEFAULT_VELOCITY;
    bool slides = false;
};

struct Row {
    int track;
    std::vector<Step> steps;
};

struct Pattern {
    double beats = 0;
    int line = 0;
    std::vector<Row> rows;
};

// Patterns played together for some beats.
struct Play {
    struct Use {
        std::string pattern;
        double from;  // beats into the pattern
    };
    double beats;
    float transpose;
    std::vector<Use> uses;
    int line;
};

struct Reader {
    Score& score;
    int line = 0;
    std::map<std::string, Pattern, std::less<>> patterns{};
    std::string pattern{};                   // the one whose rows are being read, or empty
    std::vector<std::vector<Play>> plays{};  // of each section
};

struct ScoreError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A number that takes the whole word and lies in the range.
double number(const std::string& word, double least, double most, const std::string& what) {
    char* end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    if (end == word.c_str() || *end != '\0' || !(value >= least && value <= most)) {
        std::ostringstream text;
        text << what << " must be a number from " << least << " to " << most << ", not \"" << word << "\"";
        throw ScoreError(text.str());
    }
    return value;
}

int findTrack(const Score& score, const std::string& name) {
    for (size_t i = 0; i < score.tracks.size(); ++i)
        if (score.tracks[i].name == name) return static_cast<int>(i);
    throw ScoreError("there is no track \"" + name + "\"");
}

// Reads a note name such as c4, f#2 or bb3 from `at` on; advances `at` past it.
float readPitch(const std::string& word, size_t& at) {
    constexpr std::array<int, 7> SEMITONES = {9, 11, 0, 2, 4, 5, 7};  // a to g above c
    const auto bad = [&] {
        return ScoreError("\"" + word + "\" is no step: write ., -, x, 1 to 9 or notes like c#4");
    };
    if (at >= word.size() || word[at] < 'a' || word[at] > 'g') throw bad();
    int semitone = SEMITONES[static_cast<size_t>(word[at++] - 'a')];
    if (at < word.size() && word[at] == '#')
        ++semitone, ++at;
    else if (at < word.size() && word[at] == 'b')
        --semitone, ++at;
    if (at >= word.size() || word[at] < '0' || word[at] > '8') throw bad();
    return static_cast<float>(semitone + 12 * (word[at++] - '0' + 1));
}

Step readNotes(const std::string& word) {
    Step step;
    step.kind = Step::Kind::hit;
    size_t at = 0;
    if (word[at] == '~') step.slides = true, ++at;
    step.pitches.push_back(readPitch(word, at));
    while (at < word.size() && word[at] == '+') step.pitches.push_back(readPitch(word, ++at));
    if (at < word.size() && word[at] == ':' && at + 2 == word.size() && word[at + 1] >= '1' && word[at + 1] <= '9')
        step.velocity = word[at + 1] - '0';
    else if (at != word.size())
        throw ScoreError("\"" + word + "\" is no step: after the notes only :1 to :9 may follow");
    return step;
}

// A word of single-character steps, such as x..x or 9-3.; or one word of notes.
void appendSteps(const std::string& word, std::vector<Step>& steps) {
    if (word == "|") return;
    if (word.find_first_not_of(".-xX123456789") != std::string::npos) {
        steps.push_back(readNotes(word));
        return;
    }
    for (const char c : word) {
        Step step;
        if (c == '-')
            step.kind = Step::Kind::hold;
        else if (c != '.') {
            step.kind = Step::Kind::hit;
            step.pitches = {PITCH_OF_UNPITCHED};
            step.velocity = c == 'x' ? DEFAULT_VELOCITY : c == 'X' ? FULL_VELOCITY : c - '0';
        }
        steps.push_back(std::move(step));
    }
}

void readRow(Reader& reader, const Words& words) {
    const int track = findTrack(reader.score, words[0]);
    std::vector<Row>& rows = reader.patterns[reader.pattern].rows;
    auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.track == track; });
    if (row == rows.end()) row = rows.insert(rows.end(), Row{track, {}});
    for (size_t i = 1; i < words.size(); ++i) appendSteps(words[i], row->steps);
    if (row->steps.empty() || row->steps[0].kind == Step::Kind::hold)
        throw ScoreError("the row of \"" + words[0] + "\" must begin with a note or a rest");
}

void readTrack(Reader& reader, const Words& words) {
    if (words.size() < 3) throw ScoreError("write: track NAME INSTRUMENT, then pairs such as gain -6");
    Track track{.name = words[1], .instrument = words[2]};
    for (size_t i = 3; i < words.size(); i += 2) {
        const std::string& what = words[i];
        if (what == "ducks") {
            track.ducks = true;
            --i;
            continue;
        }
        if (i + 1 == words.size()) throw ScoreError("\"" + what + "\" needs a number");
        const auto value = [&](double least, double most) {
            return static_cast<float>(number(words[i + 1], least, most, what));
        };
        if (what == "gain")
            track.gainDb = value(-60, 20);
        else if (what == "pan")
            track.pan = value(-1, 1);
        else if (what == "delay")
            track.delay = value(0, 1);
        else if (what == "reverb")
            track.reverb = value(0, 1);
        else if (what == "duck")
            track.duck = value(0, 1);
        else
            throw ScoreError("\"" + what + "\" is none of gain, pan, delay, reverb, duck, ducks");
    }
    reader.score.tracks.push_back(track);
}

void readPattern(Reader& reader, const Words& words) {
    if (words.size() != 3) throw ScoreError("write: pattern NAME BEATS");
    if (!reader.patterns.try_emplace(words[1]).second)
        throw ScoreError("there is a pattern \"" + words[1] + "\" already");
    reader.pattern = words[1];
    reader.patterns[words[1]].line = reader.line;
    reader.patterns[words[1]].beats = number(words[2], 0.25, 1024, "the length in beats");
}

void readSection(Reader& reader, const Words& words) {
    if (words.size() != 3) throw ScoreError("write: section NAME SECONDS");
    const double earliest = reader.score.sections.empty() ? 0 : reader.score.sections.back().start;
    reader.score.sections.push_back({words[1], number(words[2], earliest, 3600, "the start in seconds")});
    reader.plays.emplace_back();
}

void readPlay(Reader& reader, const Words& words) {
    if (reader.plays.empty()) throw ScoreError("a section must come before the first play");
    if (words.size() < 2) throw ScoreError("write: play BEATS [key SEMITONES] PATTERN...");
    Play play{number(words[1], 0, 4096, "the number of beats"), 0, {}, reader.line};
    size_t i = 2;
    if (words.size() > 3 && words[2] == "key") {
        play.transpose = static_cast<float>(number(words[3], -MAX_TRANSPOSE, MAX_TRANSPOSE, "the key"));
        i = 4;
    }
    for (; i < words.size(); ++i) {
        const size_t mark = words[i].find('@');
        const double from =
            mark == std::string::npos ? 0 : number(words[i].substr(mark + 1), 0, 1024, "the beat after @");
        play.uses.push_back({words[i].substr(0, mark), from});
    }
    reader.plays.back().push_back(play);
}

std::string rest(const Words& words) {
    std::string text;
    for (size_t i = 1; i < words.size(); ++i) text += (i > 1 ? " " : "") + words[i];
    return text;
}

void readStatement(Reader& reader, const Words& words) {
    const std::string& what = words[0];
    const auto value = [&](double least, double most) {
        return number(words.size() == 2 ? words[1] : rest(words), least, most, what);
    };
    Score& score = reader.score;
    if (what == "title")
        score.title = rest(words);
    else if (what == "artist")
        score.artist = rest(words);
    else if (what == "album")
        score.album = rest(words);
    else if (what == "year")
        score.year = rest(words);
    else if (what == "tempo")
        score.beatsPerMinute = value(30, 400);
    else if (what == "length")
        score.length = value(1, 3600);
    else if (what == "master")
        score.masterGainDb = static_cast<float>(value(-40, 40));
    else if (what == "track")
        readTrack(reader, words);
    else if (what == "section")
        readSection(reader, words);
    else if (what == "play")
        readPlay(reader, words);
    else
        throw ScoreError("\"" + what + "\" is no statement");
}

void readLine(Reader& reader, const std::string& text) {
    std::istringstream stream(text.substr(0, text.find(" #")));
    Words words;
    for (std::string word; stream >> word;) words.push_back(word);
    if (words.empty() || words[0][0] == '#') return;
    const bool indented = std::isspace(static_cast<unsigned char>(text[0])) != 0;
    if (words[0] == "pattern")
        readPattern(reader, words);
    else if (indented && !reader.pattern.empty())
        readRow(reader, words);
    else {
        reader.pattern.clear();
        readStatement(reader, words);
    }
}

// Adds the notes of one row, repeated until `beats` are over. `start` is the time of the row's beat 0.
void layRow(Reader& reader, const Row& row, const Pattern& pattern, const Play& play, double start, double from) {
    Score& score = reader.score;
    const double beatTime = 60.0 / score.beatsPerMinute;
    const double stepBeats = pattern.beats / static_cast<double>(row.steps.size());
    const auto count = static_cast<long>(row.steps.size());
    const auto stepAt = [&](long i) -> const Step& { return row.steps[static_cast<size_t>(i % count)]; };
    const double end = from + play.beats;
    std::vector<float> previous;
    for (long i = std::lround(std::ceil(from / stepBeats - BEAT_TOLERANCE));
         static_cast<double>(i) * stepBeats < end - BEAT_TOLERANCE; ++i) {
        const Step& step = stepAt(i);
        if (step.kind != Step::Kind::hit) continue;
        long after = i + 1;
        while (stepAt(after).kind == Step::Kind::hold && after % count != 0) ++after;
        const double beat = static_cast<double>(i) * stepBeats;
        const double length = std::min(static_cast<double>(after) * stepBeats, end) - beat;
        for (size_t voice = 0; voice < step.pitches.size(); ++voice) {
            const float pitch = step.pitches[voice] + play.transpose;
            const float slideFrom = step.slides && voice < previous.size() ? previous[voice] + play.transpose : pitch;
            score.notes.push_back({row.track, start + (beat - from) * beatTime, length * beatTime, pitch,
                                   static_cast<float>(step.velocity) / FULL_VELOCITY, slideFrom});
        }
        previous = step.pitches;
    }
}

void laySection(Reader& reader, size_t index) {
    const Score& score = reader.score;
    const double beatTime = 60.0 / score.beatsPerMinute;
    double start = score.sections[index].start;
    for (const Play& play : reader.plays[index]) {
        reader.line = play.line;
        for (const Play::Use& use : play.uses) {
            const auto found = reader.patterns.find(use.pattern);
            if (found == reader.patterns.end()) throw ScoreError("there is no pattern \"" + use.pattern + "\"");
            for (const Row& row : found->second.rows) layRow(reader, row, found->second, play, start, use.from);
        }
        start += play.beats * beatTime;
    }
    const bool last = index + 1 == score.sections.size();
    const double end = last ? score.length : score.sections[index + 1].start;
    const double gap = (start - end) / beatTime;
    if (std::fabs(gap) > 1e-3) {
        std::ostringstream text;
        text << "section \"" << score.sections[index].name << "\" is " << std::fabs(gap) << " beats too "
             << (gap > 0 ? "long" : "short");
        throw ScoreError(text.str());
    }
}

// Every row's steps must share its pattern's length in a way a player could count.
void checkPatterns(Reader& reader) {
    for (const auto& [name, pattern] : reader.patterns)
        for (const Row& row : pattern.rows) {
            reader.line = pattern.line;
            const double stepsPerBeat = static_cast<double>(row.steps.size()) / pattern.beats;
            const double twelfths = 48.0 / stepsPerBeat;
            if (std::fabs(twelfths - std::round(twelfths)) > BEAT_TOLERANCE) {
                std::ostringstream text;
                text << "pattern \"" << name << "\": " << row.steps.size() << " steps of \""
                     << reader.score.tracks[static_cast<size_t>(row.track)].name << "\" do not divide "
                     << pattern.beats << " beats evenly";
                throw ScoreError(text.str());
            }
        }
}

void readAll(Reader& reader, std::istream& file) {
    for (std::string text; std::getline(file, text);) {
        ++reader.line;
        readLine(reader, text);
    }
    if (reader.score.beatsPerMinute == 0 || reader.score.length == 0)
        throw ScoreError("tempo and length must be given");
    checkPatterns(reader);
    for (size_t i = 0; i < reader.score.sections.size(); ++i) laySection(reader, i);
}

}  // namespace

bool readScore(const std::string& path, Score& score) {
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "[! %s] cannot be read\n", path.c_str());
        return false;
    }
    Reader reader{.score = score};
    try {
        readAll(reader, file);
        return true;
    } catch (const ScoreError& error) {
        std::fprintf(stderr, "[! %s] line %d: %s\n", path.c_str(), reader.line, error.what());
        return false;
    }
}
