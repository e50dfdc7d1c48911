#include "frame_writer.h"

#include "screenshot.h"

#include <signal.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

struct Frame {
    Screenshot shot;
    std::string filename, line;
    int level = 0;
};

// A ring. The caller's thread owns the places from handedOver up to written + RYL_FRAMES_AT_ONCE, the writer's those from
// written up to handedOver.
struct Queue {
    std::array<Frame, RYL_FRAMES_AT_ONCE> frames;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t handedOver = 0, written = 0;  // frames, from the start; guarded by the mutex
    bool over = false;                        // guarded by the mutex
    std::thread writer;                       // none where the system has no thread to give

    Frame& place(std::size_t number) { return frames[number % frames.size()]; }
};

Queue& theQueue() {
    static Queue queue;
    return queue;
}

void writeFrame(const Frame& frame) {
    ryl_writeScreenshot(frame.shot, frame.filename.c_str(), frame.level);
    std::printf("%s\n", frame.line.c_str());
}

void writeFrames(Queue& queue) {
    std::unique_lock lock(queue.mutex);
    for (;;) {
        queue.changed.wait(lock, [&] { return queue.over || queue.written != queue.handedOver; });
        if (queue.written == queue.handedOver) return;
        const Frame& frame = queue.place(queue.written);
        lock.unlock();
        writeFrame(frame);
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

void stopWriter() {
    Queue& queue = theQueue();
    {
        const std::lock_guard lock(queue.mutex);
        queue.over = true;
    }
    queue.changed.notify_all();
    queue.writer.join();
}

// Signals are left to the other threads, so that none interrupts the writing of a file.
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

bool startWriter(Queue& queue) try {
    const SignalsBlocked blocked;
    queue.writer = std::thread(writeFrames, std::ref(queue));
    // The queue is older than what is registered here, so it is destroyed later.
    std::atexit(stopWriter);
    return true;
} catch (const std::system_error&) {
    return false;
}

// Where there is no memory for one picture more, one at a time may do.
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
    static const bool hasWriter = startWriter(queue);
    waitForFrames(queue, queue.frames.size() - 1);
    Frame& frame = queue.place(queue.handedOver);
    readBack(queue, frame, width, height);
    frame.filename = filename;
    frame.line = line;
    frame.level = level;
    if (!hasWriter) {
        writeFrame(frame);
        return;
    }
    {
        const std::lock_guard lock(queue.mutex);
        ++queue.handedOver;
    }
    queue.changed.notify_all();
}

void ryl_finishFrames(void) { waitForFrames(theQueue(), 0); }
