// SPDX-License-Identifier: MIT
#include "platform/broker/BrokerSession.h"

#include "platform/broker/BrokerError.h"

#include <amqp_framing.h>
#include <amqp_ssl_socket.h>
#include <amqp_tcp_socket.h>
#include <arpa/inet.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

using namespace zr;

namespace {

constexpr int frameSize = 131072;
constexpr int mostChannels = 64;
constexpr int publishChannel = 1;
constexpr quint64 largestBody = quint64(512) << 20;

amqp_bytes_t bytesOf(const QByteArray &bytes) {
    return {std::size_t(bytes.size()), const_cast<char *>(bytes.constData())};
}

QByteArray copyOf(const amqp_bytes_t &bytes) {
    return {static_cast<const char *>(bytes.bytes), qsizetype(bytes.len)};
}

timeval timeOf(std::chrono::milliseconds time) {
    return {time.count() / 1000, time.count() % 1000 * 1000};
}

/// A table for the library, as long as it lives.
class Table {
public:
    explicit Table(const QVariantMap &values) {
        // Entries point into these lists, which must not move.
        m_bytes.reserve(std::size_t(values.size()) * 2);
        m_entries.reserve(std::size_t(values.size()));
        m_tables.reserve(std::size_t(values.size()));
        for (auto value = values.begin(); value != values.end(); ++value) {
            amqp_table_entry_t entry{};
            entry.key = keep(value.key().toUtf8());
            switch (value->typeId()) {
            case QMetaType::Bool:
                entry.value.kind = AMQP_FIELD_KIND_BOOLEAN;
                entry.value.value.boolean = value->toBool() ? 1 : 0;
                break;
            case QMetaType::Int:
            case QMetaType::LongLong:
                entry.value.kind = AMQP_FIELD_KIND_I64;
                entry.value.value.i64 = value->toLongLong();
                break;
            case QMetaType::QVariantMap:
                m_tables.push_back(std::make_unique<Table>(value->toMap()));
                entry.value.kind = AMQP_FIELD_KIND_TABLE;
                entry.value.value.table = m_tables.back()->get();
                break;
            default:
                entry.value.kind = AMQP_FIELD_KIND_UTF8;
                entry.value.value.bytes = keep(value->toString().toUtf8());
            }
            m_entries.push_back(entry);
        }
    }
    amqp_table_t get() { return {int(m_entries.size()), m_entries.data()}; }

private:
    amqp_bytes_t keep(const QByteArray &bytes) {
        m_bytes.push_back(bytes);
        return bytesOf(m_bytes.back());
    }

