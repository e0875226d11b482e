// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

/// The name of a message: the C++ name of a method followed by a colon for each argument ("count",
/// "addItem:", "setObject:forKey:"). A method is looked for by the part before the first colon and the number
/// of colons; the further parts are for readers. A value; any thread.
class NSSelector {
public:
    /// nil, which nothing responds to.
    NSSelector() = default;
    /// The text as it stands; the empty text is a selector too, nil is nil.
    explicit NSSelector(const QString &name)
        : m_name(name.isNull() ? QByteArray() : QByteArray("").append(name.toUtf8())) {}
    explicit NSSelector(const char *utf8) : m_name(utf8 ? QByteArray("").append(utf8) : QByteArray()) {}

    bool isNil() const { return m_name.isNull(); }
    QString name() const { return QString::fromUtf8(m_name); }
    /// The C++ name: what stands before the first colon.
    QByteArray methodName() const {
        const qsizetype colon = m_name.indexOf(':');
        return colon < 0 ? m_name : m_name.left(colon);
    }
    int argumentCount() const { return int(m_name.count(':')); }

    friend bool operator==(const NSSelector &a, const NSSelector &b) {
        return a.isNil() == b.isNil() && a.m_name == b.m_name;
    }

private:
    QByteArray m_name;
};

Q_DECLARE_METATYPE(NSSelector)
