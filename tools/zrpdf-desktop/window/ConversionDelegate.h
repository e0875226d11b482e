// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

/// Draws a conversion as two lines: what it is, and how it stands, with a sign for that. Main thread.
class ConversionDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
