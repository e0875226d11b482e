// SPDX-License-Identifier: MIT
#include "platform/images/StyledText.h"

#include "platform/text/Emoji.h"
#include "platform/text/NSParagraphStyle.h"
#include "platform/values/Coercion.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

using namespace zr;

namespace {

/// A width that no line has, and that Qt can reckon with.
constexpr double unlimited = 4'000'000;
/// Lines that miss their place by rounding alone still fit.
constexpr double tolerance = 1.0 / 64;

QColor colorOf(const QVariantMap &attributes, const QString &name) {
    const QVariant value = attributes.value(name);
    return value.metaType() == QMetaType::fromType<QColor>() ? value.value<QColor>() : QColor();
}

QFont fontOf(const QVariantMap &attributes) {
    const QVariant value = attributes.value(NSFontAttributeName);
    return value.metaType() == QMetaType::fromType<QFont>() ? value.value<QFont>() : QFont();
}

NSParagraphStyle paragraphStyleOf(const QVariantMap &attributes) {
    const QVariant value = attributes.value(NSParagraphStyleAttributeName);
    if (value.metaType() == QMetaType::fromType<NSMutableParagraphStyle>())
        return value.value<NSMutableParagraphStyle>();
    return value.value<NSParagraphStyle>();
}

QTextCharFormat formatOf(const QVariantMap &attributes) {
    QTextCharFormat format;
    QFont font = fontOf(attributes);
    if (const double kern = doubleValue(attributes.value(NSKernAttributeName)); kern != 0)
        font.setLetterSpacing(QFont::AbsoluteSpacing, kern);
    format.setFont(font);
    const QColor foreground = colorOf(attributes, NSForegroundColorAttributeName);
    format.setForeground(foreground.isValid() ? foreground : QColor(Qt::black));
    if (const QColor color = colorOf(attributes, NSBackgroundColorAttributeName); color.isValid())
        format.setBackground(color);
    if (boolValue(attributes.value(NSUnderlineStyleAttributeName)))
        format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    if (const QColor color = colorOf(attributes, NSUnderlineColorAttributeName); color.isValid())
        format.setUnderlineColor(color);
    format.setFontStrikeOut(boolValue(attributes.value(NSStrikethroughStyleAttributeName)));
    return format;
}

/// The format with the font of coloured pictures before its own, whose pictures may be black and white.
QTextCharFormat inColour(QTextCharFormat format) {
    QFont font = format.font();
    QStringList families = font.families();
    families.prepend(QStringLiteral("Noto Color Emoji"));
    font.setFamilies(families);
    format.setFont(font);
    return format;
}

/// A text's formats, changing between what a user sees as one character only.
QList<QTextLayout::FormatRange> formatsOf(const NSAttributedString &text) {
    QList<QTextLayout::FormatRange> formats;
    const QString string = text.string();
    QTextBoundaryFinder clusters(QTextBoundaryFinder::Grapheme, string);
    QTextCharFormat format;
    bool isPicture = false;
    qsizetype start = 0;
    const QList<NSAttributedString::Run> runs = text.runs();
    auto run = runs.begin();
    for (qsizetype end = clusters.toNextBoundary(); end > 0; start = end, end = clusters.toNextBoundary()) {
        bool isNew = false;
        for (; run != runs.end() && run->range.location <= start; ++run) {
            format = formatOf(run->attributes);
            isNew = true;
        }
        if (const bool picture = isEmoji(QStringView(string).mid(start, end - start)); picture != isPicture) {
            isPicture = picture;
            isNew = true;
        }
        if (isNew)
            formats.append({int(start), 0, isPicture ? inColour(format) : format});
        formats.last().length = int(end) - formats.last().start;
    }
    return formats;
}

/// A paragraph's text without its end, and how it is set.
class Paragraph {
public:
    Paragraph(const NSAttributedString &text, const QVariantMap &attributes)
        : m_text(text), m_style(paragraphStyleOf(attributes)), m_font(fontOf(attributes)) {
        const NSWritingDirection direction = m_style.baseWritingDirection();
        m_isToLeft = direction == NSWritingDirectionNatural ? m_text.string().isRightToLeft()
                                                            : direction == NSWritingDirectionRightToLeft;
    }

    const NSParagraphStyle &style() const { return m_style; }

    /// \param y  where the paragraph begins in the rectangle, and afterwards where it ends
    /// \return false if there is no room for the next line
    bool draw(QPainter &painter, const QRectF &rect, double &y) const {
        QTextLayout layout;
        prepare(layout, isTruncated() ? truncated(widthOf(rect, true)) : withoutHangingSpaces(rect));
        layout.beginLayout();
        bool fits = true;
        for (bool isFirst = true; fits; isFirst = false) {
            QTextLine line = layout.createLine();
            if (!line.isValid())
                break;
            const double width = widthOf(rect, isFirst);
            line.setLineWidth(width);
            if (!isFirst)
                y += std::max(0.0, m_style.lineSpacing());
            fits = y + line.ascent() + line.descent() <= rect.height() + tolerance;
            if (!fits)
                break;
            drawLine(
                painter, line,
                {rect.x() + (m_isToLeft ? rect.width() - width - headIndent(isFirst) : headIndent(isFirst)),
                 rect.y() + y, width, line.ascent() + line.descent()});
            y += line.ascent() + line.descent() + std::max(0.0, line.leading());
        }
        layout.endLayout();
        return fits;
    }

private:
    bool isTruncated() const { return m_style.lineBreakMode() >= NSLineBreakByTruncatingHead; }
    bool isWrapped() const { return m_style.lineBreakMode() <= NSLineBreakByCharWrapping; }

