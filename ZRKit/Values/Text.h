// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <concepts>

namespace ZRKit {

/// A text that is no QString: u"a literal", a view of a text, or one character.
template <typename T>
concept OtherText = std::same_as<T, char> || std::same_as<T, char16_t> || std::same_as<T, QChar> ||
    std::same_as<T, QLatin1StringView> ||
    (std::convertible_to<const T &, QStringView> && !std::derived_from<T, QString>);

/// An argument that is a text, in any of its forms. Nil texts stay nil. Any thread.
class Text : public QString {
public:
    Text(const QString &text) : QString(text) {}
    template <OtherText T>
    Text(const T &text) : QString(made(text)) {}
#ifndef QT_NO_CAST_FROM_ASCII
    Text(const char *text) : QString(text) {
    }
#endif

private:
    static QString made(char character) {
        return QChar(char16_t(uchar(character)));
    }
    static QString made(QChar character) {
        return character;
    }
    static QString made(QLatin1StringView text) {
        return text;
    }
    static QString made(QStringView text) {
        return text.toString();
    }
};

} // namespace ZRKit