    std::vector<QByteArray> m_bytes;
    std::vector<amqp_table_entry_t> m_entries;
    std::vector<std::unique_ptr<Table>> m_tables;
};

QVariantMap mapOf(const amqp_table_t &table) {
    QVariantMap map;
    for (int index = 0; index < table.num_entries; ++index) {
        const amqp_table_entry_t &entry = table.entries[index];
        const QString key = QString::fromUtf8(copyOf(entry.key));
        switch (entry.value.kind) {
        case AMQP_FIELD_KIND_BOOLEAN:
            map.insert(key, entry.value.value.boolean != 0);
            break;
        case AMQP_FIELD_KIND_I8:
            map.insert(key, qint64(entry.value.value.i8));
            break;
        case AMQP_FIELD_KIND_U8:
            map.insert(key, qint64(entry.value.value.u8));
            break;
        case AMQP_FIELD_KIND_I16:
            map.insert(key, qint64(entry.value.value.i16));
            break;
        case AMQP_FIELD_KIND_U16:
            map.insert(key, qint64(entry.value.value.u16));
            break;
        case AMQP_FIELD_KIND_I32:
            map.insert(key, qint64(entry.value.value.i32));
            break;
        case AMQP_FIELD_KIND_U32:
            map.insert(key, qint64(entry.value.value.u32));
            break;
        case AMQP_FIELD_KIND_I64:
        case AMQP_FIELD_KIND_U64:
            map.insert(key, qint64(entry.value.value.i64));
            break;
        case AMQP_FIELD_KIND_UTF8:
        case AMQP_FIELD_KIND_BYTES:
            map.insert(key, QString::fromUtf8(copyOf(entry.value.value.bytes)));
            break;
        default:
            break;
        }
    }
    return map;
}

BrokerMessage messageOf(const amqp_basic_properties_t &properties) {
    BrokerMessage message;
    const auto text = [&](amqp_flags_t flag, const amqp_bytes_t &value) {
        return (properties._flags & flag) != 0 ? copyOf(value) : QByteArray();
    };
    message.messageId = text(AMQP_BASIC_MESSAGE_ID_FLAG, properties.message_id);
    message.correlationId = text(AMQP_BASIC_CORRELATION_ID_FLAG, properties.correlation_id);
    message.replyTo = text(AMQP_BASIC_REPLY_TO_FLAG, properties.reply_to);
    message.type = text(AMQP_BASIC_TYPE_FLAG, properties.type);
    const QByteArray expiration = text(AMQP_BASIC_EXPIRATION_FLAG, properties.expiration);
    if (!expiration.isEmpty())
        message.expiration = std::chrono::milliseconds(expiration.toLongLong());
    if ((properties._flags & AMQP_BASIC_HEADERS_FLAG) != 0)
        message.headers = mapOf(properties.headers);
    return message;
}

QString textOf(const amqp_bytes_t &text, int code) {
    return QStringLiteral("%1 %2").arg(code).arg(QString::fromUtf8(copyOf(text)));
}

/// What the broker says when it closes a channel or the connection.
QString reasonOf(const amqp_method_t &method) {
    if (method.id == AMQP_CHANNEL_CLOSE_METHOD) {
        const auto *const close = static_cast<const amqp_channel_close_t *>(method.decoded);
        return textOf(close->reply_text, close->reply_code);
    }
    if (method.id == AMQP_CONNECTION_CLOSE_METHOD) {
        const auto *const close = static_cast<const amqp_connection_close_t *>(method.decoded);
        return textOf(close->reply_text, close->reply_code);
    }
    return QStringLiteral("an unexpected answer");
}

} // namespace

BrokerSession::BrokerSession(const BrokerAddress &address, const Limits &limits)
    : m_address(address), m_state(amqp_new_connection()), m_watchdog(limits.call) {
    if (!m_state)
        throw BrokerError(QStringLiteral("no memory for a connection to a broker"));
    connect(limits);
    login();
    openChannel(publishChannel);
    call([&] { amqp_confirm_select(m_state.get(), publishChannel); }, "confirmations");
    m_lastChannel = publishChannel;
    m_isSound = true;
}

BrokerSession::~BrokerSession() {
    if (!m_isSound)
        return;
    const timeval limit{2, 0};
    amqp_set_rpc_timeout(m_state.get(), &limit);
    guarded([&] { amqp_connection_close(m_state.get(), AMQP_REPLY_SUCCESS); });
}

void BrokerSession::connect(const Limits &limits) {
    amqp_socket_t *socket = nullptr;
    if (m_address.isSecure) {
        socket = amqp_ssl_socket_new(m_state.get());
        if (!socket)
            fail(QStringLiteral("no memory for a connection"));
        auto *const context = static_cast<SSL_CTX *>(amqp_ssl_socket_get_context(socket));
        // The library's own check of names knows no addresses and looks at the common name; OpenSSL's does it right.
        amqp_ssl_socket_set_verify_hostname(socket, 0);
        amqp_ssl_socket_set_verify_peer(socket, 1);
        amqp_ssl_socket_set_ssl_versions(socket, AMQP_TLSv1_2, AMQP_TLSvLATEST);
        SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
        X509_VERIFY_PARAM *const parameters = SSL_CTX_get0_param(context);
        in6_addr address{};
        const bool isAddress = ::inet_pton(AF_INET, m_address.host.constData(), &address) == 1 ||
                               ::inet_pton(AF_INET6, m_address.host.constData(), &address) == 1;
        const int named = isAddress ? X509_VERIFY_PARAM_set1_ip_asc(parameters, m_address.host.constData())
                                    : X509_VERIFY_PARAM_set1_host(parameters, m_address.host.constData(),
                                                                  std::size_t(m_address.host.size()));
        const int trusted = m_address.authorityFile.isEmpty()
                                ? SSL_CTX_set_default_verify_paths(context)
                                : SSL_CTX_load_verify_file(context, m_address.authorityFile.constData());
        if (named != 1 || trusted != 1)
            fail(QStringLiteral("the certificates of authorities can't be read"));
        if (!m_address.certificateFile.isEmpty())
            check(amqp_ssl_socket_set_key(socket, m_address.certificateFile.constData(),
                                          m_address.keyFile.constData()),
                  "the client's certificate");
    } else {
        socket = amqp_tcp_socket_new(m_state.get());
        if (!socket)
            fail(QStringLiteral("no memory for a connection"));
    }
    const timeval limit = timeOf(limits.connecting);
    amqp_set_handshake_timeout(m_state.get(), &limit);
    amqp_set_rpc_timeout(m_state.get(), &limit);
    check(amqp_socket_open_noblock(socket, m_address.host.constData(), m_address.port, &limit), "connecting");
}

