// SPDX-License-Identifier: MIT
#include "tools/converter/ServicePool.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/ProcessTree.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace zr;

namespace {

using Answer = Converter::Answer;
using Outcome = Converter::Outcome;
using std::chrono::milliseconds;
using std::chrono::seconds;

class ServicePoolTest : public testing::Test {
protected:
    struct Promised {
        std::future<Answer> future;
        Answer get() {
            EXPECT_EQ(future.wait_for(seconds(60)), std::future_status::ready) << "no answer";
            return future.wait_for(seconds(0)) == std::future_status::ready ? future.get() : Answer();
        }
        bool isOpen() const { return future.wait_for(seconds(0)) != std::future_status::ready; }
    };

    static void TearDownTestSuite() {
        EXPECT_TRUE(ProcessTree::waitUntil([] { return ProcessTree::below(::getpid()).empty(); }));
    }
    ~ServicePoolTest() override {
        m_hold.open();
        EXPECT_TRUE(ProcessTree::waitUntil([] { return ProcessTree::below(::getpid()).empty(); }));
    }

    static Promised convert(ServicePool &pool, const QVariant &data, milliseconds timeout = seconds(60),
                            const std::stop_token &abandoned = {}) {
        const auto promise = std::make_shared<std::promise<Answer>>();
        pool.convert({.object = {{u"data"_s, data}}, .timeout = timeout, .abandoned = abandoned},
                     [promise](const Answer &answer) { promise->set_value(answer); });
        return {promise->get_future()};
    }
    /// A document whose picture doesn't come until the test is over.
    QVariant endless() const {
        return u"<p>x<img src='%1'>"_s.arg(m_server.url(u"/picture.png"_s).toString());
    }
    bool areAsked(int count) const {
        return ProcessTree::waitUntil([&] { return m_asked >= count; });
    }
    /// A service that is being started when its pool goes ends only with this process.
    static bool areUp(std::size_t count) {
        return ProcessTree::waitUntil([&] { return services().size() == count; });
    }
    static std::vector<pid_t> processes(const char *name) {
        std::vector<pid_t> found;
        for (const ProcessTree::Process &process : ProcessTree::below(::getpid()))
            if (process.command.find(name) != std::string::npos)
                found.push_back(process.pid);
        return found;
    }
    static std::vector<pid_t> services() { return processes("com.velmora.zrpdf"); }
    static void killBrowser() {
        for (const ProcessTree::Process &process : ProcessTree::below(::getpid()))
            if (process.command.find("remote-debugging-pipe") != std::string::npos &&
                process.command.find("--type=") == std::string::npos &&
                process.command.find("zrkit-keeper") == std::string::npos)
                ::kill(process.pid, SIGKILL);
    }

