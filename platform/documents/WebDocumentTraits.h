// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

/// What can be told of a document from its markup alone, in one pass and on the safe side: a "no" is certain.
/// Any thread.
namespace WebDocumentTraits {

/// Whether fonts may be loaded for it.
bool mayLoadFonts(QStringView markup);

/// Whether something of it may outlive its replacement by another document in the same page: policies and
/// preferences that meta elements declare, frames, focus, scheduled reloads.
bool mayLeaveTraces(QStringView markup);

/// Whether it may replace itself by another document after a while.
bool mayReload(QStringView markup);
/// The markup with the meta elements that reload it made harmless.
QString withoutReloads(QStringView markup);

/// Whether it may look different at another address: it refers to something other than by absolute links,
/// data URLs and fragments in styles.
bool mayDependOnAddress(QStringView markup);

} // namespace WebDocumentTraits
