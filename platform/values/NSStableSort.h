// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <algorithm>
#include <utility>

/// Sorts a list; equal elements stay in their order. `compare(a, b)` answers below 0, 0 or above 0.
///
/// A merge sort in n log n steps that stays within the list whatever `compare` answers, unlike the standard
/// library's: blocks of callers may contradict themselves. What `compare` raises passes through; the list
/// then holds moved-from elements. Any thread.
template <typename T, typename Compare>
void NSStableSort(QList<T> &list, Compare compare) {
    const qsizetype count = list.size();
    QList<T> other(count);
    T *from = list.data();
    T *to = other.data();
    for (qsizetype width = 1; width < count; width += width) {
        for (qsizetype start = 0; start < count; start += 2 * width) {
            const qsizetype middle = std::min(start + width, count);
            const qsizetype end = std::min(middle + width, count);
            qsizetype left = start, right = middle;
            for (qsizetype at = start; at < end; ++at) {
                const bool takesRight =
                    right < end &&
                    (left == middle || compare(std::as_const(from[left]), std::as_const(from[right])) > 0);
                to[at] = std::move(from[takesRight ? right++ : left++]);
            }
        }
        std::swap(from, to);
    }
    if (from != list.data())
        list.swap(other);
}
