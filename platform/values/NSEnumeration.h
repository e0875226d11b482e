// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QSet>

/// Raises NSGenericException: a collection was changed while it was being enumerated.
[[noreturn]] void NSEnumerationMutation();

/// A collection as it was when its enumeration began, and whether it has changed since.
///
/// Blocks that are called in the middle of an enumeration may hold the collection and change it. The elements
/// come from a copy (which shares the collection's memory), so nothing dangles, and verify(), called after
/// each block, raises as soon as the collection is no longer what is being enumerated. For the containers of
/// values any access that asks for writing counts as a change, a `list[i]` on a variable that isn't const
/// too: read with at(). Own collections count their changes in mutationCount(). The collection must outlive
/// the enumeration.
template <typename Collection>
class NSEnumeration {
public:
    explicit NSEnumeration(const Collection &live) : m_live(live), m_elements(live) {
        if constexpr (CountsMutations)
            m_mutations = live.mutationCount();
    }

    /// What is being enumerated.
    const Collection &elements() const { return m_elements; }

    /// Raises NSGenericException when the collection has changed.
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
            return !m_live.isSharedWith(m_elements);
        else
            return m_live.cbegin() != m_elements.cbegin(); // iterators of different sets are never equal
    }

    const Collection &m_live;
    const Collection m_elements;
    quint64 m_mutations = 0;
};
