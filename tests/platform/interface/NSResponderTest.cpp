// SPDX-License-Identifier: MIT
#include "platform/interface/NSResponder.h"

#include <QWidget>
#include <gtest/gtest.h>
#include <memory>

TEST(NSResponder, AWidgetsNextOneIsItsParent) {
    QWidget parent;
    QWidget child(&parent);
    EXPECT_EQ(NSResponderNext(&child), &parent);
    EXPECT_EQ(NSResponderNext(&parent), nullptr);
    EXPECT_EQ(NSResponderNext(nullptr), nullptr);
}

TEST(NSResponder, WhatWasSetComesFirstUntilItIsTakenBack) {
    QWidget parent;
    QWidget child(&parent);
    QObject controller;
    NSResponderSetNext(&child, &controller);
    EXPECT_EQ(NSResponderNext(&child), &controller);
    NSResponderSetNext(&child, nullptr);
    EXPECT_EQ(NSResponderNext(&child), &parent);
    NSResponderSetNext(nullptr, &controller);
}

TEST(NSResponder, ADeletedNextOneIsNone) {
    QWidget parent;
    QWidget child(&parent);
    auto controller = std::make_unique<QObject>();
    NSResponderSetNext(&child, controller.get());
    controller.reset();
    EXPECT_EQ(NSResponderNext(&child), nullptr);
}
