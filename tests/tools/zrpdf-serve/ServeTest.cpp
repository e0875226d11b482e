// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include "tests/support/ProcessTree.h"

#include <csignal>
#include <unistd.h>

void ServeTest::TearDown() {
    if (m_server) {
        EXPECT_EQ(stop(), 0);
    }
    ZrpdfTest::TearDown();
}

Child::Setup ServeTest::serveSetup(const QList<QByteArray> &arguments) const {
    Child::Setup wanted = setup({});
    wanted.command = QList<QByteArray>{ZR_BINARY_DIR "/libexec/zrkit/zrpdf-serve"} + arguments;
    return wanted;
}

void ServeTest::start(const QList<QByteArray> &arguments) {
    QList<QByteArray> all = arguments;
    const auto addUnlessGiven = [&](const QByteArray &name, const QByteArray &value) {
        if (!all.contains(name))
            all += {name, value};
    };
    addUnlessGiven("--instances", "1");
    addUnlessGiven("--network", "all");
    start(serveSetup(all));
}

void ServeTest::start(const Child::Setup &wanted) {
    m_server = std::make_unique<Child>(wanted);
    ASSERT_TRUE(m_server->readUntil([this] { return m_server->standardError().contains("listening"); }))
        << m_server->standardError().toStdString();
}

ServeTest::Result ServeTest::runServe(const QList<QByteArray> &arguments) {
    Child child(serveSetup(arguments));
    return finish(child, std::chrono::seconds(20));
}

int ServeTest::stop(int signal) {
    m_server->kill(signal);
    const int code = m_server->wait(std::chrono::seconds(30));
    m_server.reset();
    return code;
}

QByteArray ServeTest::log() {
    if (!m_server)
        return {};
    m_server->readUntil([] { return false; }, std::chrono::milliseconds(1));
    return m_server->standardError();
}

ServeTest::Answer ServeTest::post(const QByteArray &body, const QByteArray &target,
                                  const QByteArray &header) const {
    HTTPConnection connection = connect();
    connection.post(target, body, header);
    return connection.answer();
}

ServeTest::Answer ServeTest::get(const QByteArray &target, const QByteArray &header) const {
    HTTPConnection connection = connect();
    connection.get(target, header);
    return connection.answer();
}

double ServeTest::metric(const QByteArray &name) const {
    for (const QByteArray &line : get("/metrics").body.split('\n'))
        if (line.startsWith(name + ' '))
            return line.mid(name.size() + 1).toDouble();
    return -1;
}

bool ServeTest::waitForMetric(const QByteArray &name, double value) const {
    return ProcessTree::waitUntil([&] { return metric(name) == value; });
}

pid_t ServeTest::processWith(const std::string &text) const {
    for (const ProcessTree::Process &process : ProcessTree::below(m_server->pid()))
        if (process.command.find(text) != std::string::npos)
            return process.pid;
    return 0;
}

QByteArray ServeTest::textOf(const QByteArray &pdf) {
    Child::Setup reader;
    reader.command = {"/usr/bin/pdftotext", "-", "-"};
    reader.folder = "/";
    reader.keepsInput = true;
    Child child(reader);
    child.write(pdf);
    child.closeInput();
    child.wait();
    return child.standardOutput().simplified();
}
