#include "frame_writer.h"

#include "screenshot.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

struct Frame {
    Screenshot shot;
    std::string filename, line;
    int level = 0;
};

constexpr std::size_t WRITERS = 2;  // on a graphics card compressing takes longer than drawing

// Compressing gives way to drawing, and fills the gaps where the renderer uses fewer processors than there are.
constexpr int WRITER_NICENESS = 19;

// A ring. The calling thread owns the places from handedOver up to written + RYL_FRAMES_AT_ONCE; the writers own
// those from written up to taken.
struct Queue {
    std::array<Frame, RYL_FRAMES_AT_ONCE> frames;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t handedOver = 0, taken = 0, written = 0;  // frames, from the start; guarded by the mutex
    bool over = false;                                   // guarded by the mutex
    std::vector<std::thread> writers;                    // none if the system has no thread to give

    Frame& place(std::size_t number) { return frames[number % frames.size()]; }
};

Queue& theQueue() {
    static Queue queue;
    return queue;
}

void writeFrame(const Frame& frame, const CompressedPng& png) {
    ryl_writeScreenshot(frame.shot, png, frame.filename.c_str(), frame.level);
    std::printf("%s\n", frame.line.c_str());
}

// Each writer compresses one frame alone and then waits for its turn to write it.
void writeFrames(Queue& queue) {
    [[maybe_unused]] const int niceness = nice(WRITER_NICENESS);  // on Linux that of this thread and those it starts
    std::unique_lock lock(queue.mutex);
    for (;;) {
        queue.changed.wait(lock, [&] { return queue.over || queue.taken != queue.handedOver; });
        if (queue.taken == queue.handedOver) return;
        const std::size_t number = queue.taken++;
        const Frame& frame = queue.place(number);
        lock.unlock();
        const CompressedPng png = ryl_compressScreenshot(frame.shot, frame.level);
        lock.lock();
        queue.changed.wait(lock, [&] { return queue.written == number; });
        lock.unlock();
        writeFrame(frame, png);
        lock.lock();
        ++queue.written;
        queue.changed.notify_all();
    }
}

// Returns once at most `count` frames are on their way.
void waitForFrames(Queue& queue, std::size_t count) {
    std::unique_lock lock(queue.mutex);
    queue.changed.wait(lock, [&] { return queue.handedOver - queue.written <= count; });
}

void stopWriters() {
    Queue& queue = theQueue();
    {
        const std::lock_guard lock(queue.mutex);
        queue.over = true;
    }
    queue.changed.notify_all();
    for (std::thread& writer : queue.writers) writer.join();
}

// Threads started under this get no signals, so that none interrupts the writing of a file.
struct SignalsBlocked {
    sigset_t before;

    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
};

// Returns whether there is at least one.
bool startWriters(Queue& queue) {
    const SignalsBlocked blocked;
    // The queue was made before this is registered, so it is destroyed after stopWriters has run.
    std::atexit(stopWriters);
    try {
        queue.writers.reserve(WRITERS);
        while (queue.writers.size() < WRITERS) queue.writers.emplace_back(writeFrames, std::ref(queue));
    } catch (const std::system_error&) {
        return !queue.writers.empty();
    }
    return true;
}

// If there is no memory for one more picture, there may be enough for one at a time.
void readBack(Queue& queue, Frame& frame, int width, int height) {
    ryl_readScreenshot(width, height, frame.shot);
    if (frame.shot.bytes) return;
    waitForFrames(queue, 0);
    for (Frame& other : queue.frames) other.shot = {};
    ryl_readScreenshot(width, height, frame.shot);
}

}  // namespace

void ryl_handOverFrame(int width, int height, const std::string& filename, int level, const std::string& line) {
    Queue& queue = theQueue();
    static const bool hasWriter = startWriters(queue);
    waitForFrames(queue, queue.frames.size() - 1);
    Frame& frame = queue.place(queue.handedOver);
    readBack(queue, frame, width, height);
    frame.filename = filename;
    frame.line = line;
    frame.level = level;
    if (!hasWriter) {
        writeFrame(frame, ryl_compressScreenshot(frame.shot, level));
        return;
    }
    {
        const std::lock_guard lock(queue.mutex);
        ++queue.handedOver;
    }
    queue.changed.notify_all();
}

void ryl_finishFrames(void) { waitForFrames(theQueue(), 0); }