    Gate m_hold;
    std::atomic<int> m_asked = 0;
    HTTPServer m_server{[this](const HTTPServer::Request &) {
        ++m_asked;
        m_hold.pass();
        return HTTPServer::Response{.status = 404};
    }};
};

TEST_F(ServicePoolTest, ConvertsEachDocumentWithItsOwnAnswer) {
    ServicePool pool({.instances = 2});
    ASSERT_TRUE(areUp(2));
    std::vector<Promised> all;
    for (int number = 0; number < 10; ++number)
        all.push_back(convert(pool, u"<div style='height:%1px'>"_s.arg(100 + number)));
    for (Promised &each : all) {
        const Answer answer = each.get();
        EXPECT_EQ(answer.outcome, Outcome::Done) << answer.text().toStdString();
        EXPECT_TRUE(answer.pdf().startsWith("%PDF-"));
        EXPECT_TRUE(answer.text().isNull());
    }
    EXPECT_EQ(pool.state().instances, 2);
}

TEST_F(ServicePoolTest, ADocumentThatCannotBeConvertedFailsWithItsCause) {
    ServicePool pool({});
    ASSERT_TRUE(areUp(1));
    const Answer answer = convert(pool, QByteArray()).get();
    EXPECT_EQ(answer.outcome, Outcome::Failed);
    EXPECT_EQ(answer.message, u"HTML to PDF converter did fail"_s);
    EXPECT_FALSE(answer.cause.isNull());
    EXPECT_EQ(answer.text(), answer.message + u": "_s + answer.cause);
    EXPECT_TRUE(answer.pdf().isNull());
}

TEST_F(ServicePoolTest, AProbeIsAnswered) {
    ServicePool pool({});
    ASSERT_TRUE(areUp(1));
    std::promise<Answer> promise;
    pool.convert({.object = {{u"__boot"_s, true}}}, [&](const Answer &answer) { promise.set_value(answer); });
    const Answer answer = promise.get_future().get();
    EXPECT_EQ(answer.outcome, Outcome::Done);
    EXPECT_EQ(answer.result, (QVariantMap{{u"boot"_s, u"success"_s}}));
}

TEST_F(ServicePoolTest, OneThatTakesTooLongEndsItsInstanceAndTheNextGetsANewOne) {
    ServicePool pool({});
    ASSERT_EQ(convert(pool, u"<p>first"_s).get().outcome, Outcome::Done);
    Promised late = convert(pool, endless(), milliseconds(700));
    Promised next = convert(pool, u"<p>next"_s);
    const Answer answer = late.get();
    EXPECT_EQ(answer.outcome, Outcome::Late);
    EXPECT_EQ(answer.message, u"took longer than 0.7 s"_s);
    EXPECT_EQ(next.get().outcome, Outcome::Done);
    EXPECT_EQ(pool.state().ended, 1U);
}

TEST_F(ServicePoolTest, WhatIsAbandonedIsGivenUpAndItsInstanceGoesOn) {
    ServicePool pool({});
    ASSERT_EQ(convert(pool, u"<p>first"_s).get().outcome, Outcome::Done);
    const std::vector<pid_t> before = services();
    ASSERT_EQ(before.size(), 1U);
    std::stop_source working;
    std::stop_source waiting;
    Promised one = convert(pool, endless(), seconds(60), working.get_token());
    Promised two = convert(pool, u"<p>x"_s, seconds(60), waiting.get_token());
    Promised three = convert(pool, u"<p>y"_s);
    ASSERT_TRUE(areAsked(1));
    waiting.request_stop();
    EXPECT_EQ(two.get().outcome, Outcome::Abandoned);
    EXPECT_TRUE(one.isOpen());
    working.request_stop();
    EXPECT_EQ(one.get().outcome, Outcome::Abandoned);
    EXPECT_EQ(three.get().outcome, Outcome::Done);
    EXPECT_EQ(services(), before);
}

TEST_F(ServicePoolTest, WhatWasAbandonedBeforeItCameIsNotConverted) {
    ServicePool pool({});
    ASSERT_TRUE(areUp(1));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(convert(pool, u"<p>x"_s, seconds(60), stop.get_token()).get().outcome, Outcome::Abandoned);
}

TEST_F(ServicePoolTest, ALostServiceFailsItsDocumentAndNoOther) {
    ServicePool pool({.instances = 2});
    Promised one = convert(pool, endless());
    ASSERT_TRUE(areAsked(1));
    const std::vector<pid_t> running = services();
    ASSERT_EQ(running.size(), 2U);
    for (const pid_t process : running)
        ASSERT_EQ(::kill(process, SIGKILL), 0);
    const Answer answer = one.get();
    EXPECT_EQ(answer.outcome, Outcome::Lost);
    EXPECT_EQ(answer.text(), u"the conversion service was lost (killed by signal 9)"_s);
    // The other one died idle.
    for (int number = 0; number < 4; ++number)
        EXPECT_EQ(convert(pool, u"<p>%1"_s.arg(number)).get().outcome, Outcome::Done);
}

TEST_F(ServicePoolTest, AServiceThatDiesIdleCostsNoDocumentItsTry) {
    ServicePool pool({});
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(convert(pool, u"<p>x"_s).get().outcome, Outcome::Done) << round;
        const std::vector<pid_t> running = services();
        ASSERT_EQ(running.size(), 1U);
        // The next document comes at the same moment.
        ::kill(running.front(), SIGKILL);
        siginfo_t info = {};
        ::waitid(P_PID, id_t(running.front()), &info, WEXITED | WNOWAIT);
    }
}

TEST_F(ServicePoolTest, ADocumentWhoseServiceIsLostIsTriedAgainSoManyTimes) {
    ServicePool pool({.tries = 3});
    Promised one = convert(pool, endless());
    for (int attempt = 1; attempt <= 3; ++attempt) {
        ASSERT_TRUE(areAsked(attempt)) << attempt;
        EXPECT_TRUE(one.isOpen());
        ASSERT_EQ(::kill(services().front(), SIGKILL), 0);
    }
    EXPECT_EQ(one.get().outcome, Outcome::Lost);
    EXPECT_EQ(m_asked, 3);
    EXPECT_EQ(convert(pool, u"<p>x"_s).get().outcome, Outcome::Done);
}