void BrokerSession::login() {
    // What isn't asked for, the broker doesn't tell.
    Table properties({{QStringLiteral("product"), QStringLiteral("zrkit")},
                      {QStringLiteral("capabilities"),
                       QVariantMap{{QStringLiteral("connection.blocked"), true},
                                   {QStringLiteral("consumer_cancel_notify"), true},
                                   {QStringLiteral("authentication_failure_close"), true}}}});
    const amqp_table_t table = properties.get();
    const amqp_rpc_reply_t reply = guarded([&] {
        return amqp_login_with_properties(m_state.get(), m_address.virtualHost.constData(), mostChannels,
                                          frameSize, m_address.heartbeat, &table, AMQP_SASL_METHOD_PLAIN,
                                          m_address.user.constData(), m_address.password.constData());
    });
    check(reply, "the login");
}

void BrokerSession::openChannel(int channel) {
    call([&] { amqp_channel_open(m_state.get(), amqp_channel_t(channel)); }, "opening a channel");
}

void BrokerSession::declareQueue(const QByteArray &name, const QVariantMap &arguments) {
    Table table(arguments);
    call([&] { amqp_queue_declare(m_state.get(), publishChannel, bytesOf(name), 0, 1, 0, 0, table.get()); },
         "declaring a queue");
}

void BrokerSession::deleteQueue(const QByteArray &name) {
    call([&] { amqp_queue_delete(m_state.get(), publishChannel, bytesOf(name), 0, 0); }, "deleting a queue");
}

int BrokerSession::consume(const QByteArray &queue, int prefetch) {
    const int channel = ++m_lastChannel;
    openChannel(channel);
    // Per consumer: quorum queues refuse a limit for the whole channel, and the connection with it.
    call([&] { amqp_basic_qos(m_state.get(), amqp_channel_t(channel), 0, quint16(prefetch), 0); },
         "the prefetch count");
    m_queues[channel] = queue;
    const QByteArray tag = "c" + QByteArray::number(channel);
    call(
        [&] {
            amqp_basic_consume(m_state.get(), amqp_channel_t(channel), bytesOf(queue), bytesOf(tag), 0, 0, 0,
                               amqp_empty_table);
        },
        "consuming");
    return channel;
}

void BrokerSession::cancel(int channel) {
    const QByteArray tag = "c" + QByteArray::number(channel);
    call([&] { amqp_basic_cancel(m_state.get(), amqp_channel_t(channel), bytesOf(tag)); },
         "cancelling a consumer");
}

void BrokerSession::acknowledge(int channel, quint64 tag) {
    check(guarded([&] { return amqp_basic_ack(m_state.get(), amqp_channel_t(channel), tag, 0); }),
          "acknowledging");
}

void BrokerSession::giveBack(int channel, quint64 tag) {
    check(guarded([&] { return amqp_basic_reject(m_state.get(), amqp_channel_t(channel), tag, 1); }),
          "giving a message back");
}

