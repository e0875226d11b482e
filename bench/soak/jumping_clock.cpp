// SPDX-License-Identifier: MIT
// Preloaded by services and their browsers, tells them another time of day: that of the system and as many seconds as stand in the
// file that ZR_SOAK_CLOCK names, which may change at any time. The clock that only goes forward is left alone, as it is when a
// system's time is set. libfaketime guards its offset with a semaphore that all its processes share: one that is killed in the wrong
// moment stops the others for ever.
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const volatile std::int64_t *offset = nullptr;

__attribute__((constructor)) void open() {
    const char *const path = std::getenv("ZR_SOAK_CLOCK");
    const int file = path ? ::open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0)
        return;
    void *const page = ::mmap(nullptr, sizeof *offset, PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    if (page != MAP_FAILED)
        offset = static_cast<const std::int64_t *>(page);
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec *time) noexcept {
    const int result = int(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && offset && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec += *offset;
    return result;
}

int gettimeofday(timeval *time, void *) noexcept {
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    *time = {.tv_sec = now.tv_sec, .tv_usec = now.tv_nsec / 1000};
    return result;
}

time_t time(time_t *time) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (time)
        *time = now.tv_sec;
    return now.tv_sec;
}
}
