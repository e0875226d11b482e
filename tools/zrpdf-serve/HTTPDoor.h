// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-serve/ConnectionWatch.h"
#include "tools/zrpdf-serve/HTTPMessage.h"
#include "tools/zrpdf-serve/ListeningSocket.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <microhttpd.h>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

namespace zr {

/// Takes requests on listening sockets, whole, and sends what they are answered.
///
/// Connections are served on one thread for each socket, which only moves bytes. A connection has a time for the head of its
/// next request and, beyond that, must send and take bodies at a low rate at least. All bodies that are held at once, those of
/// answers too, have a limit together, beyond which no more come in.
class HTTPDoor {
public:
    struct Limits {
        qsizetype body = 0;                                            ///< of one request
        qsizetype allBodies = 0;                                       ///< of all requests at once
        int connections = 0;                                           ///< on each socket
        std::chrono::milliseconds headTime = std::chrono::seconds(60); ///< and between requests
        /// For a body in either direction, beyond what its size allows.
        std::chrono::milliseconds bodyTime = std::chrono::seconds(30);
        qsizetype slowest = 16'384; ///< bytes a second
    };

    /// \param handler  outlives the door
    HTTPDoor(HTTPHandler &handler, const Limits &limits);
    ~HTTPDoor();
    HTTPDoor(const HTTPDoor &) = delete;
    HTTPDoor &operator=(const HTTPDoor &) = delete;

    /// Serves a socket from here on. False if the library can't.
    bool open(ListeningSocket socket);
    /// Connections end with their next answer. Sockets that another process holds take no new ones any more: those wait
    /// for whoever serves the socket next.
    void beginStop();
    /// Waits until no request is on its way; false if the time was up before.
    bool waitUntilIdle(std::chrono::milliseconds time);
    /// Requests that are worked on are given up.
    void abandonAll();
    /// Ends all connections. No request may be worked on: the library then ends the process.
    void stop();

private:
    struct Exchange;
    struct Entrance;

    static MHD_Result access(void *entrance, MHD_Connection *connection, const char *path, const char *method,
                             const char *version, const char *data, std::size_t *size, void **context);
    static void completed(void *entrance, MHD_Connection *connection, void **context,
                          MHD_RequestTerminationCode code);
    static void connected(void *entrance, MHD_Connection *connection, void **context,
                          MHD_ConnectionNotificationCode code);

    MHD_Result begin(Entrance &entrance, MHD_Connection *connection, const char *path, const char *method,
                     void **context);
    MHD_Result take(Exchange &exchange, std::string_view data);
    MHD_Result work(Exchange &exchange);
    MHD_Result send(Exchange &exchange);
    std::chrono::milliseconds timeFor(qsizetype bytes) const;
    void giveBack(Exchange &exchange);

    HTTPHandler &m_handler;
    const Limits m_limits;
    ConnectionWatch m_watch;
    std::vector<std::unique_ptr<Entrance>> m_entrances;
    std::atomic<qsizetype> m_bodies = 0;
    std::atomic<bool> m_isStopping = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::set<Exchange *> m_exchanges;
};

} // namespace zr
