// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QString>
#include <QStringView>
#include <concepts>

/// The parameters of a DevTools call, written straight as JSON text: large strings are escaped in one pass.
class DevToolsParams {
public:
    DevToolsParams() = default;

    DevToolsParams &add(const char *key, QStringView text);
    DevToolsParams &add(const char *key, const QString &text) { return add(key, QStringView(text)); }
    /// A string given as UTF-8; what is not UTF-8 becomes U+FFFD.
    DevToolsParams &add(const char *key, const QByteArray &utf8) { return add(key, QByteArrayView(utf8)); }
    DevToolsParams &add(const char *key, QByteArrayView utf8);
    DevToolsParams &add(const char *key, const char *utf8) { return add(key, QByteArrayView(utf8)); }
    DevToolsParams &add(const char *key, std::same_as<bool> auto value) {
        return addJson(key, value ? "true" : "false");
    }
    DevToolsParams &add(const char *key,
                        std::integral auto value) requires(!std::same_as<decltype(value), bool>) {
        return addJson(key, QByteArray::number(qint64(value)));
    }
    DevToolsParams &add(const char *key, double value);
    DevToolsParams &add(const char *key, const QJsonValue &value);
    /// A member whose value is JSON text already.
    DevToolsParams &addJson(const char *key, QByteArrayView json);

    /// The members without the surrounding braces.
    const QByteArray &members() const { return m_members; }

private:
    void key(const char *key);
    QByteArray m_members;
};

/// One message from the browser: a reply to a call, or an event. Only its outline is parsed until more is
/// asked.
class DevToolsMessage {
public:
    /// An empty message: `isValid()` is false.
    DevToolsMessage() = default;
    /// Takes one message's JSON text.
    explicit DevToolsMessage(QByteArray text);
    /// The reply of a call that the browser will never answer.
    static DevToolsMessage failure(const QString &why);

    bool isValid() const { return m_valid; }
    /// The call's number; 0 for an event.
    int id() const { return m_id; }
    /// The event's name; empty for a reply.
    QByteArrayView method() const { return m_method; }
    /// The session that it belongs to; empty for the browser itself.
    QByteArrayView session() const { return m_session; }

    bool isError() const { return !m_error.isEmpty(); }
    /// Why the call failed; null where it did not.
    QString error() const;
    /// The result of a reply or the parameters of an event, parsed on demand.
    QJsonObject object() const;
    /// The same as JSON text; a view into the message.
    QByteArrayView json() const { return m_payload; }
    /// The bytes of a top-level Base64 member of the result; null where there is none.
    QByteArray bytes(const char *member) const;

private:
    QByteArray m_text;
    QByteArrayView m_method, m_session, m_payload, m_error;
    int m_id = 0;
    bool m_valid = false;
};
