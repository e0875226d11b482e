// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

/// The log lines of the service and of its client, which both go to this process's standard error.
///
/// Kept back, they are collected in memory; what a user should know can be asked for afterwards. No thread
/// reads along, and a service that outlives this process for a moment still has where to write.
class ServiceLog {
public:
    /// \param shown  whether the lines appear on standard error as they are written
    explicit ServiceLog(bool shown);

    /// The descriptor of the real standard error, for this program's own lines; -1 where there is none.
    int standardError() const { return m_standardError; }

    /// What a user should know of the lines since the last call, each once.
    struct Findings {
        QList<QByteArray> remarks; ///< worth telling even if all went well
        QList<QByteArray> reasons; ///< of a failure, if there was one
    };
    Findings take();

private:
    int m_standardError;
    int m_collected = -1;
    qint64 m_read = 0;
};
