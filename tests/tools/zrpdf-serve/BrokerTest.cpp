// SPDX-License-Identifier: MIT
#include "tests/support/RabbitMQ.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

namespace {

class ServeByBroker : public ServeTest {};

} // namespace

TEST_F(ServeByBroker, WorkersConvertWhatClientsAskFor) {
    RabbitMQ broker;
    const QByteArray url = broker.url().toEncoded();
    Child::Setup wanted = setup({});
    wanted.command = {ZR_BINARY_DIR "/libexec/zrkit/zrpdf-worker", "--broker", url};
    Child worker(wanted);
    start({"--broker", url});
    const Answer answer = post(html(1500), "/v1/pdf?title=T");
    EXPECT_TRUE(answer.isPDF()) << answer.body.left(500).toStdString();
    EXPECT_EQ(pageHeightOf(answer.body), 1500);
    EXPECT_EQ(get("/health").status, 200);
    EXPECT_EQ(post("\x01\x02\x03", "/v1/pdf", "").code(), "not-convertible");
    EXPECT_EQ(stop(), 0);
    worker.kill(SIGTERM);
    EXPECT_EQ(worker.wait(), 0) << worker.standardError().toStdString();
}
