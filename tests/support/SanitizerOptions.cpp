// SPDX-License-Identifier: MIT

#if defined(__SANITIZE_THREAD__)

/// What the thread sanitizer can't know, because Qt itself is not built with it.
extern "C" const char *__tsan_default_suppressions() {
    // A thread's record in Qt is freed with the last object made on it, counted by an atomic counter inside
    // Qt.
    return "race:QWaitCondition::~QWaitCondition\n";
}

#endif
