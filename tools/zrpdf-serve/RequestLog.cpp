// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/RequestLog.h"

#include "platform/base/WriteAll.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

/// A value that can't end the line or pass for another member.
QString plain(const QVariant &value) {
    QString text = value.toString();
    const bool isPlain = !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c > u' ' && c != u'"' && c != u'=' && c.isPrint();
    });
    if (isPlain)
        return text;
    QString quoted = u"\""_s;
    for (const QChar c : text) {
        if (c == u'"' || c == u'\\')
            quoted += u'\\';
        quoted += c.isPrint() ? QString(c) : u"\\u%1"_s.arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return quoted + u'"';
}

} // namespace

void RequestLog::write(const QString &event, const Members &members) {
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    QByteArray line;
    if (m_form == Form::JSON) {
        QJsonObject object{{u"time"_s, time}, {u"event"_s, event}};
        for (const auto &[name, value] : members)
            if (value.isValid())
                object.insert(QLatin1StringView(name), QJsonValue::fromVariant(value));
        line = QJsonDocument(object).toJson(QJsonDocument::Compact);
    } else {
        QString text = time + u' ' + event;
        for (const auto &[name, value] : members)
            if (value.isValid())
                text += u' ' + QLatin1StringView(name) + u'=' + plain(value);
        line = text.toUtf8();
    }
    const std::lock_guard lock(m_mutex);
    // Nobody can be told that the log can't be written.
    (void)writeAll(m_descriptor, line + '\n');
}
