// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCThread.h"

#include <csignal>
#include <pthread.h>
#include <thread>

using namespace zr;

void zr::XPCThreadDetach(const char *name, std::function<void()> function) {
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    // Faults belong to the thread that makes them, and profilers want to see every thread.
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
        sigdelset(&blocked, signal);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    try {
        std::thread thread(std::move(function));
        pthread_setname_np(thread.native_handle(), name);
        thread.detach();
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
