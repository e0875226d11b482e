// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace zr {

/// A value for a static variable that is made on first use and never destroyed: threads that still run while the
/// process ends may go on using it.
template <typename T>
class NeverDestroyed {
public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments &&...arguments) {
        new (m_storage) T(std::forward<Arguments>(arguments)...);
    }
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;

    T &operator*() { return *std::launder(reinterpret_cast<T *>(m_storage)); }
    const T &operator*() const { return *std::launder(reinterpret_cast<const T *>(m_storage)); }
    T *operator->() { return &**this; }
    const T *operator->() const { return &**this; }

private:
    alignas(T) std::byte m_storage[sizeof(T)];
};

template <typename T>
NeverDestroyed(T) -> NeverDestroyed<T>;

} // namespace zr
