// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/HTTPDoor.h"

#include <chrono>

using namespace zr;

namespace {

using Clock = std::chrono::steady_clock;

int descriptorOf(MHD_Connection *connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

MHD_Result addQuery(void *fields, MHD_ValueKind, const char *name, std::size_t nameSize, const char *value,
                    std::size_t valueSize) {
    static_cast<HTTPFields *>(fields)->append(
        {QByteArray(name, qsizetype(nameSize)),
         value ? QByteArray(value, qsizetype(valueSize)) : QByteArray()});
    return MHD_YES;
}

MHD_Result addField(void *fields, MHD_ValueKind, const char *name, std::size_t nameSize, const char *value,
                    std::size_t valueSize) {
    static_cast<HTTPFields *>(fields)->append({QByteArray(name, qsizetype(nameSize)).toLower(),
                                               QByteArray(value ? value : "", qsizetype(valueSize))});
    return MHD_YES;
}

void freeBody(void *body) {
    delete static_cast<QByteArray *>(body);
}

} // namespace

/// One listening socket and who serves it.
struct HTTPDoor::Entrance {
    HTTPDoor &door;
    ListeningSocket socket;
    MHD_Daemon *daemon = nullptr;
};

/// One request on its way.
struct HTTPDoor::Exchange {
    MHD_Connection *connection;
    int descriptor;
    Clock::time_point begun = Clock::now();
    HTTPRequest request = {};
    /// Once it is known. Set by the thread that answers, read on the door's after the connection is resumed.
    std::optional<HTTPAnswer> answer = {};
    qsizetype taken = 0; ///< bytes of the body that came
    qsizetype held = 0;  ///< those that count against the limit of all bodies
    bool isWorkedOn = false;
    bool isSent = false;   ///< or was to be
    bool isQueued = false; ///< the library has it
    std::stop_source gone = {};
};

HTTPDoor::HTTPDoor(HTTPHandler &handler, const Limits &limits) : m_handler(handler), m_limits(limits) {
}

HTTPDoor::~HTTPDoor() {
    stop();
}

bool HTTPDoor::open(ListeningSocket socket) {
    auto entrance = std::make_unique<Entrance>(Entrance{*this, std::move(socket)});
    // Not with epoll: there the library misses the end of a connection that comes together with data.
    entrance->daemon = MHD_start_daemon(
        MHD_USE_POLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ITC, 0, nullptr, nullptr, &access,
        entrance.get(), MHD_OPTION_LISTEN_SOCKET, entrance->socket.descriptor(), MHD_OPTION_CONNECTION_LIMIT,
        unsigned(m_limits.connections), MHD_OPTION_NOTIFY_COMPLETED, &completed, entrance.get(),
        MHD_OPTION_NOTIFY_CONNECTION, &connected, entrance.get(), MHD_OPTION_STRICT_FOR_CLIENT, 1,
        MHD_OPTION_END);
    if (!entrance->daemon)
        return false;
    m_entrances.push_back(std::move(entrance));
    return true;
}

void HTTPDoor::beginStop() {
    m_isStopping = true;
    for (const auto &entrance : m_entrances)
        if (entrance->socket.isAdopted())
            MHD_quiesce_daemon(entrance->daemon);
}

bool HTTPDoor::waitUntilIdle(std::chrono::milliseconds time) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, time, [this] { return m_exchanges.empty(); });
}

void HTTPDoor::abandonAll() {
    std::vector<std::stop_source> gone;
    {
        const std::lock_guard lock(m_mutex);
        for (const Exchange *exchange : m_exchanges)
            gone.push_back(exchange->gone);
    }
    for (std::stop_source &each : gone)
        each.request_stop();
}

void HTTPDoor::stop() {
    for (const auto &entrance : m_entrances) {
        // Otherwise the library closes the socket, whose number may be another's when its owner does.
        MHD_quiesce_daemon(entrance->daemon);
        MHD_stop_daemon(entrance->daemon);
    }
    m_entrances.clear();
}

std::chrono::milliseconds HTTPDoor::timeFor(qsizetype bytes) const {
    return m_limits.bodyTime + std::chrono::milliseconds(bytes * 1000 / m_limits.slowest);
}

MHD_Result HTTPDoor::access(void *entrance, MHD_Connection *connection, const char *path, const char *method,
                            const char *, const char *data, std::size_t *size, void **context) {
    auto &here = *static_cast<Entrance *>(entrance);
    if (!*context)
        return here.door.begin(here, connection, path, method, context);
    auto &exchange = *static_cast<Exchange *>(*context);
    if (*size > 0)
        return here.door.take(exchange, std::string_view(data, std::exchange(*size, 0)));
    return exchange.answer ? here.door.send(exchange) : here.door.work(exchange);
}

