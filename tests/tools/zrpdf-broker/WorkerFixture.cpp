// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf-broker/WorkerFixture.h"

#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<RabbitMQ> shared;

class Broker : public testing::Environment {
public:
    void SetUp() override { shared = std::make_unique<RabbitMQ>(); }
    void TearDown() override { shared.reset(); }
};

const testing::Environment *const environment = testing::AddGlobalTestEnvironment(new Broker);

} // namespace

RabbitMQ &WorkerFixture::broker() {
    return *shared;
}

QString WorkerFixture::prefix() const {
    return QString::fromLatin1(testing::UnitTest::GetInstance()->current_test_info()->name());
}

std::unique_ptr<ServerProcess> WorkerFixture::worker(const QStringList &options,
                                                     const QString &program) const {
    auto process = std::make_unique<ServerProcess>();
    process->start(program,
                   QStringList{u"--broker"_s, broker().url().toString(), u"--prefix"_s, prefix(),
                               u"--instances"_s, u"1"_s, u"--urgent"_s, u"0"_s, u"--network"_s, u"all"_s} +
                       options,
                   m_folder.filePath(QUuid::createUuid().toString()));
    return process;
}

ZRXPCQueue::Options WorkerFixture::options() const {
    ZRXPCQueue::Options options;
    options.brokers = {broker().url()};
    options.prefix = prefix();
    return options;
}

std::future<WorkerFixture::Answer> WorkerFixture::send(ZRXPCQueue &queue, const QVariant &data) {
    auto answer = std::make_shared<std::promise<Answer>>();
    queue.performXPCAsyncWithObject(QVariantMap{{u"data"_s, data}},
                                    [answer](const QVariant &result, const NSError &error) {
                                        answer->set_value({result, error});
                                    });
    return answer->get_future();
}
