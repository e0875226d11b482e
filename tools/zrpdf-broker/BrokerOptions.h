// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <functional>
#include <vector>

namespace zr {

/// What every program says of the broker that it uses.
struct BrokerOptions {
    QList<QUrl> brokers;
    QString prefix = QStringLiteral("zrpdf");
    QUrl store; ///< nil if it wasn't given

    /// One option of a command line, "--name VALUE" or "--name=VALUE"; a flag is given without a value.
    struct Option {
        QByteArray name; ///< with its dashes
        bool takesValue;
        /// Takes the value; what is wrong with it, or nothing.
        std::function<QByteArray(const QByteArray &value)> apply;
    };
    /// --broker, --broker-file, --prefix and --store.
    std::vector<Option> table();
    /// What is wrong with them together, or nothing.
    QByteArray problem() const;

    /// Applies the arguments that the table knows, and gives those that it doesn't, in their order. What follows "--" is left
    /// alone.
    /// \param problem  receives one sentence about what is wrong, or nothing
    static QList<QByteArray> apply(const std::vector<Option> &table, const QList<QByteArray> &arguments,
                                   QByteArray *problem);
};

} // namespace zr