    double headIndent(bool isFirst) const {
        return isFirst ? m_style.firstLineHeadIndent() : m_style.headIndent();
    }
    double widthOf(const QRectF &rect, bool isFirst) const {
        const double tail = m_style.tailIndent();
        return std::max(0.0, (tail > 0 ? tail : rect.width() + tail) - headIndent(isFirst));
    }

    Qt::Alignment alignment() const {
        switch (m_style.alignment()) {
        case NSTextAlignmentLeft:
            return Qt::AlignLeft;
        case NSTextAlignmentRight:
            return Qt::AlignRight;
        case NSTextAlignmentCenter:
            return Qt::AlignHCenter;
        case NSTextAlignmentJustified:
            return Qt::AlignJustify;
        case NSTextAlignmentNatural:
            break;
        }
        return m_isToLeft ? Qt::AlignRight : Qt::AlignLeft;
    }

    void prepare(QTextLayout &layout, const NSAttributedString &text) const {
        QTextOption option(alignment());
        option.setTextDirection(m_isToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(!isWrapped() ? QTextOption::NoWrap
                           : m_style.lineBreakMode() == NSLineBreakByCharWrapping
                               ? QTextOption::WrapAnywhere
                               : QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.setFont(m_font); // of an empty paragraph
        layout.setText(text.string());
        layout.setFormats(formatsOf(text));
    }

    void drawLine(QPainter &painter, const QTextLine &line, const QRectF &place) const {
        if (isWrapped() || line.naturalTextWidth() <= place.width()) {
            line.draw(&painter, place.topLeft() - line.position());
            return;
        }
        // Its beginning is shown, however it is aligned.
        const double overlap = line.naturalTextWidth() - place.width();
        const double aligned = alignment() == Qt::AlignRight     ? -overlap
                               : alignment() == Qt::AlignHCenter ? -overlap / 2
                                                                 : 0;
        painter.save();
        painter.setClipRect(place, Qt::IntersectClip);
        line.draw(&painter,
                  place.topLeft() - line.position() - QPointF(aligned + (m_isToLeft ? overlap : 0), 0));
        painter.restore();
    }

    /// Qt, which hangs spaces at a line's end into the margin, makes justified lines shorter by them if they are
    /// written to the left. They become spaces without a width then.
    NSAttributedString withoutHangingSpaces(const QRectF &rect) const {
        if (!m_isToLeft || !isWrapped() || m_style.alignment() != NSTextAlignmentJustified)
            return m_text;
        const QString string = m_text.string();
        NSMutableAttributedString thinned = m_text;
        QTextLayout layout;
        prepare(layout, m_text);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(widthOf(rect, line.lineNumber() == 0));
            for (qsizetype i = line.textStart() + line.textLength();
                 i > line.textStart() && string.at(i - 1) == u' '; --i)
                thinned.replaceCharactersInRange({i - 1, 1}, QStringLiteral("\u200B"));
        }
        layout.endLayout();
        return thinned;
    }

    double widthOnOneLine(const NSAttributedString &text) const {
        QTextLayout layout;
        prepare(layout, text);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        if (line.isValid())
            line.setLineWidth(unlimited);
        layout.endLayout();
        return line.isValid() ? line.naturalTextWidth() : 0;
    }

    /// As much of the text as fits on a line, with an ellipsis for the rest.
    NSAttributedString truncated(double width) const {
        if (widthOnOneLine(m_text) <= width)
            return m_text;
        const QString string = m_text.string();
        QList<qsizetype> boundaries{0};
        QTextBoundaryFinder clusters(QTextBoundaryFinder::Grapheme, string);
        while (clusters.toNextBoundary() > 0)
            boundaries.append(clusters.position());
        const qsizetype count = boundaries.size() - 1;
        const auto keeping = [&](qsizetype kept) {
            const NSLineBreakMode mode = m_style.lineBreakMode();
            const qsizetype atHead = mode == NSLineBreakByTruncatingTail     ? kept
                                     : mode == NSLineBreakByTruncatingMiddle ? (kept + 1) / 2
                                                                             : 0;
            NSMutableAttributedString shortened = m_text;
            const qsizetype from = boundaries.at(atHead), to = boundaries.at(count - (kept - atHead));
            shortened.replaceCharactersInRange({from, to - from}, QStringLiteral("…"));
            return shortened;
        };
        qsizetype fitting = 0, tooMany = count;
        while (tooMany - fitting > 1) {
            const qsizetype kept = (fitting + tooMany) / 2;
            (widthOnOneLine(keeping(kept)) <= width ? fitting : tooMany) = kept;
        }
        return keeping(fitting);
    }

    const NSAttributedString m_text;
    const NSParagraphStyle m_style;
    const QFont m_font;
    bool m_isToLeft = false;
};

bool endsParagraph(QChar unit) {
    return unit == u'\n' || unit == u'\r' || unit == QChar::ParagraphSeparator;
}

} // namespace

void zr::drawStyledText(QPainter &painter, const QRectF &rect, const NSAttributedString &text) {
    const QString string = text.string();
    double y = 0;
    for (qsizetype start = 0; start < string.size();) {
        const qsizetype end =
            std::find_if(string.begin() + start, string.end(), endsParagraph) - string.begin();
        const Paragraph paragraph(text.attributedSubstringFromRange({start, end - start}),
                                  text.attributesAtIndex(start));
        if (start > 0)
            y += std::max(0.0, paragraph.style().paragraphSpacingBefore());
        // Also true of a rectangle that is no number.
        if (!(y < rect.height()) || !paragraph.draw(painter, rect, y))
            return;
        y += std::max(0.0, paragraph.style().paragraphSpacing());
        const bool isPair = QStringView(string).mid(end, 2) == u"\r\n";
        start = end + (isPair ? 2 : 1);
    }
}
