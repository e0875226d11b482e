// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/TaskMessage.h"

#include "ZRKit/Service/Serialization.h"
#include "platform/base/NSException.h"

#include <QUuid>

using namespace zr;

namespace {

const QString claimHeader = QStringLiteral("zrpdf-claim");
constexpr char resultType[] = "result";
constexpr char errorType[] = "error";

} // namespace

void TaskMessage::setBody(BrokerMessage &message, const QByteArray &body, const ClaimStore *store) {
    if (store && body.size() > largestBody) {
        message.headers.insert(claimHeader, QString::fromLatin1(store->put(body)));
        message.body.clear();
        return;
    }
    if (body.size() > largestBodyWithoutStore)
        throw NSException(
            NSGenericException,
            QStringLiteral("%1 bytes are more than a broker should carry, and there is no store for them")
                .arg(body.size()));
    message.body = body;
}

QByteArray TaskMessage::body(const BrokerMessage &message, const ClaimStore *store) {
    const QByteArray name = claim(message);
    if (name.isEmpty())
        return message.body;
    if (!store)
        throw NSException(NSGenericException,
                          QStringLiteral("the document is in a store, and none is configured here"));
    return store->get(name);
}

QByteArray TaskMessage::claim(const BrokerMessage &message) {
    return message.headers.value(claimHeader).toString().toUtf8();
}

BrokerMessage TaskMessage::withReply(const Reply &reply, const BrokerMessage &task, const ClaimStore *store) {
    BrokerMessage message;
    message.messageId = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    message.correlationId = task.messageId;
    message.type = reply.error ? errorType : resultType;
    // A result that can't be archived is replied to with nothing, as by a service.
    setBody(message, serialize(reply.error ? QVariant::fromValue(reply.error) : reply.result), store);
    return message;
}

TaskMessage::Reply TaskMessage::reply(const BrokerMessage &message, const ClaimStore *store) {
    const QVariant value = unserialize(body(message, store));
    if (message.type == errorType)
        return {{}, value.value<NSError>()};
    return {value, {}};
}