quint64 BrokerSession::publish(const QByteArray &queue, const BrokerMessage &message) {
    Table headers(message.headers);
    amqp_basic_properties_t properties{};
    properties._flags = AMQP_BASIC_DELIVERY_MODE_FLAG | AMQP_BASIC_HEADERS_FLAG;
    properties.delivery_mode = AMQP_DELIVERY_PERSISTENT;
    properties.headers = headers.get();
    const auto set = [&](amqp_flags_t flag, amqp_bytes_t &property, const QByteArray &value) {
        if (value.isEmpty())
            return;
        properties._flags |= flag;
        property = bytesOf(value);
    };
    set(AMQP_BASIC_MESSAGE_ID_FLAG, properties.message_id, message.messageId);
    set(AMQP_BASIC_CORRELATION_ID_FLAG, properties.correlation_id, message.correlationId);
    set(AMQP_BASIC_REPLY_TO_FLAG, properties.reply_to, message.replyTo);
    set(AMQP_BASIC_TYPE_FLAG, properties.type, message.type);
    const QByteArray expiration =
        message.expiration ? QByteArray::number(qint64(message.expiration->count())) : QByteArray();
    set(AMQP_BASIC_EXPIRATION_FLAG, properties.expiration, expiration);
    check(guarded([&] {
              return amqp_basic_publish(m_state.get(), publishChannel, amqp_empty_bytes, bytesOf(queue), 1, 0,
                                        &properties, bytesOf(message.body));
          }),
          "publishing");
    return ++m_published;
}

int BrokerSession::descriptor() const {
    return amqp_get_sockfd(m_state.get());
}

bool BrokerSession::hasInput() const {
    return amqp_frames_enqueued(m_state.get()) || amqp_data_in_buffer(m_state.get());
}

std::chrono::milliseconds BrokerSession::heartbeat() const {
    // The broker may have asked for a shorter one.
    const int agreed = amqp_get_heartbeat(m_state.get());
    return std::chrono::seconds(agreed > 0 ? agreed : m_address.heartbeat);
}

void BrokerSession::read(Listener &listener) {
    for (;;) {
        amqp_frame_t frame;
        const timeval now{0, 0};
        const int status =
            guarded([&] { return amqp_simple_wait_frame_noblock(m_state.get(), &frame, &now); });
        if (status == AMQP_STATUS_TIMEOUT)
            return;
        check(status, "reading");
        handle(frame, listener);
        // All that counts has been copied. Memory that a channel's frames took is kept otherwise.
        amqp_maybe_release_buffers(m_state.get());
    }
}

void BrokerSession::handle(const amqp_frame_t &frame, Listener &listener) {
    const int channel = frame.channel;
    switch (frame.frame_type) {
    case AMQP_FRAME_METHOD:
        if (channel == 0)
            handleConnectionMethod(frame.payload.method, listener);
        else
            handleMethod(channel, frame.payload.method, listener);
        break;
    case AMQP_FRAME_HEADER:
    case AMQP_FRAME_BODY: {
        const auto incoming = m_incoming.find(channel);
        if (incoming == m_incoming.end())
            fail(QStringLiteral("a message without a beginning"));
        if (frame.frame_type == AMQP_FRAME_HEADER)
            handleHeader(incoming->second, frame);
        else
            incoming->second.delivery.message.body += copyOf(frame.payload.body_fragment);
        if (quint64(incoming->second.delivery.message.body.size()) >= incoming->second.size)
            finishMessage(channel, listener);
        break;
    }
    default:
        break;
    }
}

void BrokerSession::handleHeader(Incoming &incoming, const amqp_frame_t &frame) {
    incoming.size = frame.payload.properties.body_size;
    if (incoming.size > largestBody)
        fail(QStringLiteral("a message of %1 bytes").arg(incoming.size));
    BrokerMessage message =
        messageOf(*static_cast<const amqp_basic_properties_t *>(frame.payload.properties.decoded));
    message.body.reserve(qsizetype(incoming.size));
    bool good = false;
    const int count = message.headers.value(QStringLiteral("x-delivery-count")).toInt(&good);
    incoming.delivery.earlierDeliveries = good ? count : 0;
    incoming.delivery.message = std::move(message);
}

