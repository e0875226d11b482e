// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/values/NSNull.h"

#include <QString>
#include <concepts>
#include <initializer_list>
#include <type_traits>

/// One argument of a format: already turned into its text.
class NSFormatArgument {
public:
    NSFormatArgument(const QString &text) : m_text(text.isNull() ? QStringLiteral("(null)") : text) {}
    NSFormatArgument(const char *text) : m_text(text ? QString::fromUtf8(text) : QStringLiteral("(null)")) {}
    NSFormatArgument(const NSError &error) : m_text(error.description()) {}
    NSFormatArgument(const QVariant &value) : m_text(NSDescription(value)) {}
    template <std::integral T>
    NSFormatArgument(T number) : m_text(QString::number(number)) {}
    const QString &text() const { return m_text; }

private:
    QString m_text;
};

/// Fills a format: each of %@, %d, %u and %s takes the next argument's text, %% is a percent sign.
/// nil arguments read "(null)". Missing arguments read as empty text.
QString NSFormat(const char *format, std::initializer_list<NSFormatArgument> arguments);

/// Writes one line to the system's log: Qt's message handler, at information level, text unchanged. Hosts and
/// tests redirect it with qInstallMessageHandler(); any thread.
void NSLog(const QString &line);

/// NSFormat() and NSLog() in one call.
template <typename... Arguments>
void NSLog(const char *format, const Arguments &...arguments) requires(sizeof...(Arguments) > 0) {
    NSLog(NSFormat(format, {NSFormatArgument(arguments)...}));
}
