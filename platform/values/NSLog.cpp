// SPDX-License-Identifier: MIT
#include "platform/values/NSLog.h"

#include <QMessageLogContext>
#include <QtGlobal>
#include <cstring>

QString NSFormat(const char *format, std::initializer_list<NSFormatArgument> arguments) {
    QString line;
    auto next = arguments.begin();
    for (const char *at = format; *at;) {
        const char *percent = std::strchr(at, '%');
        if (!percent || !percent[1]) {
            line += QString::fromUtf8(at);
            break;
        }
        line += QString::fromUtf8(at, percent - at);
        if (percent[1] == '%')
            line += QLatin1Char('%');
        else if (next != arguments.end())
            line += (next++)->text();
        at = percent + 2;
    }
    return line;
}

void NSLog(const QString &line) {
    qt_message_output(QtInfoMsg, QMessageLogContext(nullptr, 0, nullptr, "default"), line);
}
