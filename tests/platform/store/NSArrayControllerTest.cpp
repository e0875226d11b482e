// SPDX-License-Identifier: MIT
#include "platform/store/NSArrayController.h"

#include "tests/platform/store/ContextSupport.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace ContextSupport;

namespace {

class NSArrayControllerTest : public ContextTest {
protected:
    void SetUp() override {
        for (const char *title : {"b", "a", "c"})
            books << book(title);
        save();
    }
    QStringList shown() const {
        QStringList titles;
        for (const QVariantList objects = controller.arrangedObjects(); const QVariant &each : objects)
            titles << valueOf(NSManagedObject::from(each), "title").toString();
        return titles;
    }

    QList<NSManagedObject *> books;
    NSArrayController controller;
};

TEST_F(NSArrayControllerTest, ContentIsFetchedFilteredAndSorted) {
    controller.setManagedObjectContext(context);
    controller.setEntityName(text("Book"));
    EXPECT_TRUE(controller.content().isEmpty());
    controller.setFetchPredicate(NSPredicate::predicateWithFormat(text("title != 'c'")));
    controller.setSortDescriptors({NSSortDescriptor(text("title"), true)});
    EXPECT_TRUE(controller.prepareContent());
    EXPECT_EQ(shown(), (QStringList{text("a"), text("b")}));
    controller.setFilterPredicate(NSPredicate::predicateWithFormat(text("title = 'b'")));
    EXPECT_EQ(shown(), QStringList{text("b")});
    EXPECT_EQ(controller.content().size(), 2);
    controller.setFilterPredicate({});
    controller.setSortDescriptors({NSSortDescriptor(text("title"), false)});
    EXPECT_EQ(shown(), (QStringList{text("b"), text("a")}));
}

TEST_F(NSArrayControllerTest, ContentIsPreparedAutomaticallyIfItIsWanted) {
    controller.setAutomaticallyPreparesContent(true);
    controller.setManagedObjectContext(context);
    EXPECT_TRUE(controller.content().isEmpty());
    controller.setEntityName(text("Book"));
    EXPECT_EQ(controller.content().size(), 3);
}

TEST_F(NSArrayControllerTest, AFailedFetchLeavesNothing) {
    NSError error;
    EXPECT_FALSE(controller.prepareContent(&error));
    EXPECT_TRUE(error);
    controller.setManagedObjectContext(contextOn(std::make_shared<NSPersistentStoreCoordinator>(library())));
    controller.setEntityName(text("Book"));
    EXPECT_FALSE(controller.prepareContent(&error));
    EXPECT_TRUE(error);
    EXPECT_TRUE(controller.content().isEmpty());
}

TEST_F(NSArrayControllerTest, ItIsAnItemModel) {
    const QAbstractItemModelTester tester(&controller, QAbstractItemModelTester::FailureReportingMode::Fatal);
    controller.setManagedObjectContext(context);
    controller.setEntityName(text("Author"));
    NSManagedObject *jane = author("Jane");
    controller.setContent({asValue(jane)});
    ASSERT_EQ(controller.rowCount(), 1);
    const QModelIndex first = controller.index(0);
    const auto roles = controller.roleNames();
    EXPECT_EQ(controller.data(first, Qt::UserRole), asValue(jane));
    EXPECT_EQ(controller.data(first, roles.key("name")), QVariant(text("Jane")));
    const int name = roles.key("name");
    EXPECT_TRUE(controller.setData(first, text("Anne"), name));
    EXPECT_EQ(valueOf(jane, "name"), QVariant(text("Anne")));
    set(jane, "born", 1775);
    EXPECT_EQ(controller.data(first, Qt::DisplayRole), QVariant(1775)) << "the first attribute by name";
    EXPECT_FALSE(controller.data(controller.index(5), name).isValid());
    EXPECT_FALSE(controller.data(first, name + 100).isValid());
}

TEST_F(NSArrayControllerTest, ItFollowsItsContext) {
    controller.setManagedObjectContext(context);
    controller.setEntityName(text("Book"));
    controller.setSortDescriptors({NSSortDescriptor(text("title"), true)});
    controller.prepareContent();
    QSignalSpy changed(&controller, &QAbstractItemModel::dataChanged);
    set(books[0], "pages", 9);
    context->processPendingChanges();
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    context->deleteObject(books[1]);
    context->processPendingChanges();
    EXPECT_EQ(shown(), (QStringList{text("b"), text("c")}));
    set(books[2], "title", text("A"));
    controller.rearrangeObjects();
    EXPECT_EQ(shown(), (QStringList{text("A"), text("b")}));
}

TEST_F(NSArrayControllerTest, ItMayDieBeforeItsContext) {
    {
        NSArrayController shortLived;
        shortLived.setManagedObjectContext(context);
    }
    set(books[0], "pages", 9);
    context->processPendingChanges();
}

} // namespace
