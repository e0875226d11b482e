// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/OptionReader.h"

#include <QString>
#include <QUrl>

namespace zr {

/// What every program says of the broker that it uses.
struct BrokerOptions {
    QList<QUrl> brokers;
    QString prefix = QStringLiteral("zrpdf");
    QUrl store; ///< nil if it wasn't given

    /// --broker, --broker-file, --prefix and --store.
    std::vector<CommandOption> table();
    /// What is wrong with them together, or nothing.
    QByteArray problem() const;
};

} // namespace zr
