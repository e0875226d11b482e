// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QObject>
#include <QString>
#include <QVariant>
#include <initializer_list>
#include <type_traits>

/// One argument of a format: any value, a text, a character, a number or an address.
class NSFormatArgument {
public:
    NSFormatArgument(const QVariant &value) : m_value(value) {}
    NSFormatArgument(const QString &text) : m_value(text) {}
    NSFormatArgument(QStringView text) : m_value(text.toString()) {}
    /// UTF-8; nil for nullptr.
    NSFormatArgument(const char *text) : m_value(QString::fromUtf8(text)) {}
    NSFormatArgument(const char16_t *text) : m_value(QString::fromUtf16(text)) {}
    NSFormatArgument(const NSError &error) : m_value(QVariant::fromValue(error)) {}
    NSFormatArgument(const char8_t *text) : m_value(QString::fromUtf8(text)) {}
    NSFormatArgument(QChar character) : m_value(character) {}
    NSFormatArgument(const QObject *object) : m_value(QVariant::fromValue(const_cast<QObject *>(object))) {}
    template <typename T>
    requires std::is_void_v<T> NSFormatArgument(T *address)
        : m_value(QVariant::fromValue(const_cast<void *>(address))) {}
    /// Characters, numbers and enumerators.
    template <typename T>
    requires std::is_arithmetic_v<T> || std::is_enum_v<T> NSFormatArgument(T number) {
        if constexpr (std::is_same_v<T, char>)
            m_value = QChar(QLatin1Char(number));
        else if constexpr (std::is_same_v<T, char16_t>)
            m_value = QChar(number);
        else if constexpr (std::is_enum_v<T> || std::is_same_v<T, char32_t> || std::is_same_v<T, wchar_t>)
            m_value = qint64(number);
        else
            m_value = QVariant::fromValue(number);
    }

    const QVariant &value() const { return m_value; }

private:
    QVariant m_value;
};

/// Fills a format as the C library's printf() does, in the C locale, each directive with the next argument or
/// the one whose number from 1 it names ("%2$d"), with flags, width, precision (also as arguments, by "*")
/// and length:
/// - %@ and %s, %S: the argument's description, "(null)" for nil; width and precision count UTF-16 units;
/// - %d, %i, %D, and %u, %U, %x, %X, %o, %O: an integer of the argument's own size, or of the length given
///   (hh, h, l, ll, q, j, z, t);
/// - %f, %F, %e, %E, %g, %G, %a, %A: a floating-point number;
/// - %c, %C: the character of a code; %p: an address; %%: a percent sign.
/// Other kinds of arguments are read as toLongLong() and toDouble() have it. Missing arguments read as empty
/// text, and what is no directive stands for itself. Any thread.
QString NSFormat(const char *format, std::initializer_list<NSFormatArgument> arguments);

/// Writes one line to the system's log: Qt's message handler, at information level, text unchanged. Hosts and
/// tests redirect it with qInstallMessageHandler(). Any thread.
void NSLog(const QString &line);

/// NSFormat() and NSLog() in one call.
template <typename... Arguments>
void NSLog(const char *format, const Arguments &...arguments) requires(sizeof...(Arguments) > 0) {
    NSLog(NSFormat(format, {NSFormatArgument(arguments)...}));
}
