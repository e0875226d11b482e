// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/ServicePool.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <chrono>
#include <memory>
#include <stop_token>

/// The conversion service as somebody who waits for each document uses it.
///
/// A document that isn't wanted any more is given up. A service that was lost while it had nothing to do costs no document.
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
    const QString m_name;
    const std::chrono::milliseconds m_patience;
    std::unique_ptr<zr::ServicePool> m_pool;
};
