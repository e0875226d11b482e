// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What can be told of a document from its markup alone, on the safe side: a "no" is certain, whatever a
/// parser makes of the rest. Any thread.
namespace zr::WebDocumentTraits {

/// Whether fonts may be loaded for it.
bool mayLoadFonts(const QString &markup);

/// Whether something of it may outlive its replacement by another document in the same page: policies and
/// preferences that meta elements declare, frames, focus, scheduled reloads.
bool mayLeaveTraces(const QString &markup);

/// Whether it may replace itself by another document after a while.
bool mayReload(const QString &markup);
/// The markup with the meta elements that reload it made harmless.
QString withoutReloads(const QString &markup);

/// Whether it may look different at another address: it refers to something other than by absolute links,
/// data URLs and fragments in styles.
bool mayDependOnAddress(const QString &markup);

} // namespace zr::WebDocumentTraits
