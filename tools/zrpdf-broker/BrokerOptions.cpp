// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/BrokerOptions.h"

#include "ZRKit/Queue/ClaimStore.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "platform/base/NSException.h"
#include "platform/broker/BrokerAddress.h"
#include "platform/broker/BrokerError.h"
#include "platform/files/FileContents.h"

#include <QFile>
#include <algorithm>

using namespace zr;

namespace {

/// The broker's URLs hold passwords, so what is wrong is told without them.
QByteArray addBroker(QList<QUrl> &brokers, const QByteArray &text) {
    const QUrl url(QString::fromUtf8(text), QUrl::StrictMode);
    try {
        BrokerAddress::fromUrl(url);
    } catch (const BrokerError &error) {
        return error.what();
    }
    brokers.append(url);
    return {};
}

QByteArray addBrokers(QList<QUrl> &brokers, const QByteArray &path) {
    const QByteArray content = NSDataWithContentsOfFile(QFile::decodeName(path));
    if (content.isNull())
        return path + " can't be read";
    for (const QByteArray &line : content.split('\n')) {
        const QByteArray text = line.trimmed();
        if (text.isEmpty() || text.startsWith('#'))
            continue;
        const QByteArray problem = addBroker(brokers, text);
        if (!problem.isEmpty())
            return path + ": " + problem;
    }
    return {};
}

template <typename Check>
QByteArray reasonOf(Check check) {
    try {
        check();
        return {};
    } catch (const NSException &exception) {
        return exception.reason().toUtf8();
    }
}

} // namespace

std::vector<BrokerOptions::Option> BrokerOptions::table() {
    return {{"--broker", true, [this](const QByteArray &value) { return addBroker(brokers, value); }},
            {"--broker-file", true, [this](const QByteArray &value) { return addBrokers(brokers, value); }},
            {"--prefix", true,
             [this](const QByteArray &value) {
                 prefix = QString::fromUtf8(value);
                 return reasonOf([&] { TaskQueues{prefix}; });
             }},
            {"--store", true, [this](const QByteArray &value) {
                 store = QUrl(QString::fromUtf8(value), QUrl::StrictMode);
                 return reasonOf([&] { ClaimStore{store}; });
             }}};
}

QByteArray BrokerOptions::problem() const {
    return brokers.isEmpty() ? QByteArray("no broker; --broker or --broker-file names one") : QByteArray();
}

QList<QByteArray> BrokerOptions::apply(const std::vector<Option> &table, const QList<QByteArray> &arguments,
                                       QByteArray *problem) {
    QList<QByteArray> others;
    problem->clear();
    for (qsizetype at = 0; at < arguments.size() && problem->isEmpty(); ++at) {
        const QByteArray &argument = arguments[at];
        if (argument == "--") {
            others += arguments.mid(at);
            break;
        }
        const qsizetype equals = argument.startsWith("--") ? argument.indexOf('=') : -1;
        const QByteArray name = equals < 0 ? argument : argument.left(equals);
        const auto option =
            std::find_if(table.begin(), table.end(), [&](const Option &each) { return each.name == name; });
        if (option == table.end()) {
            others.append(argument);
            continue;
        }
        QByteArray value;
        if (equals >= 0) {
            value = argument.mid(equals + 1);
            if (!option->takesValue) {
                *problem = "option " + name + " takes no value";
                break;
            }
        } else if (option->takesValue) {
            if (++at == arguments.size()) {
                *problem = "option " + name + " needs a value";
                break;
            }
            value = arguments[at];
        }
        const QByteArray wrong = option->apply(value);
        if (!wrong.isEmpty())
            *problem = "option " + name + ": " + wrong;
    }
    return others;
}
