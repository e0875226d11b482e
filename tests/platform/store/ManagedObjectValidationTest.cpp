// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "tests/platform/store/ContextSupport.h"

#include <QDateTime>
#include <cmath>

using namespace ContextSupport;

namespace {

class Shelf : public NSManagedObject {
    NS_MANAGED_OBJECT(Shelf)
public:
    bool validateForInsert(NSError *error) const override {
        if (!NSManagedObject::validateForInsert(error))
            return false;
        if (valueForKey(text("row")).toInt() != 13)
            return true;
        if (error)
            *error = NSError(text("Shelf"), 13);
        return false;
    }
    void willSave() override {
        if (!valueForKey(text("row")).isValid())
            setValueForKey(1, text("row"));
    }
    void didSave() override { ++saved; }
    int saved = 0;
};

class ManagedObjectValidationTest : public ContextTest {
protected:
    /// The codes that a save fails with, sorted.
    QList<qint64> codes() {
        NSError error;
        if (context->save(&error)) {
            EXPECT_FALSE(error);
            return {};
        }
        if (error.code() != NSValidationMultipleErrorsError)
            return {error.code()};
        QList<qint64> codes;
        for (const QVariantList details = error.userInfo().value(NSDetailedErrorsKey).toList();
             const QVariant &each : details)
            codes << each.value<NSError>().code();
        std::sort(codes.begin(), codes.end());
        return codes;
    }
    QList<qint64> codes(const char *key, const QVariant &value) {
        NSManagedObject *object = book("a");
        set(object, key, value);
        const auto found = codes();
        context->rollback();
        return found;
    }
};

using Codes = QList<qint64>;

TEST_F(ManagedObjectValidationTest, EachRuleHasItsCode) {
    EXPECT_EQ(codes("pages", 0), Codes{NSValidationNumberTooSmallError});
    EXPECT_EQ(codes("pages", 1), Codes{});
    EXPECT_EQ(codes("price", QVariant::fromValue(NSDecimalNumber(text("100.01")))),
              Codes{NSValidationNumberTooLargeError});
    EXPECT_EQ(codes("price", 100), Codes{});
    EXPECT_EQ(codes("printed", QDateTime(QDate(1899, 12, 31), QTime(23, 59), Qt::UTC)),
              Codes{NSValidationDateTooSoonError});
    EXPECT_EQ(codes("printed", QDateTime(QDate(2100, 1, 2), QTime(0, 0), Qt::UTC)),
              Codes{NSValidationDateTooLateError});
    EXPECT_EQ(codes("isbn", text("12")), Codes{NSValidationStringTooShortError});
    EXPECT_EQ(codes("isbn", text("123456")), Codes{NSValidationStringTooLongError});
    EXPECT_EQ(codes("isbn", text("12a")), Codes{NSValidationStringPatternMatchingError});
    EXPECT_EQ(codes("isbn", text("0000")), Codes{NSManagedObjectValidationError});
    EXPECT_EQ(codes("isbn", text("0001")), Codes{});
    EXPECT_EQ(codes("isbn", QVariant()), Codes{});
}

TEST_F(ManagedObjectValidationTest, WhatTheStoreCanNotHoldIsNotValid) {
    EXPECT_EQ(codes("rating", std::nan("")), Codes{NSManagedObjectValidationError});
    EXPECT_EQ(codes("weight", std::nan("")), Codes{NSManagedObjectValidationError});
    EXPECT_EQ(codes("price", QVariant::fromValue(NSDecimalNumber::notANumber())),
              Codes{NSManagedObjectValidationError});
    EXPECT_EQ(codes("rating", HUGE_VAL), Codes{});
    EXPECT_EQ(codes("extra", QVariant::fromValue<QObject *>(context.get())),
              Codes{NSManagedObjectValidationError});
}

TEST_F(ManagedObjectValidationTest, MissingValuesAndNumbersOfObjects) {
    NSManagedObject *author = make("Author");
    set(author, "name", QVariant());
    EXPECT_EQ(codes(), Codes{NSValidationMissingMandatoryPropertyError});
    set(author, "name", text(""));
    EXPECT_EQ(codes(), Codes{}) << "an empty text is there";
    NSManagedObject *club = make("Club");
    EXPECT_EQ(codes(), Codes{NSValidationRelationshipLacksMinimumCountError});
    set(club, "members", listOf({author, this->author("b"), this->author("c")}));
    EXPECT_EQ(codes(), Codes{NSValidationRelationshipExceedsMaximumCountError});
    set(club, "members", listOf({author}));
    EXPECT_EQ(codes(), Codes{});
    NSManagedObject *tag = make("Tag");
    set(tag, "books", listOf({book("a"), book("b"), book("c")}));
    EXPECT_EQ(codes(), Codes{NSValidationRelationshipExceedsMaximumCountError});
}

TEST_F(ManagedObjectValidationTest, AllErrorsOfASaveAreGatheredAndNothingIsSaved) {
    set(book("a"), "pages", 0);
    NSManagedObject *second = book("b");
    set(second, "pages", 0);
    set(second, "isbn", text("x"));
    EXPECT_EQ(codes(), (Codes{NSValidationNumberTooSmallError, NSValidationNumberTooSmallError,
                              NSValidationStringTooShortError, NSValidationStringPatternMatchingError}));
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Book")), 0u);
    NSError error;
    EXPECT_FALSE(second->validateForInsert(&error));
    EXPECT_EQ(error.userInfo().value(NSDetailedErrorsKey).toList().size(), 3);
    EXPECT_FALSE(second->validateForInsert());
}

TEST_F(ManagedObjectValidationTest, AnErrorNamesObjectKeyAndValue) {
    NSManagedObject *object = book("a");
    NSError error;
    EXPECT_FALSE(object->validateValue(0, text("pages"), &error));
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.userInfo().value(NSValidationObjectErrorKey), asValue(object));
    EXPECT_EQ(error.userInfo().value(NSValidationKeyErrorKey), QVariant(text("pages")));
    EXPECT_EQ(error.userInfo().value(NSValidationValueErrorKey), QVariant(0));
    EXPECT_FALSE(error.localizedDescription().isEmpty());
    EXPECT_TRUE(object->validateValue(1, text("pages"), &error));
    EXPECT_FALSE(error);
    expectException(NSUndefinedKeyException, [&] { object->validateValue(1, text("weather")); });
}

TEST_F(ManagedObjectValidationTest, AClassMayAskForMore) {
    NSManagedObject *shelf = make("Shelf", {{text("row"), 13}});
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error, NSError(text("Shelf"), 13));
    set(shelf, "row", QVariant());
    save();
    EXPECT_EQ(valueOf(shelf, "row"), QVariant(1)) << "willSave() filled it in";
    EXPECT_EQ(dynamic_cast<Shelf *>(shelf)->saved, 1);
    const auto fresh = contextOn(coordinator);
    EXPECT_EQ(valueOf(fresh->objectWithID(shelf->objectID()), "row"), QVariant(1));
}

TEST_F(ManagedObjectValidationTest, OnlyChangedValuesOfASavedObjectAreLookedAt) {
    NSManagedObject *object = book("a");
    save();
    set(object, "pages", 0);
    EXPECT_EQ(codes(), Codes{NSValidationNumberTooSmallError});
    context->rollback();
    set(object, "title", text("b"));
    EXPECT_EQ(codes(), Codes{});
}

} // namespace
