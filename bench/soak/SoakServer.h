// SPDX-License-Identifier: MIT
#pragma once

#include <QTcpServer>

/// Serves a page that carries the number it was asked for, with a style and a picture of its own; /silent is never answered.
/// The thread of its event loop.
class SoakServer : public QTcpServer {
public:
    SoakServer();
    /// With a slash at its end.
    QString address() const;
};
