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
    QUrl store;            ///< nil if it wasn't given
    bool isWanted = false; ///< whether any of its options was given

    /// --broker, --broker-file, --prefix and --store.
    std::vector<CommandOption> table();
    /// What is wrong with them together, or nothing.
    QByteArray problem() const;

private:
    /// Notes that there is an option. \return the problem with it as the reader of options tells it, or nothing
    QByteArray given(const QByteArray &problem);
};

} // namespace zr
