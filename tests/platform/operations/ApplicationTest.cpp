// SPDX-License-Identifier: MIT
// The main queue and the main run loop before, between and after applications: this program makes its own.
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationQueue.h"
#include "platform/operations/NSRunLoop.h"

#include <QCoreApplication>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace zr;

namespace {

class Application {
public:
    Application() : m_application(m_count, m_arguments) {}

private:
    char m_name[5] = "test";
    char *m_arguments[2] = {m_name, nullptr};
    int m_count = 1;
    QCoreApplication m_application;
};

TEST(Application, WithoutOneTheRunLoopJustWaits) {
    const auto start = std::chrono::steady_clock::now();
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
}

TEST(Application, BlocksOfTheMainQueueWaitForIt) {
    int ran = 0;
    DispatchQueue::mainQueue().async([&] { ran = 1; });
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 0);
    const Application application;
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 1);
}

TEST(Application, BlocksThatOneLeftAreRunInTheNext) {
    int ran = 0;
    {
        const Application application;
        DispatchQueue::mainQueue().async([&] { ++ran; });
    }
    DispatchQueue::mainQueue().async([&] { ++ran; });
    EXPECT_EQ(ran, 0);
    const Application application;
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 2);
}

TEST(Application, TheRunLoopServesOneAfterTheOther) {
    for (int i = 0; i < 3; ++i) {
        const Application application;
        bool served = false;
        std::thread([&] {
            QMetaObject::invokeMethod(
                qApp, [&] { served = true; }, Qt::QueuedConnection);
        }).join();
        const auto start = std::chrono::steady_clock::now();
        NSRunLoop::mainRunLoop().runUntilDate(0.005);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
        EXPECT_TRUE(served);
    }
}

TEST(Application, OperationsNeedNone) {
    NSOperationQueue queue;
    int ran = 0;
    queue.addOperationWithBlock([&] { ran = 1; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 1);
}

} // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
