// parallel.h - work that is split between threads
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

// As many as there are processors when `asked` is 0.
inline unsigned threadCount(unsigned asked) {
    return asked > 0 ? asked : std::max(1U, std::thread::hardware_concurrency());
}

// Calls work(0) to work(count - 1), each once, on at most `threads` threads with this one among them; returns when
// all are done. An exception ends the work and is thrown again here.
template <typename Work>
void parallelFor(std::size_t count, unsigned threads, const Work& work) {
    std::atomic<std::size_t> next = 0;
    std::exception_ptr thrown;
    std::mutex throwing;
    const auto takePieces = [&]() noexcept {
        try {
            for (std::size_t i = next++; i < count; i = next++) work(i);
        } catch (...) {
            const std::lock_guard lock(throwing);
            thrown = std::current_exception();
            next = count;
        }
    };
    std::vector<std::thread> others;
    const std::size_t wanted = std::min<std::size_t>(threads, count);
    try {
        while (others.size() + 1 < wanted) others.emplace_back(takePieces);
    } catch (const std::system_error&) {  // where the system gives no more threads, those that there are do the work
    }
    takePieces();
    for (std::thread& other : others) other.join();
    if (thrown) std::rethrow_exception(thrown);
}