MHD_Result HTTPDoor::begin(Entrance &entrance, MHD_Connection *connection, const char *path,
                           const char *method, void **context) {
    auto *exchange = new Exchange{.connection = connection, .descriptor = descriptorOf(connection)};
    *context = exchange;
    {
        const std::lock_guard lock(m_mutex);
        m_exchanges.insert(exchange);
    }
    HTTPRequest &request = exchange->request;
    request.method = method;
    request.path = path;
    request.isFromBrowsersReach = !entrance.socket.isPath();
    MHD_get_connection_values_n(connection, MHD_GET_ARGUMENT_KIND, addQuery, &request.query);
    MHD_get_connection_values_n(connection, MHD_HEADER_KIND, addField, &request.header);
    request.abandoned = exchange->gone.get_token();
    exchange->answer = m_handler.refuse(request);
    m_watch.setLimit(exchange->descriptor, m_limits.bodyTime);
    // A client that asks first is told before it sends a byte. Of the others most read no answer while they send: what they
    // send is read and dropped, unless it is too much for that.
    const bool asksFirst = request.field("expect").compare("100-continue", Qt::CaseInsensitive) == 0;
    if (exchange->answer && (asksFirst || request.field("content-length").toLongLong() > 2 * m_limits.body))
        return send(*exchange);
    return MHD_YES;
}

MHD_Result HTTPDoor::take(Exchange &exchange, std::string_view data) {
    const auto size = qsizetype(data.size());
    exchange.taken += size;
    m_watch.setLimit(exchange.descriptor,
                     timeFor(exchange.taken) - std::chrono::duration_cast<std::chrono::milliseconds>(
                                                   Clock::now() - exchange.begun));
    if (exchange.answer)
        return exchange.taken > 2 * m_limits.body ? MHD_NO : MHD_YES;
    const bool isTooLong = exchange.taken > m_limits.body;
    if (isTooLong || m_bodies.fetch_add(size) + size > m_limits.allBodies) {
        exchange.held += isTooLong ? 0 : size;
        giveBack(exchange);
        exchange.answer = m_handler.refuseBody(exchange.request, isTooLong);
        return MHD_YES;
    }
    exchange.held += size;
    exchange.request.body.append(data.data(), size);
    return MHD_YES;
}

/// Drops the body.
void HTTPDoor::giveBack(Exchange &exchange) {
    exchange.request.body = QByteArray();
    m_bodies -= std::exchange(exchange.held, 0);
}

MHD_Result HTTPDoor::work(Exchange &exchange) {
    if (std::exchange(exchange.isWorkedOn, true))
        return MHD_NO;
    m_watch.watchHangUp(exchange.descriptor, exchange.gone);
    MHD_suspend_connection(exchange.connection);
    HTTPRequest request = exchange.request;
    exchange.request.body = QByteArray();
    m_handler.handle(std::move(request), [this, &exchange](HTTPAnswer answer) {
        // Whoever takes their answers slowly leaves less room for the bodies of others.
        exchange.held += answer.body.size();
        m_bodies += answer.body.size();
        exchange.answer = std::move(answer);
        MHD_resume_connection(exchange.connection);
    });
    return MHD_YES;
}

MHD_Result HTTPDoor::send(Exchange &exchange) {
    if (std::exchange(exchange.isSent, true))
        return MHD_NO;
    if (exchange.isWorkedOn)
        m_watch.endHangUp(exchange.descriptor);
    if (exchange.gone.stop_requested())
        return MHD_NO;
    const HTTPAnswer &answer = *exchange.answer;
    m_watch.setLimit(exchange.descriptor, timeFor(answer.body.size()));
    auto body = std::make_unique<QByteArray>(answer.body);
    MHD_Response *const response = MHD_create_response_from_buffer_with_free_callback_cls(
        std::size_t(body->size()), body->data(), &freeBody, body.get());
    if (!response)
        return MHD_NO;
    // It is the response's now.
    (void)body.release();
    for (const auto &[name, value] : answer.header)
        MHD_add_response_header(response, name.constData(), value.constData());
    if (m_isStopping)
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
    const MHD_Result result = MHD_queue_response(exchange.connection, unsigned(answer.status), response);
    MHD_destroy_response(response);
    exchange.isQueued = result == MHD_YES;
    return result;
}

void HTTPDoor::completed(void *entrance, MHD_Connection *connection, void **context,
                         MHD_RequestTerminationCode code) {
    HTTPDoor &door = static_cast<Entrance *>(entrance)->door;
    auto *exchange = static_cast<Exchange *>(*context);
    *context = nullptr;
    if (!exchange)
        return;
    door.m_bodies -= exchange->held;
    door.m_watch.setLimit(exchange->descriptor, door.m_limits.headTime);
    const double seconds = std::chrono::duration<double>(Clock::now() - exchange->begun).count();
    door.m_handler.finished(exchange->request, exchange->isQueued ? &*exchange->answer : nullptr,
                            exchange->taken, seconds, code == MHD_REQUEST_TERMINATED_COMPLETED_OK);
    {
        const std::lock_guard lock(door.m_mutex);
        door.m_exchanges.erase(exchange);
    }
    door.m_changed.notify_all();
    delete exchange;
}

void HTTPDoor::connected(void *entrance, MHD_Connection *connection, void **,
                         MHD_ConnectionNotificationCode code) {
    HTTPDoor &door = static_cast<Entrance *>(entrance)->door;
    if (code == MHD_CONNECTION_NOTIFY_STARTED)
        door.m_watch.setLimit(descriptorOf(connection), door.m_limits.headTime);
    else
        door.m_watch.forget(descriptorOf(connection));
}
