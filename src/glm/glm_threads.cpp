#include "glm/glm_threads.h"

#include <pthread.h>

#include <algorithm>
#include <thread>

namespace {

constexpr unsigned MOST_THREADS = 256;

struct Worker {
    void (*work)(void*, unsigned);
    void* data;
    unsigned number;
    pthread_t thread;
};

}  // namespace

// std::thread throws where no thread can be had.
void __glmRunThreads(unsigned count, void (*work)(void*, unsigned), void* data) {
    Worker workers[MOST_THREADS];
    unsigned running = 0;
    for (unsigned i = 1; i < std::min(count, MOST_THREADS); ++i) {
        workers[running] = {.work = work, .data = data, .number = i, .thread = {}};
        const auto start = [](void* worker) -> void* {
            const Worker& mine = *static_cast<Worker*>(worker);
            mine.work(mine.data, mine.number);
            return nullptr;
        };
        if (pthread_create(&workers[running].thread, nullptr, start, &workers[running]) != 0) break;
        ++running;
    }
    work(data, 0);
    for (unsigned i = 0; i < running; ++i) pthread_join(workers[i].thread, nullptr);
}

unsigned __glmThreadCount(unsigned wanted, std::size_t pieces) {
    if (wanted == 0) wanted = std::max(1u, std::thread::hardware_concurrency());
    return static_cast<unsigned>(std::clamp<std::size_t>(pieces, 1, std::min(wanted, MOST_THREADS)));
}
