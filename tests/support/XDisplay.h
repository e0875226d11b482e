// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"

#include <QByteArray>
#include <QTemporaryDir>
#include <functional>

/// An X server of a test's own, with a screen of 1,280 x 1,024 that nobody sees, and a window manager in it, both of which end
/// with the object. The environment names it from then on, for this process's QApplication and for children. Make it before
/// there is a QApplication.
class XDisplay {
public:
    /// Waits until both are ready. Throws std::runtime_error.
    XDisplay();
    ~XDisplay();

private:
    void waitFor(ServerProcess &process, const std::function<bool(const QByteArray &said)> &isReady);

    QTemporaryDir m_folder;
    ServerProcess m_server;
    ServerProcess m_windowManager;
};
