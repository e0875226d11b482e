// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/net/URLTransfer.h"

#include <QByteArray>

namespace zr {

/// Carries file and data URLs. Files are read piece by piece, so that other transfers go on meanwhile.
class LocalTransfer : public URLTransfer {
public:
    using URLTransfer::URLTransfer;
    void start(const std::shared_ptr<NSURLRequest> &request) override;

private:
    void openFile();
    void readPiece();
    void loadData();
    void failWith(NSURLErrorCode code, int error = 0);

    QUrl m_url;
    FileDescriptor m_file;
    QByteArray m_buffer;
};

} // namespace zr
