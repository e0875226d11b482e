// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QWidget>

/// What a view and those inside it draw, on white.
inline QImage rendered(QWidget &widget, double pixelRatio = 1) {
    QImage picture(widget.size() * pixelRatio, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(pixelRatio);
    picture.fill(Qt::white);
    widget.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
    return picture;
}
