// mp3_decoder.h - a whole mp3 file as samples, decoded as the player does it
#pragma once

#include <string>
#include <vector>

struct Recording {
    long rate = 0;  // Hz; 0 when the file could not be decoded
    int channels = 0;
    std::string title;
    std::vector<float> left, right;
};

// Reads the file with libmpg123 at its defaults: the encoder's delay and padding are left out.
Recording decodeMp3(const std::string& path);
