// SPDX-License-Identifier: MIT
// The real service at each stage of a task, and what is left when one of those concerned is killed there.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/xpc/XPCCall.h"
#include "platform/xpc/XPCSocket.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <QUrl>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <poll.h>
#include <random>
#include <set>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zr;

namespace {

/// A bitmap of noise, which no compression makes smaller: some 12 MB, more than a socket holds.
QByteArray noise() {
    constexpr int side = 2000;
    constexpr int headers = 54;
    QByteArray bitmap(headers + side * side * 3, '\0');
    const auto put = [&](int at, quint32 value) { qToLittleEndian(value, bitmap.data() + at); };
    bitmap.replace(0, 2, "BM");
    put(2, quint32(bitmap.size()));
    put(10, headers);
    put(14, 40);
    put(18, side);
    put(22, side);
    put(26, 1 | 24 << 16);
    std::minstd_rand random;
    for (qsizetype i = headers; i < bitmap.size(); ++i)
        bitmap[i] = char(random());
    return bitmap;
}

/// A document that takes the engine long to print.
QString longDocument() {
    QString html = QStringLiteral("<!doctype html>");
    for (int i = 0; i < 20000; ++i)
        html += QStringLiteral("<p>paragraph %1 of many").arg(i);
    return html;
}

/// The service as a socket unit starts it, with its log.
class UnitService {
public:
    explicit UnitService(const zr::FileDescriptor &socket) {
        std::array<int, 2> log{};
        EXPECT_EQ(::pipe2(log.data(), O_CLOEXEC), 0);
        m_log.reset(log[0]);
        UnitOptions options;
        options.standardError = log[1];
        m_pid = startLikeSystemd(ZR_BINARY_DIR "/libexec/zrkit/com.velmora.zrpdf", socket, options);
        ::close(log[1]);
    }
    ~UnitService() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            waitStatus(m_pid);
        }
    }
    UnitService(const UnitService &) = delete;
    UnitService &operator=(const UnitService &) = delete;

    pid_t pid() const { return m_pid; }
    /// The process of the service's browser, or of its keeper.
    pid_t part(const char *name) const {
        for (const ProcessTree::Process &entry : ProcessTree::below(m_pid)) {
            const bool isKeeper = entry.command.find("zrkit-keeper") != std::string::npos;
            const bool isRenderer = entry.command.find("--type=renderer") != std::string::npos;
            const bool isBrowser = !isKeeper && entry.command.find("--type=") == std::string::npos;
            const std::string kind = isKeeper     ? "keeper"
                                     : isRenderer ? "renderer"
                                     : isBrowser  ? "browser"
                                                  : "";
            if (kind == name)
                return entry.pid;
        }
        return -1;
    }
    /// Reads the log until the text comes, after what was waited for before.
    bool logs(const QByteArray &text) {
        qsizetype found = -1;
        while ((found = m_text.indexOf(text)) < 0) {
            pollfd wait{m_log.get(), POLLIN, 0};
            if (::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) != 1) {
                ADD_FAILURE() << "only this came: " << m_text.toStdString();
                return false;
            }
            char bytes[4096];
            const ssize_t n = ::read(m_log.get(), bytes, sizeof bytes);
            if (n <= 0)
                return false;
            m_text.append(bytes, n);
        }
        m_text.remove(0, found + text.size());
        return true;
    }
    /// Its exit code once it has been asked to end.
    int end() {
        ::kill(m_pid, SIGTERM);
        return finish();
    }
    int finish() {
        const int status = waitStatus(m_pid);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t m_pid = -1;
    zr::FileDescriptor m_log;
    QByteArray m_text;
};

