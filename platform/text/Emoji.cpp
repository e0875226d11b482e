// SPDX-License-Identifier: MIT
#include "platform/text/Emoji.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

bool zr::isEmoji(QStringView cluster) {
    bool isPicture = false;
    for (qsizetype i = 0; i < cluster.size();) {
        UChar32 character;
        U16_NEXT(cluster.utf16(), i, cluster.size(), character);
        if (character == 0xFE0E)
            return false;
        isPicture |= character == 0xFE0F || u_hasBinaryProperty(character, UCHAR_EMOJI_PRESENTATION);
    }
    return isPicture;
}
