// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSCell.h"

#include <QLabel>

namespace zr {

/// A text that can't be edited, set off as its cell's background style says. Markup is text.
class FieldLabel : public QLabel {
public:
    FieldLabel(const NSCell &cell, QWidget *parent) : QLabel(parent), m_cell(cell) {
        setTextFormat(Qt::PlainText);
    }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const NSCell &m_cell;
};

} // namespace zr
