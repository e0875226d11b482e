// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// Collects the log's lines from its construction to its destruction; one at a time, any thread may log.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines() const;
    /// How many lines begin with the text.
    int count(const QString &prefix) const;
};
