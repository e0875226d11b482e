// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <ctime>

/// The process's time zone is this one while it lives.
class LocalZone {
public:
    explicit LocalZone(const char *name) : m_before(qgetenv("TZ")), m_had(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", name);
        tzset();
    }
    ~LocalZone() {
        if (m_had)
            qputenv("TZ", m_before);
        else
            qunsetenv("TZ");
        tzset();
    }
    LocalZone(const LocalZone &) = delete;
    LocalZone &operator=(const LocalZone &) = delete;

private:
    QByteArray m_before;
    bool m_had;
};
