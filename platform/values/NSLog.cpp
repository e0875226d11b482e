// SPDX-License-Identifier: MIT
#include "platform/values/NSLog.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QMessageLogContext>
#include <QRegularExpression>
#include <algorithm>
#include <clocale>
#include <cstdio>

using namespace zr;

namespace {

/// One directive of a format.
struct Directive {
    QByteArray flags;
    int width = 0;
    int precision = -1; ///< -1 for none
    QByteArray length;
    char conversion = 0;

    /// What the C library makes of it, in the C locale.
    template <typename Number>
    QString printed(const char *size, Number number) const {
        static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
        const QByteArray form = '%' + flags + "*.*" + size + conversion;
        const locale_t before = ::uselocale(c);
        const int count = std::snprintf(nullptr, 0, form.constData(), width, precision, number);
        QByteArray text(std::max(count, 0) + 1, '\0');
        std::snprintf(text.data(), size_t(text.size()), form.constData(), width, precision, number);
        ::uselocale(before);
        text.chop(1);
        return QString::fromLatin1(text);
    }

    QString padded(const QString &text) const {
        return flags.contains('-') ? text.leftJustified(width) : text.rightJustified(width);
    }

    QString integer(const QVariant &value) const {
        // Smaller arguments arrive as int, and what is no number may need all bits.
        const QMetaType type = value.metaType();
        int bytes = isArithmetic(type) ? std::clamp(int(type.sizeOf()), 4, 8) : 8;
        if (!length.isEmpty())
            bytes = length == "hh" ? 1 : length == "h" ? 2 : 8;
        const int unused = 64 - bytes * 8;
        const quint64 bits = quint64(longLongValue(value)) << unused;
        return conversion == 'd' || conversion == 'i' ? printed("ll", qint64(bits) >> unused)
                                                      : printed("ll", bits >> unused);
    }

    QString text(const QVariant &given) const {
        // A character's code counts as an integer.
        const QVariant value = given.typeId() == QMetaType::QChar && !QByteArray("@sScC").contains(conversion)
                                   ? QVariant(int(given.toChar().unicode()))
                                   : given;
        switch (conversion) {
        case '@':
        case 's':
        case 'S': {
            const QString description = NSDescription(value);
            return padded(precision < 0 ? description : description.left(precision));
        }
        case 'c':
        case 'C': {
            if (value.typeId() == QMetaType::QChar)
                return padded(value.toChar());
            const auto code = char32_t(longLongValue(value));
            return padded(conversion == 'c' ? QString(QLatin1Char(char(code))) : QString::fromUcs4(&code, 1));
        }
        case 'p':
            return printed("",
                           objectOf(value) ? static_cast<void *>(objectOf(value)) : value.value<void *>());
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            return integer(value);
        default:
            return printed("", zr::doubleValue(value));
        }
    }
};

} // namespace

QString NSFormat(const char *format, std::initializer_list<NSFormatArgument> arguments) {
    static const zr::NeverDestroyed<QRegularExpression> directives(
        QStringLiteral(R"(%(?:([0-9]+)\$)?([-+ #0']*)([0-9]+|\*)?(?:\.([0-9]+|\*)?)?(hh|h|ll|l|q|j|z|t|L)?)"
                       R"(([@sSdDiuUxXoOfFeEgGaAcCp%]))"));
    const QString text = QString::fromUtf8(format);
    size_t next = 0;
    const auto take = [&]() -> const QVariant * {
        return next < arguments.size() ? &arguments.begin()[next++].value() : nullptr;
    };
    const auto numberFor = [&](const QString &digits) {
        const QVariant *given = digits == u'*' ? take() : nullptr;
        return given ? int(longLongValue(*given)) : digits.toInt();
    };
    QString line;
    qsizetype from = 0;
    for (auto matches = directives->globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        line += QStringView(text).sliced(from, match.capturedStart() - from);
        from = match.capturedEnd();
        Directive directive;
        directive.flags = match.captured(2).toLatin1();
        directive.width = numberFor(match.captured(3));
        if (directive.width < 0) {
            directive.flags += '-';
            directive.width = -directive.width;
        }
        if (match.captured(0).contains(u'.'))
            directive.precision = numberFor(match.captured(4));
        directive.length = match.captured(5).toLatin1();
        directive.conversion = match.captured(6).front().toLatin1();
        if (QByteArray("DOU").contains(directive.conversion)) {
            directive.length = "l";
            directive.conversion = char(directive.conversion - 'A' + 'a');
        } else if (directive.conversion == 'c' && directive.length == "l") {
            directive.conversion = 'C';
        }
        if (directive.conversion == '%') {
            line += u'%';
            continue;
        }
        if (const size_t place = match.captured(1).toUInt(); place > 0)
            next = place - 1;
        if (const QVariant *value = take())
            line += directive.text(*value);
    }
    line += QStringView(text).sliced(from);
    return line;
}

void NSLog(const QString &line) {
    qt_message_output(QtInfoMsg, QMessageLogContext(nullptr, 0, nullptr, "default"), line);
}
