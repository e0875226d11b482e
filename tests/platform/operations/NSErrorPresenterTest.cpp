// SPDX-License-Identifier: MIT
#include "platform/operations/NSErrorPresenter.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "tests/support/LogCapture.h"

#include <QDeadlineTimer>
#include <QStringList>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

NSError errorNamed(const QString &text) {
    return {QStringLiteral("Test"), 7, {{NSLocalizedDescriptionKey, text}}};
}

class NSErrorPresenterTest : public testing::Test {
protected:
    struct Presenter : NSErrorPresenter {
        void presentError(const NSError &error) override {
            shown << error.localizedDescription();
            isOnMainThread = NSThread::isMainThread();
            if (error.code() == 8)
                throw NSException(NSGenericException, QStringLiteral("broken"));
        }
        void runModalAlert(const NSError &error) override {
            presentError(
                {error.domain(),
                 error.code(),
                 {{NSLocalizedDescriptionKey, QStringLiteral("alert ") + error.localizedDescription()}}});
        }
        QStringList shown;
        std::atomic<bool> isOnMainThread = false;
    };

    ~NSErrorPresenterTest() override { NSErrorPresenter::setSharedPresenter(nullptr); }
    void install() { NSErrorPresenter::setSharedPresenter(presenter); }

    std::shared_ptr<Presenter> presenter = std::make_shared<Presenter>();
};

TEST_F(NSErrorPresenterTest, WithoutAPresenterAnErrorIsOneLineOnStandardError) {
    testing::internal::CaptureStderr();
    NSPresentError(errorNamed(QStringLiteral("It failed:\n  twice")));
    NSRunModalAlert(errorNamed(QStringLiteral("Attention")));
    NSPresentError({});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "It failed: twice\nAttention\n");
}

TEST_F(NSErrorPresenterTest, AnInstalledPresenterIsCalledUntilAnotherOneIs) {
    install();
    NSPresentError(errorNamed(QStringLiteral("a")));
    NSRunModalAlert(errorNamed(QStringLiteral("b")));
    NSPresentError({});
    EXPECT_EQ(presenter->shown, (QStringList{QStringLiteral("a"), QStringLiteral("alert b")}));
    NSErrorPresenter::setSharedPresenter(nullptr);
    testing::internal::CaptureStderr();
    NSPresentError(errorNamed(QStringLiteral("c")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "c\n");
    EXPECT_EQ(presenter->shown.size(), 2);
}

TEST_F(NSErrorPresenterTest, AnErrorOfAnotherThreadIsShownOnTheMainThread) {
    install();
    std::thread([] { NSPresentError(errorNamed(QStringLiteral("a"))); }).join();
    EXPECT_TRUE(presenter->shown.isEmpty()) << "the caller doesn't wait";
    const QDeadlineTimer bound(std::chrono::seconds(30));
    while (presenter->shown.isEmpty() && !bound.hasExpired())
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(presenter->shown, QStringList{QStringLiteral("a")});
    EXPECT_TRUE(presenter->isOnMainThread);
}

TEST_F(NSErrorPresenterTest, WhatAPresenterRaisesIsLogged) {
    install();
    const LogCapture log;
    NSPresentError({QStringLiteral("Test"), 8});
    EXPECT_EQ(log.count(QStringLiteral("Exception while an error was presented: broken")), 1);
}

} // namespace
