// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Interrupts.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <initializer_list>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t received = 0;
volatile std::sig_atomic_t wakeDescriptor = -1;

void note(int number) {
    const int before = errno;
    if (received == 0)
        received = number;
    const std::uint64_t one = 1;
    (void)!::write(wakeDescriptor, &one, sizeof one);
    errno = before;
}

void nothing(int) {
}

void handle(int number, void (*handler)(int), int flags) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(number, &action, nullptr);
}

} // namespace

void Interrupts::install(int eventDescriptor) {
    wakeDescriptor = eventDescriptor;
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        handle(number, note, int(SA_RESETHAND));
    // Handlers, not SIG_IGN: that would be handed on to every program that is started.
    handle(SIGPIPE, nothing, 0);
    handle(SIGXFSZ, nothing, 0);
}

int Interrupts::signal() {
    return received;
}
