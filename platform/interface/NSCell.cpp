// SPDX-License-Identifier: MIT
#include "platform/interface/NSCell.h"

#include <QWidget>

void NSCell::setBackgroundStyle(NSBackgroundStyle style) {
    m_backgroundStyle = style;
    if (!m_controlView)
        return;
    m_controlView->update();
    // Parts of it may draw the text.
    for (QWidget *part : m_controlView->findChildren<QWidget *>())
        part->update();
}