TEST_F(ServicePoolTest, ADocumentThatIsTriedAgainHasNoMoreTimeThanOthers) {
    ServicePool pool({.tries = 100});
    auto answer = convert(pool, endless(), seconds(3));
    // Each try would be lost before its own time was up.
    const std::jthread killer([](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            ::poll(nullptr, 0, 1000);
            for (const pid_t service : services())
                ::kill(service, SIGKILL);
        }
    });
    EXPECT_EQ(answer.get().outcome, Outcome::Late);
}

TEST_F(ServicePoolTest, ALostBrowserIsALossToo) {
    ServicePool once({});
    Promised one = convert(once, endless());
    ASSERT_TRUE(areAsked(1));
    killBrowser();
    const Answer answer = one.get();
    EXPECT_EQ(answer.outcome, Outcome::Lost);
    EXPECT_TRUE(answer.error);
    EXPECT_TRUE(answer.text().startsWith(u"HTML to PDF converter did fail: ")) << answer.text().toStdString();
}

TEST_F(ServicePoolTest, ADocumentWhoseBrowserWasLostIsTriedAgain) {
    ServicePool pool({.tries = 2});
    Promised one = convert(pool, endless());
    ASSERT_TRUE(areAsked(1));
    killBrowser();
    ASSERT_TRUE(areAsked(2));
    m_hold.open();
    EXPECT_EQ(one.get().outcome, Outcome::Done);
}

TEST_F(ServicePoolTest, WhenItEndsAllIsAbandonedAndItsServicesEnd) {
    std::vector<Promised> all;
    {
        ServicePool pool({.instances = 2});
        ASSERT_TRUE(areUp(2));
        all.push_back(convert(pool, endless()));
        ASSERT_TRUE(areAsked(1));
        all.push_back(convert(pool, endless()));
        all.push_back(convert(pool, u"<p>x"_s));
        all.push_back(convert(pool, u"<p>y"_s));
    }
    for (Promised &each : all) {
        const Outcome outcome = each.get().outcome;
        EXPECT_TRUE(outcome == Outcome::Abandoned || outcome == Outcome::Done);
    }
    EXPECT_TRUE(ProcessTree::waitUntil([] { return services().empty(); }));
}

TEST_F(ServicePoolTest, TheNextPoolHasServicesOfItsOwn) {
    for (int round = 0; round < 5; ++round) {
        ServicePool pool({});
        EXPECT_EQ(convert(pool, u"<p>x"_s).get().outcome, Outcome::Done) << round;
    }
}

TEST_F(ServicePoolTest, AServiceThatIsNotInstalledIsSaid) {
    ServicePool pool({.service = u"com.velmora.nothing"_s});
    for (int round = 0; round < 2; ++round) {
        const Answer answer = convert(pool, u"<p>x"_s).get();
        EXPECT_EQ(answer.outcome, Outcome::Unavailable);
        EXPECT_EQ(answer.text(), u"the conversion service com.velmora.nothing is not installed"_s);
    }
}

TEST_F(ServicePoolTest, SaysHowManyWorkAndWait) {
    ServicePool pool({});
    ASSERT_TRUE(areUp(1));
    std::stop_source stop;
    Promised one = convert(pool, endless(), seconds(60), stop.get_token());
    Promised two = convert(pool, u"<p>x"_s, seconds(60), stop.get_token());
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        const Converter::State state = pool.state();
        return state.working == 1 && state.waiting == 1;
    }));
    stop.request_stop();
    EXPECT_EQ(two.get().outcome, Outcome::Abandoned);
    EXPECT_EQ(one.get().outcome, Outcome::Abandoned);
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        const Converter::State state = pool.state();
        return state.working == 0 && state.waiting == 0;
    }));
}

TEST_F(ServicePoolTest, ABrowserThatCanMakeNoMorePagesIsReplaced) {
    ServicePool pool({});
    EXPECT_EQ(convert(pool, u"<p>first"_s).get().outcome, Outcome::Done);
    const std::vector<ProcessTree::Process> before = ProcessTree::below(::getpid());
    for (const ProcessTree::Process &process : before)
        if (process.command.find("--type=zygote") != std::string::npos)
            ::kill(process.pid, SIGKILL);
    // A page that has met the network is used no more.
    for (int index = 0; index < 5; ++index)
        EXPECT_EQ(convert(pool, u"<p>%1<img src='http://127.0.0.1:1/'>"_s.arg(index)).get().outcome,
                  Outcome::Done)
            << index;
    // Of the old browser's processes none is left.
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        const auto alive = ProcessTree::alive(before);
        return std::none_of(alive.begin(), alive.end(), [](const ProcessTree::Process &process) {
            return process.command.find("--remote-debugging-pipe") != std::string::npos;
        });
    }));
}

} // namespace
