// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <type_traits>

namespace zr {

/// The parameters of a DevTools call. A value; any thread.
class DevToolsParams {
public:
    /// A string's lone surrogates, which the browser refuses, become U+FFFD, and so does what is not UTF-8 in bytes. Each
    /// type is taken as it is, so that no number passes for a pointer.
    template <typename Value>
    DevToolsParams &add(const char *key, const Value &value) {
        if constexpr (std::is_same_v<Value, QString>)
            return addText(key, value);
        else if constexpr (std::is_same_v<Value, QByteArray> || std::is_convertible_v<Value, const char *>)
            return addText(key, QString::fromUtf8(value));
        else
            return addValue(key, value);
    }

    const QJsonObject &object() const { return m_object; }

private:
    DevToolsParams &addValue(const char *key, const QJsonValue &value);
    DevToolsParams &addText(const char *key, const QString &text);

    QJsonObject m_object;
};

/// One message from the browser: a reply to a call, or an event. A value; any thread.
class DevToolsMessage {
public:
    /// An empty message: `isValid()` is false.
    DevToolsMessage() = default;
    /// Takes one message's JSON text.
    explicit DevToolsMessage(const QByteArray &json);
    /// The reply to a call that the browser will never answer.
    static DevToolsMessage failure(const QString &why);

    bool isValid() const { return !m_message.isEmpty(); }
    /// The call's number; 0 for an event.
    int id() const { return m_message[u"id"].toInt(); }
    /// The event's name; empty for a reply.
    QString method() const { return m_message[u"method"].toString(); }
    /// The session that it belongs to; empty for the browser itself.
    QByteArray session() const { return m_message[u"sessionId"].toString().toLatin1(); }

    bool isError() const { return m_message.contains(u"error"); }
    /// Why the call failed; null if it did not.
    QString error() const;
    /// The result of a reply or the parameters of an event.
    QJsonObject object() const;
    /// The bytes of a Base64 member of the result; null if there is none.
    QByteArray bytes(const char *member) const;

private:
    QByteArray m_text;
    QJsonObject m_message;
};

} // namespace zr
