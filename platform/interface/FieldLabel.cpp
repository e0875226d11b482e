// SPDX-License-Identifier: MIT
#include "platform/interface/FieldLabel.h"

#include <QPainter>
#include <QStyle>

using namespace zr;

void FieldLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const int flags = int(alignment()) | (wordWrap() ? Qt::TextWordWrap : 0);
    const auto draw = [&](const QColor &color, int down) {
        painter.setPen(color);
        style()->drawItemText(&painter, contentsRect().translated(0, down), flags, palette(), isEnabled(),
                              text());
    };
    const QColor own = palette().color(foregroundRole());
    const QColor light(255, 255, 255, 191), dark(0, 0, 0, 191);
    switch (m_cell.backgroundStyle()) {
    case NSBackgroundStyleNormal:
        return draw(own, 0);
    case NSBackgroundStyleDark:
        return draw(Qt::white, 0);
    case NSBackgroundStyleRaised:
        draw(light, 1);
        return draw(own, 0);
    case NSBackgroundStyleLowered:
        draw(dark, -1);
        return draw(Qt::white, 0);
    }
}
