// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Network/ZRFetchOperation.h"
#include "platform/net/TransferLoop.h"
#include "tests/support/Gate.h"

#include <gtest/gtest.h>
#include <memory>

/// What a fetch gave, read inside its completion block, where it is in place.
struct Fetched {
    int calls = 0;
    qint64 statusCode = -1;
    bool OK = false;
    QByteArray data;
    QByteArray dataOK;
    QString string;
    QString stringOK;
    QVariant json;
    QVariant jsonOK;
    QVariant xml;
    QVariant xmlOK;
    QUrl url;
    NSError error;
    QString errorText;
    QString log;
    QString requestLog;
    QVariantMap headers;
    QString method;
    bool executing = true;
    bool finished = false;
};

/// Returns once the network thread has done all that it was asked for before.
inline void waitForNetworkThread() {
    Gate gate;
    ZRFetchOperation::networkRequestThread().perform([&] { gate.open(); });
    ASSERT_TRUE(gate.pass());
}

inline void read(Fetched &into, const ZRFetchOperation &operation) {
    ++into.calls;
    into.statusCode = operation.statusCode();
    into.OK = operation.OK();
    into.data = operation.data();
    into.dataOK = operation.dataOK();
    into.string = operation.string();
    into.stringOK = operation.stringOK();
    into.json = operation.json();
    into.jsonOK = operation.jsonOK();
    into.xml = operation.xml();
    into.xmlOK = operation.xmlOK();
    into.url = operation.url();
    into.error = operation.error();
    into.errorText = operation.localizedErrorString();
    into.log = operation.log();
    into.requestLog = operation.logRequest();
    into.headers = operation.headers().value_or(QVariantMap());
    into.method = operation.request() ? operation.request()->HTTPMethod() : QString();
    into.executing = operation.isExecuting();
    into.finished = operation.isFinished();
}

/// Fetches, and waits for the end.
inline Fetched fetched(const std::shared_ptr<ZRFetchOperation> &operation) {
    // Shared with the block, which may outlive a wait that failed.
    struct State {
        Gate gate;
        Fetched result;
    };
    const auto state = std::make_shared<State>();
    EXPECT_EQ(operation->fetchWithBlock([state](const auto &done) {
        read(state->result, *done);
        state->gate.open();
    }),
              operation);
    EXPECT_TRUE(state->gate.pass());
    waitForNetworkThread();
    return state->result;
}

inline Fetched fetched(const QVariant &url) {
    return fetched(std::make_shared<ZRFetchOperation>(url));
}
