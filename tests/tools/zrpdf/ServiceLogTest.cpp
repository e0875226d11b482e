// SPDX-License-Identifier: MIT
#include "tools/zrpdf/ServiceLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// Gives the process its own standard error back afterwards.
class ZrpdfServiceLog : public testing::Test {
protected:
    ~ZrpdfServiceLog() override {
        ::dup2(m_before, STDERR_FILENO);
        ::close(m_before);
    }
    static void write(const QByteArray &text) {
        ASSERT_EQ(::write(STDERR_FILENO, text.constData(), std::size_t(text.size())), text.size());
    }

private:
    int m_before = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
};

TEST_F(ZrpdfServiceLog, ReasonsAreWhatIsNeitherRoutineNorARemarkEachOnce) {
    ServiceLog log(false);
    EXPECT_TRUE(log.take().remarks.isEmpty() && log.take().reasons.isEmpty());
    write("Started Worker\n==> XPC work on task A#0\ntoo high\n\n!!! XPC Error: failed\ntoo high\n"
          "The browser runs without its sandbox, which root cannot have\n"
          "didFinishLoadForFrame <WebFrame: main, about:blank>\n"
          "NSXPCConnection: com.velmora.zrpdf: Connection refused\n"
          "<== XPC finished successfully task A#0\nsomething else\n");
    const ServiceLog::Findings findings = log.take();
    EXPECT_EQ(findings.remarks,
              QList<QByteArray>{"The browser runs without its sandbox, which root cannot have"});
    EXPECT_EQ(findings.reasons, (QList<QByteArray>{"too high", "something else"}));
    EXPECT_TRUE(log.take().remarks.isEmpty() && log.take().reasons.isEmpty());
}

TEST_F(ZrpdfServiceLog, OfFailedLoadsTheMainFramesMessageIsTheReason) {
    ServiceLog log(false);
    write("didFailLoadWithError Error Domain=d Code=-1 \"sub\" <WebFrame: sub-frame, http://a/>\n"
          "didFailProvisionalLoadWithError Error Domain=d Code=-1 \"no \"such\" host\" "
          "<WebFrame: main, http://a/?\"x\">\n");
    EXPECT_EQ(log.take().reasons, QList<QByteArray>{"no \"such\" host"});
}

TEST_F(ZrpdfServiceLog, ALineIsTakenWhenItIsWhole) {
    ServiceLog log(false);
    write("first\nsec");
    EXPECT_EQ(log.take().reasons, QList<QByteArray>{"first"});
    write("ond\n");
    EXPECT_EQ(log.take().reasons, QList<QByteArray>{"second"});
}

TEST_F(ZrpdfServiceLog, ALongRunsLinesAreNotKeptForEver) {
    ServiceLog log(false);
    const QByteArray line = "==> XPC work on task " + QByteArray(1000, 'x') + '\n';
    for (int round = 0; round < 2000; ++round) {
        write(line);
        EXPECT_TRUE(log.take().reasons.isEmpty());
    }
    write("still there\n");
    EXPECT_EQ(log.take().reasons, QList<QByteArray>{"still there"});
    EXPECT_LT(::lseek(STDERR_FILENO, 0, SEEK_END), 1'100'000);
}

TEST_F(ZrpdfServiceLog, OwnLinesGoToTheRealStandardError) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    for (const bool shown : {false, true}) {
        ServiceLog log(shown);
        ASSERT_EQ(::write(log.standardError(), "own\n", 4), 4);
        char text[16] = {};
        ASSERT_EQ(::read(ends[0], text, sizeof text), 4);
        ::close(log.standardError());
        ASSERT_EQ(::dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace
