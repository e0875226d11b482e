// SPDX-License-Identifier: MIT
#include "platform/images/NSImageRep.h"

#include "platform/images/ImageReading.h"

using namespace zr;

QList<std::shared_ptr<NSImageRep>> NSImageRep::imageRepsWithData(const QByteArray &data,
                                                                 const QSize &atLeast) {
    return representationsInData(data, atLeast);
}

QSizeF NSImageRep::size() const {
    const std::lock_guard lock(m_mutex);
    return m_size;
}

void NSImageRep::setSize(const QSizeF &size) {
    const std::lock_guard lock(m_mutex);
    m_size = size;
}
