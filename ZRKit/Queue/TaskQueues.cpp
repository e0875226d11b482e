// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/TaskQueues.h"

#include "platform/base/ASCII.h"
#include "platform/base/NSException.h"

#include <QUuid>
#include <algorithm>

using namespace zr;

namespace {

constexpr qsizetype longestPrefix = 64;
constexpr std::chrono::milliseconds keepingOfTheDead = std::chrono::hours(24 * 14);

const QString quorum = QStringLiteral("quorum");
const QString queueType = QStringLiteral("x-queue-type");

} // namespace

TaskQueues::TaskQueues(const QString &prefix) : m_prefix(prefix.toUtf8()) {
    const bool isName = std::all_of(prefix.begin(), prefix.end(), [](QChar unit) {
        return isASCIILetter(unit.unicode()) || isASCIIDigit(unit.unicode()) || unit == u'.' ||
               unit == u'_' || unit == u'-';
    });
    // Names that begin with "amq." are the broker's own.
    if (prefix.isEmpty() || prefix == u"amq" || prefix.startsWith(u"amq.") ||
        m_prefix.size() > longestPrefix || !isName)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("\"%1\" can't begin the names of queues").arg(prefix));
}

QByteArray TaskQueues::replies() const {
    return m_prefix + ".replies." + QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
}

std::vector<BrokerClient::Queue> TaskQueues::shared() const {
    // Dead letters are moved for certain only from a queue that refuses messages when it is full.
    const QVariantMap taskArguments{
        {queueType, quorum},
        {QStringLiteral("x-delivery-limit"), tries - 1},
        {QStringLiteral("x-overflow"), QStringLiteral("reject-publish")},
        {QStringLiteral("x-dead-letter-strategy"), QStringLiteral("at-least-once")},
        {QStringLiteral("x-dead-letter-exchange"), QStringLiteral("")},
        {QStringLiteral("x-dead-letter-routing-key"), QString::fromUtf8(lost())}};
    return {
        {lost(), {{queueType, quorum}}},
        {dead(), {{queueType, quorum}, {QStringLiteral("x-message-ttl"), qint64(keepingOfTheDead.count())}}},
        {tasks(false), taskArguments},
        {tasks(true), taskArguments}};
}

BrokerClient::Queue TaskQueues::replyQueue(const QByteArray &name, std::chrono::milliseconds expiry) {
    return {name, {{queueType, quorum}, {QStringLiteral("x-expires"), qint64(expiry.count())}}};
}
