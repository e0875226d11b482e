// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/ConversionDelegate.h"

#include "tools/zrpdf-desktop/window/ConversionRows.h"

#include <QApplication>
#include <QPainter>

namespace {

constexpr int margin = 6;
constexpr int signSize = 16;

QStyle::StandardPixmap signOf(Conversion::State state) {
    switch (state) {
    case Conversion::State::Queued:
        return QStyle::SP_FileIcon;
    case Conversion::State::Converting:
        return QStyle::SP_BrowserReload;
    case Conversion::State::Done:
        return QStyle::SP_DialogApplyButton;
    case Conversion::State::Failed:
        return QStyle::SP_MessageBoxCritical;
    case Conversion::State::Cancelled:
        return QStyle::SP_DialogCancelButton;
    }
    return QStyle::SP_FileIcon;
}

} // namespace

QSize ConversionDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const {
    // Rows are as wide as the list, whatever they hold.
    return {0, 2 * option.fontMetrics.lineSpacing() + 2 * margin};
}

void ConversionDelegate::paint(QPainter *painter, const QStyleOptionViewItem &given,
                               const QModelIndex &index) const {
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    const QStyle *const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    const auto state = Conversion::State(index.data(ConversionRows::StateRole).toInt());
    const QRect inner = option.rect.adjusted(margin, margin, -margin, -margin);
    const QRect sign = QStyle::alignedRect(option.direction, Qt::AlignLeft | Qt::AlignVCenter,
                                           QSize(signSize, signSize), inner);
    style->standardIcon(signOf(state), &option, option.widget).paint(painter, sign);

    const bool isLeftToRight = option.direction == Qt::LeftToRight;
    const int beside = signSize + margin;
    const QRect text = inner.adjusted(isLeftToRight ? beside : 0, 0, isLeftToRight ? 0 : -beside, 0);
    const int line = option.fontMetrics.lineSpacing();
    const auto group = !option.state.testFlag(QStyle::State_Active) ? QPalette::Inactive : QPalette::Active;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const QColor strong =
        option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    QColor weak = strong;
    weak.setAlphaF(0.75F);
    const int alignment = int(Qt::AlignLeft | Qt::AlignVCenter) | Qt::TextSingleLine;
    const auto draw = [&](int top, const QColor &colour, const QString &words, Qt::TextElideMode mode) {
        painter->setPen(colour);
        painter->drawText(QRect(text.left(), top, text.width(), line), alignment,
                          option.fontMetrics.elidedText(words, mode, text.width()));
    };
    painter->save();
    painter->setFont(option.font);
    draw(text.top(), strong, option.text, Qt::ElideMiddle);
    draw(text.top() + line, weak, index.data(ConversionRows::DetailRole).toString(), Qt::ElideRight);
    painter->restore();

    if (option.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.backgroundColor = option.palette.color(isSelected ? QPalette::Highlight : QPalette::Base);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, option.widget);
    }
}
