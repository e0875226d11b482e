// SPDX-License-Identifier: MIT
#include "tools/designer/WidgetIcon.h"

#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace {

const QColor ink(70, 70, 70);
const QColor line(150, 150, 150);
const QColor fill(198, 221, 240);

void drawText(QPainter &painter, const QPointF &place, const QString &text) {
    QFont font = painter.font();
    font.setPixelSize(12);
    painter.setFont(font);
    painter.setPen(ink);
    painter.drawText(place, text);
}

void drawFrame(QPainter &painter, const QRectF &frame, double radius = 0) {
    painter.setPen(line);
    painter.drawRoundedRect(frame, radius, radius);
}

void drawView(QPainter &painter) {
    painter.setBrush(fill);
    drawFrame(painter, QRectF(2.5, 4.5, 18, 14), 3);
    painter.fillRect(QRectF(4, 7, 15, 1), ink);
}

void drawSplitView(QPainter &painter) {
    painter.fillRect(QRectF(3, 5, 6, 13), fill);
    drawFrame(painter, QRectF(2.5, 4.5, 18, 14));
    painter.fillRect(QRectF(9, 5, 1, 13), ink);
}

void drawTextField(QPainter &painter) {
    painter.setBrush(Qt::white);
    drawFrame(painter, QRectF(1.5, 6.5, 20, 11), 2);
    drawText(painter, QPointF(4, 16), QStringLiteral("ab"));
}

void drawTextEditorField(QPainter &painter) {
    painter.setBrush(Qt::white);
    drawFrame(painter, QRectF(2.5, 2.5, 18, 18), 2);
    for (const int width : {12, 14, 8})
        painter.fillRect(QRectF(5, 20 - width, width, 1), ink);
}

void drawLabel(QPainter &painter) {
    drawText(painter, QPointF(3, 16), QStringLiteral("Aa"));
}

void drawWindow(QPainter &painter) {
    painter.setBrush(Qt::white);
    drawFrame(painter, QRectF(2.5, 3.5, 18, 16), 2);
    painter.fillRect(QRectF(3, 4, 17, 4), fill);
}

} // namespace

QIcon zr::widgetIcon(const QString &className) {
    static const QHash<QString, void (*)(QPainter &)> pictures{
        {QStringLiteral("ZRView"), drawView},
        {QStringLiteral("ZRSplitView"), drawSplitView},
        {QStringLiteral("ZRTextField"), drawTextField},
        {QStringLiteral("ZRTextEditorField"), drawTextEditorField},
        {QStringLiteral("ZRLabel"), drawLabel},
        {QStringLiteral("ZRWindow"), drawWindow},
    };
    const auto draw = pictures.value(className);
    if (!draw)
        return {};
    QIcon icon;
    for (const int scale : {1, 2}) {
        QPixmap pixmap(QSize(22, 22) * scale);
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
