// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <stdexcept>

namespace zr {

/// What went wrong between this process and a broker, as one sentence without passwords.
class BrokerError : public std::runtime_error {
public:
    explicit BrokerError(const QString &text) : std::runtime_error(text.toStdString()) {}
    QString text() const { return QString::fromUtf8(what()); }
};

} // namespace zr
