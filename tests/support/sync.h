// sync.h - how far a play position is from what is heard
//
// Both are taken at clicks: short loud noises in an otherwise silent tune.
#pragma once

#include "sound_server.h"

#include <functional>
#include <string>
#include <vector>

// Makes an mp3 file of clicks at these seconds, in ascending order.
void makeClicks(const std::string& path, double seconds, const std::vector<double>& clicks);
// One at each multiple of CLICK_MS but 0.
constexpr double CLICK_MS = 500;
void makeClicks(const std::string& path, double seconds);

// A position in milliseconds and when it was so, in monotonic nanoseconds.
struct Poll {
    double ns;
    double ms;
};

struct Polls {
    std::vector<Poll> polls;
    double worstStepMs = 0;  // by which a position was off the one before and the time between
};

// Asks for the position each millisecond.
Polls pollPosition(double seconds, const std::function<unsigned int()>& position);

// Position minus what is heard, in milliseconds, for each click at a multiple of CLICK_MS that was recorded while the
// position was polled.
std::vector<double> clickErrors(const Recording& recording, const std::vector<Poll>& polls);
