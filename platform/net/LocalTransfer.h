// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/URLTransfer.h"

#include <QByteArray>

/// Carries file and data URLs. Files are read piece by piece, so that other transfers go on meanwhile.
class LocalTransfer : public URLTransfer {
public:
    using URLTransfer::URLTransfer;
    ~LocalTransfer() override;

    void start(const std::shared_ptr<NSURLRequest> &request) override;
    void stop() override;

private:
    void load(const QUrl &url);
    void openFile(const QUrl &url);
    void readPiece();

    QUrl m_url;
    int m_file = -1;
    QByteArray m_buffer;
};
