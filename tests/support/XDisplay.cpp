// SPDX-License-Identifier: MIT
#include "tests/support/XDisplay.h"

#include <QDeadlineTimer>
#include <csignal>
#include <stdexcept>
#include <unistd.h>

namespace {

/// The number that the server writes on a line of its own; empty if there is none yet.
QByteArray displayNumber(const QByteArray &said) {
    const QList<QByteArray> lines = said.split('\n');
    for (const QByteArray &line : lines.first(lines.size() - 1)) {
        bool isNumber = false;
        line.toUInt(&isNumber);
        if (isNumber)
            return line;
    }
    return {};
}

} // namespace

XDisplay::XDisplay() {
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("1280x1024x24"), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp"), QStringLiteral("-noreset")},
                   m_folder.filePath(QStringLiteral("server")));
    waitFor(m_server, [](const QByteArray &said) { return !displayNumber(said).isEmpty(); });
    qputenv("DISPLAY", ":" + displayNumber(m_server.said()));
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    // The first key from a program changes the keyboard, upon which the window manager gives up its keys for a moment and may miss
    // one. So it comes before there is a window manager.
    ServerProcess keyboard;
    keyboard.start(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("shift")},
                   m_folder.filePath(QStringLiteral("keyboard")));
    if (keyboard.waitUntilItEnds() != 0)
        throw std::runtime_error("xdotool: " + keyboard.said().toStdString());
    // Programs would start a message bus for the display, which outlives them.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    // The window manager leaves files where the user's programs have theirs.
    const std::optional<QByteArray> caches =
        qEnvironmentVariableIsSet("XDG_CACHE_HOME") ? std::optional(qgetenv("XDG_CACHE_HOME")) : std::nullopt;
    qputenv("XDG_CACHE_HOME", m_folder.path().toUtf8());
    m_windowManager.start(QStringLiteral("openbox"),
                          {QStringLiteral("--sm-disable"), QStringLiteral("--config-file"),
                           QStringLiteral("/etc/xdg/openbox/rc.xml"), QStringLiteral("--startup"),
                           QStringLiteral("echo ready")},
                          m_folder.filePath(QStringLiteral("manager")));
    if (caches)
        qputenv("XDG_CACHE_HOME", *caches);
    else
        qunsetenv("XDG_CACHE_HOME");
    waitFor(m_windowManager, [](const QByteArray &said) { return said.contains("ready\n"); });
}

XDisplay::~XDisplay() {
    m_windowManager.end(SIGTERM);
    // Killed, it would leave its socket.
    m_server.end(SIGTERM);
}

void XDisplay::waitFor(ServerProcess &process, const std::function<bool(const QByteArray &)> &isReady) {
    const QDeadlineTimer bound(std::chrono::seconds(60));
    while (!isReady(process.said())) {
        if (process.exitCode() || bound.hasExpired())
            throw std::runtime_error("no X server, or no window manager:\n" + process.said().toStdString());
        ::usleep(5000);
    }
}
