// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSRange.h"

#include <QList>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

// Attributes that are drawn; see the kit's NSAttributedString+ZRGraphics.h. Numbers and truth values are read as the
// kit's toDouble() and toBool() have it.

/// A QFont.
inline const QString NSFontAttributeName = QStringLiteral("NSFont");
/// A QColor, and so is each colour below.
inline const QString NSForegroundColorAttributeName = QStringLiteral("NSColor");
inline const QString NSBackgroundColorAttributeName = QStringLiteral("NSBackgroundColor");
inline const QString NSUnderlineColorAttributeName = QStringLiteral("NSUnderlineColor");
/// An NSParagraphStyle.
inline const QString NSParagraphStyleAttributeName = QStringLiteral("NSParagraphStyle");
/// True for a line below the text, or through it.
inline const QString NSUnderlineStyleAttributeName = QStringLiteral("NSUnderline");
inline const QString NSStrikethroughStyleAttributeName = QStringLiteral("NSStrikethrough");
/// How many points more there are between characters.
inline const QString NSKernAttributeName = QStringLiteral("NSKern");

/// A text whose stretches carry attributes: a name and a value each, such as a font or a colour.
///
/// Positions count UTF-16 units. Stretches that follow one another with equal attributes are one, so two
/// attributed strings are equal if their texts and the attributes of each unit are. A plain value: copies
/// share their data, a const one may be read from any thread.
class NSAttributedString {
    Q_GADGET
    Q_PROPERTY(QString string READ string)
    Q_PROPERTY(qsizetype length READ length)
    Q_PROPERTY(QString description READ description)

public:
    /// A stretch with the same attributes throughout.
    struct Run {
        NSRange range;
        QVariantMap attributes;
        friend bool operator==(const Run &, const Run &) = default;
    };

    /// The empty text.
    NSAttributedString() = default;
    /// The text with the attributes over all of it.
    explicit NSAttributedString(const QString &string, const QVariantMap &attributes = {});

    /// The text without its attributes; never null.
    QString string() const { return m_string; }
    qsizetype length() const { return m_string.size(); }
    /// Each stretch's text followed by its attributes as a dictionary is described.
    QString description() const;
    /// The stretches in order, without gaps; none for the empty text.
    QList<Run> runs() const { return m_runs; }

    /// The attributes at a position, and the stretch over which they are the same. Raises NSRangeException
    /// if the position is not below the length.
    QVariantMap attributesAtIndex(qsizetype location, NSRange *effectiveRange = nullptr) const;
    /// One attribute's value at a position, nil if there is none, and the whole stretch over which it is that.
    /// Raises NSRangeException if the position is not below the length.
    QVariant attributeAtIndex(const QString &name, qsizetype location,
                              NSRange *longestEffectiveRange = nullptr) const;
    /// The part in the range, with its attributes. Raises NSRangeException for a range that isn't within the
    /// text.
    NSAttributedString attributedSubstringFromRange(NSRange range) const;
    /// Calls the block with each stretch's attributes and range, cut to the given range, until it sets
    /// `stop`. Raises NSRangeException for a range that isn't within the text.
    void enumerateAttributesInRange(
        NSRange range,
        const std::function<void(const QVariantMap &attributes, NSRange range, bool *stop)> &block) const;

    friend bool operator==(const NSAttributedString &, const NSAttributedString &) = default;

protected:
    qsizetype runIndexAt(qsizetype location) const;
    QList<Run> runsInRange(NSRange range, qsizetype movedTo) const;
    void requireWithin(NSRange range) const;

    QString m_string = QStringLiteral("");
    QList<Run> m_runs;
};

/// An attributed string that can be changed, by one thread at a time. Every range that isn't within the text
/// raises NSRangeException and changes nothing.
class NSMutableAttributedString : public NSAttributedString {
    Q_GADGET

public:
    using NSAttributedString::NSAttributedString;
    NSMutableAttributedString(const NSAttributedString &other) : NSAttributedString(other) {}

    void appendAttributedString(const NSAttributedString &other);
    void insertAttributedString(const NSAttributedString &other, qsizetype location);
    void replaceCharactersInRange(NSRange range, const NSAttributedString &other);
    /// The new text takes the attributes of the first unit it replaces. If it replaces none, it takes those of
    /// the unit before it, or else of the one behind it.
    void replaceCharactersInRange(NSRange range, const QString &text);
    void deleteCharactersInRange(NSRange range);
    void setAttributedString(const NSAttributedString &other);

    /// These attributes and no others in the range.
    void setAttributes(const QVariantMap &attributes, NSRange range);
    /// One more attribute in the range, in place of one with its name. Raises NSInvalidArgumentException for
    /// nil.
    void addAttribute(const QString &name, const QVariant &value, NSRange range);
    void addAttributes(const QVariantMap &attributes, NSRange range);
    void removeAttribute(const QString &name, NSRange range);

private:
    void changeAttributes(NSRange range, const std::function<void(QVariantMap &)> &change);
    void setRuns(QList<Run> runs);
};

Q_DECLARE_METATYPE(NSAttributedString)
Q_DECLARE_METATYPE(NSMutableAttributedString)
