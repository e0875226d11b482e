// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"
#include "platform/values/NSSet.h"

#include <algorithm>

/// Raises NSGenericException: a collection was changed while it was being enumerated.
[[noreturn]] void NSEnumerationMutation();

/// A collection as it was when its enumeration began, and whether it has changed since.
///
/// Blocks that are called in the middle of an enumeration may hold the collection and change it. The elements
/// come from a copy, which shares the collection's memory, so nothing dangles, and verify(), called after
/// each block, raises as soon as the collection holds something else. Qt's containers part from their copy at
/// any access that asks for writing, such as `list[i]` or a loop over a variable that isn't const; then what
/// they hold is compared. Other collections count their changes in mutationCount(). The collection must
/// outlive the enumeration. One thread at a time.
template <typename Collection>
class NSEnumeration {
public:
    explicit NSEnumeration(const Collection &live) : m_live(live), m_elements(live) {
        if constexpr (CountsMutations)
            m_mutations = live.mutationCount();
    }

    /// What is being enumerated.
    const Collection &elements() const { return m_elements; }

    /// Raises NSGenericException if the collection has changed.
    void verify() const {
        if (hasChanged())
            NSEnumerationMutation();
    }

private:
    static constexpr bool CountsMutations = requires(const Collection &c) { c.mutationCount(); };

    bool hasChanged() const {
        if constexpr (CountsMutations)
            return m_live.mutationCount() != m_mutations;
        else if constexpr (requires { m_live.isSharedWith(m_elements); })
            return !m_live.isSharedWith(m_elements) && !holdsTheSame();
        else
            return m_live.cbegin() != m_elements.cbegin() && !holdsTheSame();
    }

    bool holdsTheSame() const {
        if (m_live.size() != m_elements.size())
            return false;
        if constexpr (requires { m_elements.cbegin().key(); }) {
            for (auto at = m_elements.cbegin(); at != m_elements.cend(); ++at) {
                const auto live = m_live.constFind(at.key());
                if (live == m_live.constEnd() || !qHashEquals(live.value(), at.value()))
                    return false;
            }
            return true;
        } else if constexpr (requires {
                                 m_live.contains(*m_elements.cbegin());
                                 m_live.at(0);
                             }) {
            return std::equal(m_live.cbegin(), m_live.cend(), m_elements.cbegin(),
                              [](const auto &a, const auto &b) { return qHashEquals(a, b); });
        } else {
            return m_live == m_elements;
        }
    }

    const Collection &m_live;
    const Collection m_elements;
    quint64 m_mutations = 0;
};
