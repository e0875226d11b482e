// SPDX-License-Identifier: MIT
#pragma once

#include "platform/web/WebEngine.h"
#include "platform/web/WebNetworkPolicy.h"
#include "tests/platform/web/ViewLoader.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/OwnNetwork.h"

#include <QByteArrayList>
#include <algorithm>
#include <gtest/gtest.h>
#include <optional>

/// A test in a network of its own, where a server listens at port 80 of every address.
class OwnNetworkTest : public ::testing::Test {
protected:
    using Access = zr::WebNetworkPolicy::Access;

    void SetUp() override {
        static const bool isIn = OwnNetwork::enter();
        ASSERT_TRUE(isIn) << OwnNetwork::needs;
        server.emplace([this](const HTTPServer::Request &request) { return answer(request); },
                       OwnNetwork::listenEverywhere(80), 80);
        names.emplace([this](const QByteArray &name, int count) { return addressesOf(name, count); });
        packets.emplace();
    }
    void TearDown() override {
        // Browsers may not outlive what they talk to.
        zr::WebEngine::shared().shutDown();
        zr::WebEngine::withoutNetwork().shutDown();
    }

    /// By default a red picture for what ends so, and a text for all else.
    virtual HTTPServer::Response answer(const HTTPServer::Request &request);
    /// By default the public address.
    virtual QList<QByteArray> addressesOf(const QByteArray &name, int count) { return {"93.184.216.34"}; }

    /// Loads and prints, and has everything that the browser would still do be done; what was reached.
    QSet<QByteArray> reachedBy(const zr::WebNetworkPolicy &policy,
                               const std::function<void(WebFrame &)> &load);
    QSet<QByteArray> reachedBy(Access access, const QString &markup) {
        return reachedBy({.access = access}, [&](WebFrame &frame) { frame.loadHTMLString(markup); });
    }
    QSet<QByteArray> reachedBy(Access access, const QUrl &url) {
        return reachedBy({.access = access}, [&](WebFrame &frame) { frame.loadRequest(url); });
    }
    /// Destinations in their order, with blanks between them.
    static QByteArray shown(const QSet<QByteArray> &destinations) {
        QByteArrayList list = destinations.values();
        std::sort(list.begin(), list.end());
        return list.join(' ');
    }
    /// What was reached besides the name server and the two addresses that are public here.
    static QByteArray privateOf(QSet<QByteArray> destinations) {
        return shown(destinations.subtract({"127.0.0.1:53", "93.184.216.34:80", "[2606:2800:220:1::1]:80"}));
    }

    static QUrl publicUrl(const QString &path) { return QUrl(QStringLiteral("http://93.184.216.34") + path); }

    std::optional<HTTPServer> server;
    std::optional<NameServer> names;
    std::optional<PacketLog> packets;
    QString text;  ///< of the last document's PDF
    NSError error; ///< of the last document, nil if there is a PDF
};
