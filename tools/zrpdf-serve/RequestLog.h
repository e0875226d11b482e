// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <mutex>
#include <utility>
#include <vector>

namespace zr {

/// The program's own log: one line for each event, for people or as JSON. Any thread.
class RequestLog {
public:
    enum class Form { Lines, JSON };
    using Members = std::vector<std::pair<const char *, QVariant>>;

    /// \param descriptor  where it goes; stays the caller's
    RequestLog(int descriptor, Form form) : m_descriptor(descriptor), m_form(form) {}

    /// Writes an event: a time, what happened, and the members that aren't invalid.
    void write(const QString &event, const Members &members = {});

private:
    const int m_descriptor;
    const Form m_form;
    std::mutex m_mutex;
};

} // namespace zr