/// A client that reads its reply when it likes to.
class RawClient {
public:
    RawClient(const QString &path, const QVariant &document) : m_socket(XPCConnect(path.toLocal8Bit())) {
        EXPECT_GE(m_socket.get(), 0);
        XPCCall call;
        call.selector = QStringLiteral("performWithData:block:");
        call.values = {
            NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("data"), document}})};
        const XPCFrame frame = call.frame(XPCFrame::Kind::Message, 1);
        QByteArray bytes = frame.prologue() + frame.archive;
        for (const QByteArray &segment : frame.segments)
            bytes += segment;
        for (qsizetype sent = 0; sent < bytes.size();) {
            const ssize_t n =
                ::send(m_socket.get(), bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
            if (n <= 0)
                break;
            sent += n;
        }
    }
    /// Waits for the first byte of the reply and leaves it there.
    bool isAnswered() const {
        pollfd wait{m_socket.get(), POLLIN, 0};
        return ::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) == 1;
    }
    /// Reads the reply; false where none comes whole.
    bool read() {
        XPCFrameReader reader(
            [this](char *into, std::size_t count) { return ::read(m_socket.get(), into, count); });
        XPCFrame frame;
        if (!isAnswered() || reader.next(frame) != XPCFrameReader::Outcome::Frame)
            return false;
        const QVariantList values = XPCCall::fromFrame(frame).values;
        const QByteArray archive = values.value(0).toByteArray();
        if (!archive.isEmpty())
            pdf = NSKeyedUnarchiver::unarchiveObjectWithData(archive)
                      .toMap()
                      .value(QStringLiteral("data"))
                      .toByteArray();
        error = values.value(1).value<NSError>();
        return true;
    }
    void hangUp() { m_socket.reset(); }

    QByteArray pdf;
    NSError error;

private:
    zr::FileDescriptor m_socket;
};

enum class Stage { Idle, Loading, Printing, Replying };

std::string nameOf(Stage stage) {
    return stage == Stage::Idle       ? "Idle"
           : stage == Stage::Loading  ? "Loading"
           : stage == Stage::Printing ? "Printing"
                                      : "Replying";
}

/// A service of the test's own, and its clients.
class ServiceClient : public ::testing::Test {
protected:
    ServiceClient() {
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        for (const ProcessTree::Process &entry : ProcessTree::below(::getpid()))
            m_before.insert(entry.pid);
        service = std::make_unique<UnitService>(socket);
    }
    ~ServiceClient() override {
        never.open();
        service.reset();
        ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    }
    void expectConversion(const char *text) {
        RawClient client(path, QStringLiteral("<p>%1").arg(QString::fromUtf8(text)));
        ASSERT_TRUE(client.read()) << text;
        EXPECT_EQ(PDFDocument(client.pdf).pageCount(), 1)
            << client.error.localizedDescription().toStdString();
    }
    /// A client whose task has reached the stage.
    std::unique_ptr<RawClient> reach(Stage stage) {
        switch (stage) {
        case Stage::Idle:
            break;
        case Stage::Loading: {
            auto client = std::make_unique<RawClient>(path, server.url(QStringLiteral("/")));
            EXPECT_TRUE(ProcessTree::waitUntil([this] { return server.count("/never.png") > 0; }));
            return client;
        }
        case Stage::Printing: {
            auto client = std::make_unique<RawClient>(path, longDocument());
            EXPECT_TRUE(service->logs("didFinishLoadForFrame <WebFrame: main"));
            return client;
        }
        case Stage::Replying: {
            auto client =
                std::make_unique<RawClient>(path, QStringLiteral("<img src='data:image/bmp;base64,%1'>")
                                                      .arg(QString::fromLatin1(noise().toBase64())));
            EXPECT_TRUE(client->isAnswered());
            return client;
        }
        }
        return nullptr;
    }
    /// Whether all has gone that came with this test; the program may have services of other tests.
    bool nothingIsLeft() {
        return ProcessTree::waitUntil([this] {
            const auto now = ProcessTree::below(::getpid());
            return std::all_of(now.begin(), now.end(), [this](const ProcessTree::Process &entry) {
                return m_before.contains(entry.pid);
            });
        });
    }

    const RuntimeFolder runtime;
    const QString path = runtime.path() + QStringLiteral("/unit.sock");
    const zr::FileDescriptor socket = listenAt(path);
    std::unique_ptr<UnitService> service;
    Gate never;
    HTTPServer server{[this](const HTTPServer::Request &request) {
        if (request.path == "/never.png")
            return HTTPServer::Response{.contentType = "image/png", .body = "x", .gate = &never};
        return HTTPServer::Response{.body = "<!doctype html><p>page<img src=/never.png>"};
    }};

private:
    std::set<pid_t> m_before;
};

class ServiceKill : public ServiceClient,
                    public ::testing::WithParamInterface<std::tuple<Stage, const char *>> {};

} // namespace

