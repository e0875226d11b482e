// SPDX-License-Identifier: MIT
// Apart from what else is done with texts, so that a program which fetches none needs no network libraries.
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/net/ContentsOfURL.h"

QString ZRKit::fetch(const AnyText &text) {
    return stringWithData(NSDataWithContentsOfURL(URL(text)));
}
