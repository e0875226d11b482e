// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <concepts>

namespace ZRKit {

/// A text as an argument: whatever QString takes, and literals (UTF-8 or UTF-16) and characters as well.
/// Numbers and flags aren't taken for a text.
class AnyText : public QString {
public:
    template <typename Text>
    requires std::convertible_to<const Text &, QString> AnyText(const Text &text) : QString(text) {}
    AnyText(const char *utf8) : QString(QString::fromUtf8(utf8)) {}
    AnyText(const char8_t *utf8) : QString(QString::fromUtf8(utf8)) {}
    AnyText(const char16_t *text) : QString(QString::fromUtf16(text)) {}
    AnyText(QStringView text) : QString(text.toString()) {}
    template <std::same_as<char16_t> Unit>
    AnyText(Unit unit) : QString(QChar(unit)) {}
    template <std::same_as<char> Character>
    AnyText(Character character) : QString(QLatin1Char(character)) {}
};

} // namespace ZRKit