void BrokerSession::finishMessage(int channel, Listener &listener) {
    const auto node = m_incoming.extract(channel);
    Incoming incoming = std::move(node.mapped());
    if (incoming.isReturned)
        listener.messageWasReturned(incoming.delivery.queue, incoming.delivery.message.messageId);
    else
        listener.messageWasDelivered(std::move(incoming.delivery));
}

void BrokerSession::handleMethod(int channel, const amqp_method_t &method, Listener &listener) {
    switch (method.id) {
    case AMQP_BASIC_DELIVER_METHOD: {
        const auto *const deliver = static_cast<const amqp_basic_deliver_t *>(method.decoded);
        Incoming incoming;
        incoming.delivery.queue = m_queues[channel];
        incoming.delivery.channel = channel;
        incoming.delivery.tag = deliver->delivery_tag;
        m_incoming[channel] = std::move(incoming);
        break;
    }
    case AMQP_BASIC_RETURN_METHOD: {
        Incoming incoming;
        incoming.isReturned = true;
        incoming.delivery.queue =
            copyOf(static_cast<const amqp_basic_return_t *>(method.decoded)->routing_key);
        m_incoming[channel] = std::move(incoming);
        break;
    }
    case AMQP_BASIC_ACK_METHOD: {
        const auto *const ack = static_cast<const amqp_basic_ack_t *>(method.decoded);
        listener.messagesWereConfirmed(ack->delivery_tag, ack->multiple != 0, true);
        break;
    }
    case AMQP_BASIC_NACK_METHOD: {
        const auto *const nack = static_cast<const amqp_basic_nack_t *>(method.decoded);
        listener.messagesWereConfirmed(nack->delivery_tag, nack->multiple != 0, false);
        break;
    }
    case AMQP_BASIC_CANCEL_METHOD:
        fail(QStringLiteral("the queue %1 is gone").arg(QString::fromUtf8(m_queues[channel])));
    case AMQP_CHANNEL_CLOSE_METHOD:
        fail(reasonOf(method));
    default:
        break;
    }
}

void BrokerSession::handleConnectionMethod(const amqp_method_t &method, Listener &listener) {
    switch (method.id) {
    case AMQP_CONNECTION_BLOCKED_METHOD:
        listener.brokerIsBlocked(QString::fromUtf8(
            copyOf(static_cast<const amqp_connection_blocked_t *>(method.decoded)->reason)));
        break;
    case AMQP_CONNECTION_UNBLOCKED_METHOD:
        listener.brokerIsUnblocked();
        break;
    case AMQP_CONNECTION_CLOSE_METHOD: {
        const QString reason = reasonOf(method);
        amqp_connection_close_ok_t ok{};
        guarded([&] { return amqp_send_method(m_state.get(), 0, AMQP_CONNECTION_CLOSE_OK_METHOD, &ok); });
        fail(reason);
    }
    default:
        break;
    }
}

void BrokerSession::check(const amqp_rpc_reply_t &reply, const char *what) {
    switch (reply.reply_type) {
    case AMQP_RESPONSE_NORMAL:
        return;
    case AMQP_RESPONSE_SERVER_EXCEPTION:
        fail(QString::fromLatin1(what) + QStringLiteral(": ") + reasonOf(reply.reply));
    case AMQP_RESPONSE_LIBRARY_EXCEPTION:
        check(reply.library_error, what);
        [[fallthrough]];
    default:
        fail(QString::fromLatin1(what) + QStringLiteral(" failed"));
    }
}

void BrokerSession::check(int status, const char *what) {
    if (status == AMQP_STATUS_OK)
        return;
    fail(QString::fromLatin1(what) + QStringLiteral(": ") +
         (m_watchdog.hasBitten() ? QStringLiteral("the broker doesn't answer")
                                 : QString::fromLatin1(amqp_error_string2(status))));
}

void BrokerSession::fail(const QString &text) {
    m_isSound = false;
    throw BrokerError(m_address.shown() + QStringLiteral(": ") + text);
}
