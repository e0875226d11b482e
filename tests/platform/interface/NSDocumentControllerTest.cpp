// SPDX-License-Identifier: MIT
#include "platform/interface/NSDocumentController.h"

#include <gtest/gtest.h>
#include <memory>

TEST(NSDocumentController, DocumentsStandInTheOrderOfOpening) {
    NSDocumentController controller;
    QObject first, second;
    controller.addDocument(&first);
    controller.addDocument(&second);
    controller.addDocument(&first);
    controller.addDocument(nullptr);
    EXPECT_EQ(controller.documents(), (QObjectList{&first, &second}));
    controller.removeDocument(&first);
    EXPECT_EQ(controller.documents(), QObjectList{&second});
}

TEST(NSDocumentController, ADeletedDocumentIsGone) {
    NSDocumentController controller;
    auto document = std::make_unique<QObject>();
    controller.addDocument(document.get());
    document.reset();
    EXPECT_TRUE(controller.documents().isEmpty());
}

TEST(NSDocumentController, ThereIsOneForTheApplication) {
    EXPECT_EQ(NSDocumentController::sharedDocumentController(),
              NSDocumentController::sharedDocumentController());
    EXPECT_TRUE(NSDocumentController::sharedDocumentController()->documents().isEmpty());
}
