// SPDX-License-Identifier: MIT
#include "tests/support/AllocationCount.h"

#include <cstddef>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/allocator_interface.h>
#endif

namespace {

// Constant initialisation: these are used before any constructor has run.
thread_local bool isCounting = false;
thread_local quint64 counted = 0;

void note() {
    counted += isCounting;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Sanitizers have their own functions, and hooks in them.
[[maybe_unused]] const int hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, size_t) { note(); }, [](const volatile void *) {});
#endif

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The C library's functions under their other names. What isn't replaced here isn't used by Qt or new.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *old, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

void *malloc(size_t size) {
    note();
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    note();
    return __libc_calloc(count, size);
}
void *realloc(void *old, size_t size) {
    note();
    return __libc_realloc(old, size);
}
void *aligned_alloc(size_t alignment, size_t size) {
    note();
    return __libc_memalign(alignment, size);
}
}
#endif

AllocationCount::AllocationCount() {
    counted = 0;
    isCounting = true;
}

AllocationCount::~AllocationCount() {
    isCounting = false;
}

quint64 AllocationCount::count() const {
    return counted;
}