TEST_P(ServiceKill, LeavesNothingAndTheNextTaskWorks) {
    const auto [stage, victim] = GetParam();
    expectConversion("before");
    ASSERT_TRUE(service->logs("<== XPC finished"));
    const std::unique_ptr<RawClient> client = reach(stage);
    QElapsedTimer sinceDeath;
    sinceDeath.start();
    if (victim == std::string("client")) {
        client->hangUp();
    } else if (victim == std::string("service")) {
        ::kill(service->pid(), SIGKILL);
        EXPECT_EQ(service->finish(), -SIGKILL);
        // What reads as fast as a dying process still sends would get it all.
        if (client) {
            EXPECT_FALSE(client->read());
        }
        EXPECT_TRUE(nothingIsLeft());
        EXPECT_EQ(runtime.entries(), QStringList{QStringLiteral("unit.sock")});
        service = std::make_unique<UnitService>(socket);
    } else {
        const pid_t pid = service->part(victim);
        ASSERT_GT(pid, 1);
        ::kill(pid, SIGKILL);
        if (client) {
            EXPECT_TRUE(client->read());
            EXPECT_LT(sinceDeath.elapsed(), 1000);
        }
        if (stage == Stage::Loading || stage == Stage::Printing) {
            EXPECT_TRUE(client->pdf.isNull());
            EXPECT_EQ(client->error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
        } else {
            if (client) {
                EXPECT_EQ(PDFDocument(client->pdf).pageCount(), 1);
            }
        }
    }
    expectConversion("next");
    expectConversion("and the one after");
    EXPECT_EQ(service->end(), 0);
    EXPECT_TRUE(nothingIsLeft());
    EXPECT_EQ(runtime.entries(), QStringList{QStringLiteral("unit.sock")});
}

class ServiceIdle : public ServiceKill {};

TEST_P(ServiceIdle, ADeathCostsNoTaskAnything) {
    const char *const victim = std::get<1>(GetParam());
    expectConversion("before");
    std::minstd_rand random(unsigned(::testing::UnitTest::GetInstance()->random_seed()));
    for (const int most : {0, 1, 5, 20, 50, 100, 300, 1000}) {
        // Whoever was restarted after the last death may not be there yet.
        ASSERT_TRUE(ProcessTree::waitUntil([&] { return service->part(victim) > 1; }));
        ::kill(service->part(victim), SIGKILL);
        // How long it has been dead is what this is about.
        const int wait = int(random() % unsigned(most + 1));
        ::poll(nullptr, 0, wait);
        SCOPED_TRACE(wait);
        expectConversion("next");
    }
    EXPECT_EQ(service->end(), 0);
    EXPECT_TRUE(nothingIsLeft());
}

TEST_F(ServiceClient, WhoHasGoneWhileItsDocumentIsPrintedHoldsUpNobody) {
    // Breaking one word of so many letters into lines takes the engine the better part of a minute.
    const QString word = QStringLiteral("<!doctype html><p>") + QString(400000, u'x');
    qint64 fastest = std::numeric_limits<qint64>::max();
    for (int round = 0; round < 3; ++round) {
        RawClient client(path, word);
        ASSERT_TRUE(service->logs("didFinishLoadForFrame <WebFrame: main"));
        const pid_t busy = service->part("renderer");
        QElapsedTimer sinceHangup;
        sinceHangup.start();
        client.hangUp();
        ASSERT_TRUE(service->logs("The view was stopped"));
        fastest = std::min(fastest, sinceHangup.elapsed());
        ASSERT_TRUE(service->logs("<== XPC finished"));
        expectConversion("next");
        EXPECT_LT(sinceHangup.elapsed(), 5000);
        EXPECT_TRUE(hasEnded(busy));
        ASSERT_TRUE(service->logs("<== XPC finished"));
    }
    EXPECT_LT(fastest, 100);
}

INSTANTIATE_TEST_SUITE_P(Whoever, ServiceKill,
                         ::testing::Combine(::testing::Values(Stage::Idle, Stage::Loading, Stage::Printing,
                                                              Stage::Replying),
                                            ::testing::Values("service", "browser", "keeper", "renderer")),
                         [](const auto &test) {
                             return std::string(std::get<1>(test.param)) + "While" +
                                    nameOf(std::get<0>(test.param));
                         });
INSTANTIATE_TEST_SUITE_P(Client, ServiceKill,
                         ::testing::Combine(::testing::Values(Stage::Loading, Stage::Printing,
                                                              Stage::Replying),
                                            ::testing::Values("client")),
                         [](const auto &test) { return "GoneWhile" + nameOf(std::get<0>(test.param)); });
INSTANTIATE_TEST_SUITE_P(Of, ServiceIdle,
                         ::testing::Combine(::testing::Values(Stage::Idle),
                                            ::testing::Values("renderer", "browser", "keeper")),
                         [](const auto &test) { return std::string(std::get<1>(test.param)); });
