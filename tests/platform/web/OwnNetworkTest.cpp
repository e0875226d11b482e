// SPDX-License-Identifier: MIT
#include "tests/platform/web/OwnNetworkTest.h"

#include <QFile>

HTTPServer::Response OwnNetworkTest::answer(const HTTPServer::Request &request) {
    if (!request.path.endsWith(".png"))
        return {.body = "<p>text"};
    QFile picture(QStringLiteral(ZR_SOURCE_DIR "/tests/documents/red.png"));
    EXPECT_TRUE(picture.open(QIODevice::ReadOnly));
    return {.contentType = "image/png", .body = picture.readAll()};
}

QSet<QByteArray> OwnNetworkTest::reachedBy(const zr::WebNetworkPolicy &policy,
                                           const std::function<void(WebFrame &)> &load) {
    PacketLog log;
    {
        Loader loader;
        WebPreferences preferences;
        preferences.setNetworkPolicy(policy);
        loader.view->setPreferences(preferences);
        load(*loader.frame());
        EXPECT_TRUE(loader.delegate.wait());
        error = loader.delegate.lastError;
        text = QString();
        if (WebDocumentView *document = loader.frame()->frameView()->documentView()) {
            text = PDFReader(document->dataWithPDFInsideRect(document->frame())).text();
            error = document->error();
        }
    }
    zr::WebEngine::shared().shutDown();
    zr::WebEngine::withoutNetwork().shutDown();
    return log.destinations();
}
