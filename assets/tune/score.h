// score.h - the score: which instrument plays which note when, read from a text file
//
// The format is described at the head of tune.score. Errors end the reading with one line that names file,
// line and what was expected; nothing is played from a score with an error.
#pragma once

#include <string>
#include <vector>

// One mixer channel.
struct Track {
    std::string name, instrument;
    float gainDb = 0, pan = 0;    // pan from -1 (left) to 1
    float delay = 0, reverb = 0;  // send levels, 0..1
    float duck = 0;               // how far the kick presses it down, 0..1
    bool ducks = false;           // presses the others down
};

// One note to play.
struct Note {
    int track;       // index into Score::tracks
    double start;    // seconds from the start of the tune
    double length;   // seconds until it is let go
    float pitch;     // semitones, 69 is 440 Hz; 60 for instruments without pitch
    float velocity;  // 0..1
    float from;      // pitch that the note slides from; its own when it does not slide
};

struct Section {
    std::string name;
    double start;  // seconds
};

struct Score {
    std::string title, artist, album, year;
    double beatsPerMinute = 0;
    double length = 0;  // seconds
    float masterGainDb = 0;
    std::vector<Track> tracks;
    std::vector<Section> sections;
    std::vector<Note> notes;  // in order of the score, not of time
};

// Returns false after a line on standard error if the file cannot be read or has an error.
bool readScore(const std::string& path, Score& score);
