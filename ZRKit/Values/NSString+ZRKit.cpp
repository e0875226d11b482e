// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <QUuid>

namespace ZRKit {

QString uuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

} // namespace ZRKit
