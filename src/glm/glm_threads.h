// glm_threads.h - work that several threads share
#pragma once

#include <atomic>
#include <cstddef>

// Calls work(data, worker) on up to `count` threads at once, with worker numbers from 0, which is the caller's own,
// and returns when all have ended. Where a thread cannot be had, fewer take part: the work is to be such that each
// takes what is left of it.
void __glmRunThreads(unsigned count, void (*work)(void* data, unsigned worker), void* data);

// How many threads `wanted` of a caller means; 0 is as many as there are processors.
unsigned __glmThreadCount(unsigned wanted, std::size_t pieces);

// Calls function(piece, worker) for each piece from 0 to pieces - 1 on that many threads.
template <typename Function>
void __glmShare(unsigned threads, std::size_t pieces, Function function) {
    struct Share {
        Function& function;
        std::size_t pieces;
        std::atomic<std::size_t> next{0};
    };
    Share share{.function = function, .pieces = pieces};
    const auto work = [](void* data, unsigned worker) {
        Share& mine = *static_cast<Share*>(data);
        for (std::size_t piece; (piece = mine.next.fetch_add(1)) < mine.pieces;) mine.function(piece, worker);
    };
    __glmRunThreads(threads, work, &share);
}
