// SPDX-License-Identifier: MIT
#pragma once

#include "platform/text/NSTextAlignment.h"

#include <QMetaType>
#include <QObject>

/// What becomes of a line that is too long.
enum NSLineBreakMode : int {
    NSLineBreakByWordWrapping =
        0, ///< it goes on below, from a word on, or from a character if a word is too long
    NSLineBreakByCharWrapping = 1,   ///< it goes on below, from any character on
    NSLineBreakByClipping = 2,       ///< its end isn't shown
    NSLineBreakByTruncatingHead = 3, ///< an ellipsis stands for its beginning
    NSLineBreakByTruncatingTail = 4,
    NSLineBreakByTruncatingMiddle = 5,
};

enum NSWritingDirection : int {
    NSWritingDirectionNatural = -1, ///< that of the first letter that has one
    NSWritingDirectionLeftToRight = 0,
    NSWritingDirectionRightToLeft = 1,
};

/// How a paragraph is set: the value of NSParagraphStyleAttributeName, of which that at the paragraph's first
/// character counts. Lengths are in points. A value; any thread.
class NSParagraphStyle {
    Q_GADGET

public:
    /// Natural at first.
    NSTextAlignment alignment() const { return m_alignment; }
    NSLineBreakMode lineBreakMode() const { return m_lineBreakMode; }
    NSWritingDirection baseWritingDirection() const { return m_baseWritingDirection; }
    /// Between the lines of a paragraph. Negative spacing counts as none, here and below.
    double lineSpacing() const { return m_lineSpacing; }
    /// Behind a paragraph, and before it unless it is the first.
    double paragraphSpacing() const { return m_paragraphSpacing; }
    double paragraphSpacingBefore() const { return m_paragraphSpacingBefore; }
    /// How far from the leading margin, which is on the right if the paragraph is written to the left, its first line
    /// begins, and the others.
    double firstLineHeadIndent() const { return m_firstLineHeadIndent; }
    double headIndent() const { return m_headIndent; }
    /// Where lines end: a positive number counts from the leading margin, others from the trailing one.
    double tailIndent() const { return m_tailIndent; }

    friend bool operator==(const NSParagraphStyle &, const NSParagraphStyle &) = default;

protected:
    NSTextAlignment m_alignment = NSTextAlignmentNatural;
    NSLineBreakMode m_lineBreakMode = NSLineBreakByWordWrapping;
    NSWritingDirection m_baseWritingDirection = NSWritingDirectionNatural;
    double m_lineSpacing = 0;
    double m_paragraphSpacing = 0;
    double m_paragraphSpacingBefore = 0;
    double m_firstLineHeadIndent = 0;
    double m_headIndent = 0;
    double m_tailIndent = 0;
};

/// A paragraph style that can be changed. Among attributes, keep it as an NSParagraphStyle.
class NSMutableParagraphStyle : public NSParagraphStyle {
    Q_GADGET

public:
    NSMutableParagraphStyle() = default;
    NSMutableParagraphStyle(const NSParagraphStyle &other) : NSParagraphStyle(other) {}

    void setAlignment(NSTextAlignment alignment) { m_alignment = alignment; }
    void setLineBreakMode(NSLineBreakMode mode) { m_lineBreakMode = mode; }
    void setBaseWritingDirection(NSWritingDirection direction) { m_baseWritingDirection = direction; }
    void setLineSpacing(double spacing) { m_lineSpacing = spacing; }
    void setParagraphSpacing(double spacing) { m_paragraphSpacing = spacing; }
    void setParagraphSpacingBefore(double spacing) { m_paragraphSpacingBefore = spacing; }
    void setFirstLineHeadIndent(double indent) { m_firstLineHeadIndent = indent; }
    void setHeadIndent(double indent) { m_headIndent = indent; }
    void setTailIndent(double indent) { m_tailIndent = indent; }
};

Q_DECLARE_METATYPE(NSParagraphStyle)
Q_DECLARE_METATYPE(NSMutableParagraphStyle)
