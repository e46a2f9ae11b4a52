#include "tests/support/waits.h"

#include <cerrno>
#include <cstring>
#include <semaphore.h>
#include <unistd.h>

namespace varn::test {

Waits waits;

} // namespace varn::test

using varn::test::waits;

extern "C" {

int usleep(useconds_t us) {
    waits.slept_us += us;
    if (us > waits.longest_us)
        waits.longest_us = us;
    if (auto *hook = waits.on_usleep.load(); hook != nullptr)
        hook();
    sched_yield();
    return 0;
}

unsigned sleep(unsigned seconds) {
    waits.seconds += seconds;
    if (auto *hook = waits.on_sleep.load(); hook != nullptr)
        hook();
    sched_yield();
    return 0;
}

time_t time(time_t *out) noexcept {
    time_t now = waits.now;
    if (now == 0) {
        timespec real = {};
        clock_gettime(CLOCK_REALTIME, &real);
        now = real.tv_sec;
    }
    if (out != nullptr)
        *out = now;
    return now;
}

/// A post that is already there is taken; any other wait is over at once.
int sem_timedwait(sem_t *semaphore, const timespec *deadline) {
    waits.deadline_s = deadline->tv_sec;
    waits.deadline_ns = deadline->tv_nsec;
    if (sem_trywait(semaphore) == 0)
        return 0;
    errno = ETIMEDOUT;
    return -1;
}

int gethostname(char *name, size_t size) noexcept {
    strncpy(name, "ravelin", size);
    return 0;
}
}
