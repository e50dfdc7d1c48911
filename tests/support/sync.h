// sync.h - how far a play position is from what is heard, by clicks in a silent tune
#pragma once

#include "sound_server.h"

#include <functional>
#include <string>
#include <vector>

// Makes an mp3 file with clicks at these seconds, in ascending order.
void makeClicks(const std::string& path, double seconds, const std::vector<double>& clicks);
// With one at each multiple of CLICK_MS but 0.
constexpr double CLICK_MS = 500;
void makeClicks(const std::string& path, double seconds);

// A position in milliseconds and when it was so, in monotonic nanoseconds.
struct Poll {
    double ns;
    double ms;
};

// Asks for the position each millisecond.
std::vector<Poll> pollPosition(double seconds, const std::function<unsigned int()>& position);

// The position minus what is heard, in milliseconds, for each click that was recorded during the polls.
std::vector<double> clickErrors(const Recording& recording, const std::vector<Poll>& polls);
