// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPC.h"
#include "platform/xpc/NSXPCServiceMonitor.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

/// The conversion service as somebody who waits for each document uses it.
///
/// A client waits for its reply for as long as it takes, even if the service is gone. So the service's life is watched,
/// and a document that takes too long, or isn't wanted any more, ends the instance that works on it. The next document
/// gets a new one. If the instance that converted the last document is lost, it may have been dead before: the document is then
/// sent once more.
class PDFService {
public:
    struct Outcome {
        QByteArray pdf;
        QString error; ///< nil if there is a PDF, or if the task was stopped
        QString cause; ///< what led to the error, nil if nobody said
    };

    explicit PDFService(const QString &serviceName,
                        std::chrono::milliseconds patience = std::chrono::seconds(60));
    PDFService(const PDFService &) = delete;
    PDFService &operator=(const PDFService &) = delete;

    /// Converts one document, and waits until that is done, has failed or was stopped. One thread at a time, not the
    /// main one: the service is started if need be.
    Outcome convert(const QVariantMap &task, const std::stop_token &stop);

private:
    struct Event {
        std::mutex mutex;
        std::condition_variable_any happened;
        std::optional<Outcome> outcome;
        std::optional<NSXPCServiceMonitor::Exit> exit;
    };

    void watch(const std::shared_ptr<Event> &event);
    void endInstance(Event &event);
    Outcome loss(const NSXPCServiceMonitor::Exit &exit) const;

    const QString m_name;
    const std::chrono::milliseconds m_patience;
    std::unique_ptr<ZRXPC> m_client;
    /// The instance that converted the last document, 0 if it isn't known.
    pid_t m_idleProcess = 0;
    /// The task at hand, for the monitor.
    std::mutex m_mutex;
    std::shared_ptr<Event> m_event;
    std::unique_ptr<NSXPCServiceMonitor> m_monitor;
};
