// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/BrokerOptions.h"

#include "ZRKit/Queue/ClaimStore.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "platform/base/NSException.h"
#include "platform/broker/BrokerAddress.h"
#include "platform/broker/BrokerError.h"
#include "platform/files/FileContents.h"

#include <QFile>

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

std::vector<CommandOption> BrokerOptions::table() {
    using Value = const QByteArray &;
    constexpr auto once = CommandOption::Rule::Once;
    return {{0, "broker", [this](Value value) { return given(addBroker(brokers, value)); }},
            {0, "broker-file", [this](Value value) { return given(addBrokers(brokers, value)); }},
            {0, "prefix",
             [this](Value value) {
                 prefix = QString::fromUtf8(value);
                 return given(reasonOf([&] { TaskQueues{prefix}; }));
             },
             once},
            {0, "store",
             [this](Value value) {
                 store = QUrl(QString::fromUtf8(value), QUrl::StrictMode);
                 return given(reasonOf([&] { ClaimStore{store}; }));
             },
             once}};
}

QByteArray BrokerOptions::given(const QByteArray &problem) {
    isWanted = true;
    return problem.isEmpty() ? QByteArray() : "is not usable: " + problem;
}

QByteArray BrokerOptions::problem() const {
    return brokers.isEmpty() ? QByteArray("no broker; --broker or --broker-file names one") : QByteArray();
}
