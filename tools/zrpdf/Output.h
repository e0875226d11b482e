// SPDX-License-Identifier: MIT
#pragma once

#include "platform/files/AtomicFile.h"

#include <QByteArray>
#include <optional>

/// Where a PDF goes: a file that appears whole, standard output, or a device or pipe that is there already.
class Output {
public:
    /// \param path   the file, or "-" for standard output
    /// \param force  whether an existing file is replaced
    Output(const QByteArray &path, bool force);

    bool isStandardOutput() const { return m_path == "-"; }

    /// Why nothing can be written there, to be told early; empty if it can.
    QByteArray open();
    /// Writes it all. Gives why that failed; empty if it didn't. An interrupt ends the writing to a stream.
    QByteArray commit(const QByteArray &content);

private:
    QByteArray m_path;
    bool m_force;
    bool m_isStream = false;
    std::optional<zr::AtomicFile> m_file;
};
