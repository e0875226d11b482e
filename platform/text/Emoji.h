// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

namespace zr {

/// Whether a cluster of characters, such as one user sees as one, is shown as a coloured picture: by itself
/// (Unicode's Emoji_Presentation), or because a variation selector asks for it; not if one asks for text. Any thread.
bool isEmoji(QStringView cluster);

} // namespace zr
