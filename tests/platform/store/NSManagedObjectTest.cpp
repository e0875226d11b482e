// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObject.h"

#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "tests/platform/store/ContextSupport.h"
#include "tests/support/ObserverLog.h"

#include <QDateTime>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <limits>

using namespace ContextSupport;

namespace {

class Author : public NSManagedObject {
    NS_MANAGED_OBJECT(Author)
public:
    QString authorName() const { return valueForKey(text("name")).toString(); }
    void awakeFromInsert() override { setValueForKey(text("nobody"), text("name")); }
};

using NSManagedObjectTest = ContextTest;

TEST_F(NSManagedObjectTest, AttributesAndRelationshipsArePropertiesOfTheMetaObject) {
    NSManagedObject *book = this->book("Emma");
    const QMetaObject *meta = book->metaObject();
    EXPECT_STREQ(meta->className(), "Book");
    EXPECT_EQ(meta->superClass(), &QObject::staticMetaObject);
    const int index = meta->indexOfProperty("title");
    ASSERT_GE(index, 0);
    const QMetaProperty title = meta->property(index);
    EXPECT_EQ(title.metaType(), QMetaType::fromType<QVariant>());
    EXPECT_TRUE(title.isReadable());
    EXPECT_TRUE(title.isWritable());
    EXPECT_TRUE(title.hasNotifySignal());
    EXPECT_EQ(title.notifySignal().methodSignature(), "titleChanged()");
    EXPECT_EQ(book->property("title"), QVariant(text("Emma")));
    EXPECT_TRUE(book->setProperty("title", text("Persuasion")));
    EXPECT_EQ(valueOf(book, "title"), QVariant(text("Persuasion")));
    EXPECT_TRUE(book->dynamicPropertyNames().isEmpty());
    EXPECT_FALSE(meta->property(meta->indexOfProperty("objectID")).isWritable());
    EXPECT_EQ(book->property("objectID").value<NSManagedObjectID>(), book->objectID());
    for (const char *name : {"author", "chapters", "note"})
        EXPECT_GE(meta->indexOfProperty(name), 0) << name;
}

TEST_F(NSManagedObjectTest, ObjectsOfOneEntityShareAMetaObjectInAllContexts) {
    const auto other = contextOn(coordinator);
    EXPECT_EQ(book("a")->metaObject(), make(*other, "Book")->metaObject());
    EXPECT_NE(book("a")->metaObject(), make("Tag")->metaObject());
}

TEST_F(NSManagedObjectTest, EverySignalIsEmittedForItsOwnProperty) {
    NSManagedObject *book = this->book("a");
    QSignalSpy title(book, SIGNAL(titleChanged())), pages(book, SIGNAL(pagesChanged()));
    ASSERT_TRUE(title.isValid());
    set(book, "title", text("b"));
    EXPECT_EQ(title.count(), 1);
    EXPECT_EQ(pages.count(), 0);
    set(book, "title", text("b"));
    EXPECT_EQ(title.count(), 1) << "the same value is no change";
    QMetaObject::invokeMethod(book, "pagesChanged", Qt::DirectConnection);
    EXPECT_EQ(pages.count(), 1);
}

TEST_F(NSManagedObjectTest, KeyValueCodingReadsAlongRelationships) {
    NSManagedObject *book = this->book("Emma"), *author = this->author("Jane");
    set(book, "author", asValue(author));
    EXPECT_EQ(NSKeyValueCoding::valueForKeyPath(book, text("author.name")), QVariant(text("Jane")));
    EXPECT_EQ(NSKeyValueCoding::valueForKeyPath(author, text("books.@count")).toInt(), 1);
    EXPECT_EQ(
        NSKeyValueCoding::valueForKeyPath(book, text("objectID.URIRepresentation.absoluteString")).toString(),
        QString::fromLatin1(book->objectID().URIRepresentation().toEncoded()));
    NSKeyValueCoding::setValueForKey(book, 7, text("pages"));
    EXPECT_EQ(valueOf(book, "pages"), QVariant(7));
    expectException(NSUndefinedKeyException, [&] { book->valueForKey(text("weather")); });
    expectException(NSUndefinedKeyException, [&] { book->setValueForKey(1, text("weather")); });
}

TEST_F(NSManagedObjectTest, ObserversHearOfChangesWithOldAndNewValues) {
    NSManagedObject *book = this->book("a");
    QVariantMap last;
    ObserverLog log([&](const QString &, const QVariantMap &change) { last = change; });
    NSKeyValueObserving::addObserver(book, &log, text("title"),
                                     NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld);
    set(book, "title", text("b"));
    EXPECT_EQ(log.entries(), QStringList{text("title:did")});
    EXPECT_EQ(last.value(NSKeyValueChangeOldKey), QVariant(text("a")));
    EXPECT_EQ(last.value(NSKeyValueChangeNewKey), QVariant(text("b")));
    NSKeyValueObserving::removeObserver(book, &log, text("title"));
}

TEST_F(NSManagedObjectTest, BothEndsOfARelationshipAreAnnouncedAndAreCompleteByThen) {
    NSManagedObject *book = this->book("Emma"), *jane = author("Jane"), *anne = author("Anne");
    set(book, "author", asValue(jane));
    QList<QVariant> seen;
    ObserverLog log([&](const QString &, const QVariantMap &) {
        seen << valueOf(book, "author") << valueOf(jane, "books") << valueOf(anne, "books");
    });
    NSKeyValueObserving::addObserver(book, &log, text("author"));
    NSKeyValueObserving::addObserver(jane, &log, text("books"));
    NSKeyValueObserving::addObserver(anne, &log, text("books"));
    anne->addObject(book, text("books"));
    EXPECT_EQ(log.entries().size(), 3);
    ASSERT_EQ(seen.size(), 9);
    for (int i = 0; i < 9; i += 3) {
        EXPECT_EQ(seen[i], asValue(anne));
        EXPECT_EQ(seen[i + 1], setOf({}));
        EXPECT_EQ(seen[i + 2], setOf({book}));
    }
    NSKeyValueObserving::removeObserver(book, &log, text("author"));
    NSKeyValueObserving::removeObserver(jane, &log, text("books"));
    NSKeyValueObserving::removeObserver(anne, &log, text("books"));
}

TEST_F(NSManagedObjectTest, WhatAnObserverRaisesComesAfterTheWholeChange) {
    NSManagedObject *book = this->book("Emma"), *jane = author("Jane");
    ObserverLog log(
        [](const QString &, const QVariantMap &) { throw NSException(text("Mine"), text("no")); });
    NSKeyValueObserving::addObserver(book, &log, text("author"));
    expectException(text("Mine"), [&] { set(book, "author", asValue(jane)); });
    EXPECT_EQ(valueOf(jane, "books"), setOf({book}));
    EXPECT_EQ(valueOf(book, "author"), asValue(jane));
    NSKeyValueObserving::removeObserver(book, &log, text("author"));
}

TEST_F(NSManagedObjectTest, ANewObjectHasDefaultsAndATemporaryIdentifier) {
    NSManagedObject *book = make("Book");
    EXPECT_EQ(valueOf(book, "title"), QVariant(text("untitled")));
    EXPECT_FALSE(valueOf(book, "pages").isValid());
    EXPECT_TRUE(book->objectID().isTemporaryID());
    EXPECT_TRUE(book->isInserted());
    EXPECT_FALSE(book->isFault());
    EXPECT_EQ(book->managedObjectContext(), context.get());
    const NSManagedObjectID before = book->objectID();
    const auto hash = qHash(before);
    save();
    EXPECT_FALSE(book->objectID().isTemporaryID());
    EXPECT_EQ(book->objectID(), before);
    EXPECT_EQ(qHash(book->objectID()), hash);
    EXPECT_FALSE(book->isInserted());
    EXPECT_EQ(context->objectWithID(before), book);
}

TEST_F(NSManagedObjectTest, ASubclassIsMadeForItsEntityAndWakesUp) {
    auto *author = dynamic_cast<Author *>(make("Author"));
    ASSERT_TRUE(author);
    EXPECT_EQ(author->authorName(), text("nobody"));
    EXPECT_EQ(Author::name(), text("Author"));
    EXPECT_EQ(NSManagedObject::from(asValue(author)), author);
    EXPECT_EQ(NSManagedObject::from(QVariant::fromValue<QObject *>(context.get())), nullptr);
    EXPECT_EQ(author->qt_metacast("Author"), author);
    EXPECT_EQ(author->qt_metacast("NSManagedObject"), author);
    EXPECT_EQ(author->qt_metacast("Book"), nullptr);
}

TEST_F(NSManagedObjectTest, NumbersAreConvertedToTheAttributesWidth) {
    NSManagedObject *book = this->book("a");
    set(book, "pages", 1.9);
    EXPECT_EQ(valueOf(book, "pages"), QVariant(1));
    set(book, "pages", QVariant::fromValue(NSDecimalNumber(text("-2.9"))));
    EXPECT_EQ(valueOf(book, "pages"), QVariant(-2));
    set(book, "sold", qulonglong(5));
    EXPECT_EQ(valueOf(book, "sold"), QVariant(qlonglong(5)));
    EXPECT_EQ(valueOf(book, "sold").typeId(), QMetaType::LongLong);
    set(book, "price", 0.1);
    EXPECT_EQ(valueOf(book, "price").value<NSDecimalNumber>(), NSDecimalNumber(text("0.1")));
    set(book, "weight", 0.1);
    EXPECT_EQ(valueOf(book, "weight").typeId(), QMetaType::Float);
    set(book, "lent", 2);
    EXPECT_EQ(valueOf(book, "lent"), QVariant(true));
    set(book, "rating", -0.0);
    EXPECT_FALSE(std::signbit(valueOf(book, "rating").toDouble()));
    for (const char *key : {"pages", "sold", "price", "weight", "lent", "rating"}) {
        set(book, key, QVariant());
        EXPECT_FALSE(valueOf(book, key).isValid()) << key;
    }
}

TEST_F(NSManagedObjectTest, AValueOfAnotherKindIsRefused) {
    NSManagedObject *book = this->book("a"), *tag = make("Tag");
    const auto refused = [&](const char *key, const QVariant &value) {
        const QVariant before = valueOf(book, key);
        expectException(NSInvalidArgumentException, [&] { set(book, key, value); });
        EXPECT_EQ(valueOf(book, key), before) << key;
    };
    refused("title", 1);
    refused("title", QByteArray("a"));
    refused("title", NSNull());
    refused("pages", text("1"));
    refused("pages", 40000);
    refused("pages", -40000.0);
    refused("copies", qlonglong(1) << 40);
    refused("sold", std::numeric_limits<quint64>::max());
    refused("sold", 1e300);
    refused("sold", std::nan(""));
    refused("sold", QVariant::fromValue(NSDecimalNumber(text("1e30"))));
    refused("lent", text("yes"));
    refused("printed", text("2014-01-01"));
    refused("cover", text("bytes"));
    refused("page", text("http://a"));
    refused("mark", text("{00000000-0000-0000-0000-000000000000}"));
    refused("author", asValue(tag));
    refused("author", text("Jane"));
    refused("author", asValue(make(*contextOn(coordinator), "Author")));
    refused("tags", asValue(tag));
    refused("tags", QVariantList{asValue(book)});
    refused("tags", QVariantList{NSNull()});
    refused("chapters", setOf({}));
}

TEST_F(NSManagedObjectTest, EveryTypeOfAttributeComesBackFromTheStore) {
    const QVariantMap values{
        {text("title"), QString(u"a\0b\xD800 \u00e4"_qs)},
        {text("pages"), 32767},
        {text("copies"), -2147483647},
        {text("sold"), std::numeric_limits<qint64>::min()},
        {text("price"), QVariant::fromValue(NSDecimalNumber(text("99.10")))},
        {text("rating"), 0.1},
        {text("weight"), 0.1F},
        {text("lent"), false},
        {text("printed"), QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 4), Qt::OffsetFromUTC, 3600)},
        {text("cover"), QByteArray("\0\xff", 2)},
        {text("page"), QUrl(text("http://example.org/a%20b"))},
        {text("mark"), QUuid(text("{12345678-1234-1234-1234-123456789abc}"))},
        {text("extra"), QVariantMap{{text("a"), QVariantList{1, text("b"), NSNull()}}}},
        {text("isbn"), QVariant()},
    };
    NSManagedObject *book = make("Book", values);
    save();
    const auto other = contextOn(coordinator);
    NSManagedObject *same = other->objectWithID(book->objectID());
    EXPECT_TRUE(same->isFault());
    for (auto at = values.begin(); at != values.end(); ++at) {
        EXPECT_EQ(same->valueForKey(at.key()), book->valueForKey(at.key())) << at.key().toStdString();
        EXPECT_EQ(same->valueForKey(at.key()).typeId(), book->valueForKey(at.key()).typeId())
            << at.key().toStdString();
    }
    EXPECT_FALSE(same->isFault());
    EXPECT_EQ(valueOf(same, "printed").toDateTime().timeSpec(), Qt::UTC);
}

TEST_F(NSManagedObjectTest, AnEmptyTextIsNotNilAndATransientAttributeIsNotSaved) {
    NSManagedObject *book = make("Book", {{text("title"), text("")}, {text("note"), text("mine")}});
    save();
    EXPECT_EQ(valueOf(book, "note"), QVariant(text("mine")));
    const auto other = contextOn(coordinator);
    NSManagedObject *same = other->objectWithID(book->objectID());
    EXPECT_EQ(valueOf(same, "title"), QVariant(text("")));
    EXPECT_TRUE(valueOf(same, "title").isValid());
    EXPECT_FALSE(valueOf(same, "note").isValid());
}

TEST_F(NSManagedObjectTest, AToOneRelationshipKeepsItsInverse) {
    NSManagedObject *emma = book("Emma"), *jane = author("Jane"), *anne = author("Anne");
    set(emma, "author", asValue(jane));
    EXPECT_EQ(valueOf(jane, "books"), setOf({emma}));
    set(emma, "author", asValue(anne));
    EXPECT_EQ(valueOf(jane, "books"), setOf({}));
    EXPECT_EQ(valueOf(anne, "books"), setOf({emma}));
    set(anne, "books", QVariant());
    EXPECT_FALSE(valueOf(emma, "author").isValid());
    set(jane, "books", listOf({emma, emma}));
    EXPECT_EQ(valueOf(emma, "author"), asValue(jane));
    jane->removeObject(emma, text("books"));
    EXPECT_FALSE(valueOf(emma, "author").isValid());
}

TEST_F(NSManagedObjectTest, AOneToOneRelationshipTakesItsObjectFromOthers) {
    NSManagedObject *a = book("a"), *b = book("b"), *c = book("c");
    set(a, "sequel", asValue(b));
    EXPECT_EQ(valueOf(b, "prequel"), asValue(a));
    set(c, "sequel", asValue(b));
    EXPECT_FALSE(valueOf(a, "sequel").isValid());
    EXPECT_EQ(valueOf(b, "prequel"), asValue(c));
    set(a, "prequel", asValue(c));
    EXPECT_FALSE(valueOf(b, "prequel").isValid());
    EXPECT_EQ(valueOf(c, "sequel"), asValue(a));
    set(a, "sequel", asValue(a));
    EXPECT_EQ(valueOf(a, "prequel"), asValue(a)) << "an object may point at itself";
    EXPECT_FALSE(valueOf(c, "sequel").isValid());
}

TEST_F(NSManagedObjectTest, AManyToManyRelationshipKeepsItsInverseAndIsSaved) {
    NSManagedObject *a = book("a"), *b = book("b"), *tag = make("Tag"), *other = make("Tag");
    set(a, "tags", setOf({tag, other}));
    tag->addObject(b, text("books"));
    EXPECT_EQ(valueOf(tag, "books"), setOf({a, b}));
    EXPECT_EQ(valueOf(b, "tags"), setOf({tag}));
    save();
    const auto fresh = contextOn(coordinator);
    NSManagedObject *freshTag = fresh->objectWithID(tag->objectID());
    EXPECT_EQ(valueOf(freshTag, "books"),
              setOf({fresh->objectWithID(a->objectID()), fresh->objectWithID(b->objectID())}));
    set(a, "tags", QVariant());
    save();
    const auto later = contextOn(coordinator);
    EXPECT_EQ(valueOf(later->objectWithID(tag->objectID()), "books"),
              setOf({later->objectWithID(b->objectID())}));
}

TEST_F(NSManagedObjectTest, AnOrderedRelationshipKeepsItsOrder) {
    NSManagedObject *book = this->book("a");
    QList<NSManagedObject *> chapters;
    for (int i = 0; i < 5; ++i)
        chapters << make("Chapter");
    set(book, "chapters", listOf({chapters[3], chapters[1], chapters[2]}));
    book->insertObject(chapters[0], text("chapters"), 1);
    set(chapters[4], "book", asValue(book));
    const auto expected = listOf({chapters[3], chapters[0], chapters[1], chapters[2], chapters[4]});
    EXPECT_EQ(valueOf(book, "chapters"), QVariant(expected));
    EXPECT_EQ(valueOf(chapters[0], "book"), asValue(book));
    expectException(NSRangeException, [&] { book->insertObject(chapters[0], text("chapters"), 6); });
    expectException(NSUndefinedKeyException, [&] { book->addObject(chapters[0], text("author")); });
    save();
    set(book, "chapters", listOf({chapters[4], chapters[3]}));
    EXPECT_FALSE(valueOf(chapters[0], "book").isValid());
    save();
    const auto fresh = contextOn(coordinator);
    const QVariantList found = valueOf(fresh->objectWithID(book->objectID()), "chapters").toList();
    EXPECT_EQ(found, listOf({fresh->objectWithID(chapters[4]->objectID()),
                             fresh->objectWithID(chapters[3]->objectID())}));
}

TEST_F(NSManagedObjectTest, ARelationshipIsChangedBeforeItIsRead) {
    NSManagedObject *jane = author("Jane"), *a = book("a"), *b = book("b"), *c = book("c");
    set(jane, "books", setOf({a, b}));
    save();
    const auto fresh = contextOn(coordinator);
    NSManagedObject *freshJane = fresh->objectWithID(jane->objectID());
    const auto here = [&](NSManagedObject *object) { return fresh->objectWithID(object->objectID()); };
    set(here(a), "author", QVariant());
    set(here(c), "author", asValue(freshJane));
    EXPECT_TRUE(freshJane->hasFaultForRelationshipNamed(text("books")));
    EXPECT_EQ(valueOf(freshJane, "books"), setOf({here(b), here(c)}));
    EXPECT_FALSE(freshJane->hasFaultForRelationshipNamed(text("books")));
    EXPECT_EQ(freshJane->committedValuesForKeys({text("books")}).value(text("books")).toList().size(), 2);
    fresh->rollback();
    EXPECT_EQ(valueOf(freshJane, "books"), setOf({here(a), here(b)}));
}

TEST_F(NSManagedObjectTest, ChangedAndCommittedValuesTellWhatTheNextSaveWrites) {
    NSManagedObject *book = this->book("a", 10);
    EXPECT_EQ(book->changedValues(), (QVariantMap{{text("title"), text("a")}, {text("pages"), 10}}));
    save();
    EXPECT_TRUE(book->changedValues().isEmpty());
    set(book, "title", text("b"));
    set(book, "pages", QVariant());
    EXPECT_EQ(book->changedValues(), (QVariantMap{{text("title"), text("b")}, {text("pages"), NSNull()}}));
    EXPECT_EQ(book->committedValuesForKeys({text("title"), text("pages")}),
              (QVariantMap{{text("title"), text("a")}, {text("pages"), 10}}));
    EXPECT_TRUE(book->isUpdated());
    set(book, "title", text("a"));
    EXPECT_EQ(book->changedValues().keys(), QStringList{text("pages")})
        << "what is as it was has not changed";
}

TEST_F(NSManagedObjectTest, ATransformableValueIsChangedIfItsArchiveIs) {
    NSManagedObject *book = make("Book", {{text("extra"), QVariantMap{{text("a"), 1}}}});
    save();
    set(book, "extra", QVariantMap{{text("a"), 1}});
    EXPECT_FALSE(book->hasChanges());
    set(book, "extra", QVariantMap{{text("a"), 1.5}});
    EXPECT_TRUE(book->hasChanges());
}

TEST_F(NSManagedObjectTest, ASilentSetterAnnouncesNothing) {
    NSManagedObject *book = this->book("a");
    ObserverLog log;
    NSKeyValueObserving::addObserver(book, &log, text("title"));
    book->setPrimitiveValue(text("b"), text("title"));
    EXPECT_TRUE(log.entries().isEmpty());
    EXPECT_EQ(book->primitiveValueForKey(text("title")), QVariant(text("b")));
    NSKeyValueObserving::removeObserver(book, &log, text("title"));
}

TEST_F(NSManagedObjectTest, AFaultWhoseRowIsGoneRaises) {
    NSManagedObject *book = this->book("a");
    save();
    const auto other = contextOn(coordinator);
    NSManagedObject *fault = other->objectWithID(book->objectID());
    context->deleteObject(book);
    save();
    expectException(NSObjectInaccessibleException, [&] { valueOf(fault, "title"); });
    expectException(NSObjectInaccessibleException, [&] { fault->property("title"); });
    expectException(NSObjectInaccessibleException, [&] { set(fault, "title", text("b")); });
}

TEST_F(NSManagedObjectTest, DeletingNullifiesCascadesAndLeavesAlone) {
    NSManagedObject *book = this->book("a"), *author = this->author("Jane"), *tag = make("Tag"),
                    *shelf = make("Shelf"), *chapter = make("Chapter");
    set(book, "author", asValue(author));
    set(book, "tags", setOf({tag}));
    set(book, "shelf", asValue(shelf));
    set(book, "chapters", listOf({chapter}));
    save();
    context->deleteObject(book);
    EXPECT_TRUE(book->isDeleted());
    EXPECT_TRUE(chapter->isDeleted()) << "cascade";
    EXPECT_EQ(valueOf(author, "books"), setOf({})) << "nullify";
    EXPECT_EQ(valueOf(tag, "books"), setOf({})) << "nullify";
    EXPECT_EQ(valueOf(shelf, "books"), setOf({book})) << "no action";
    save();
    EXPECT_EQ(book->managedObjectContext(), nullptr);
    EXPECT_FALSE(book->isDeleted());
    EXPECT_TRUE(fetch(*context, request("Book")).isEmpty());
    EXPECT_TRUE(fetch(*context, request("Chapter")).isEmpty());
}

TEST_F(NSManagedObjectTest, DenyIsToldAtTheSaveAndEndsWithTheOthers) {
    NSManagedObject *book = this->book("a"), *shelf = make("Shelf");
    set(book, "shelf", asValue(shelf));
    save();
    context->deleteObject(shelf);
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error.code(), NSValidationRelationshipDeniedDeleteError);
    EXPECT_EQ(error.userInfo().value(NSValidationKeyErrorKey), QVariant(text("books")));
    EXPECT_EQ(valueOf(book, "shelf"), asValue(shelf)) << "what denies is not nullified";
    context->deleteObject(book);
    save();
    EXPECT_EQ(fetch(*context, request("Shelf")).size(), 0);
}

TEST_F(NSManagedObjectTest, ADeletedNewObjectIsNeverSaved) {
    NSManagedObject *book = this->book("a"), *author = this->author("Jane");
    set(book, "author", asValue(author));
    context->deleteObject(book);
    EXPECT_EQ(book->managedObjectContext(), nullptr);
    EXPECT_EQ(valueOf(author, "books"), setOf({}));
    EXPECT_EQ(context->insertedObjects(), QList<NSManagedObject *>{author});
    save();
    EXPECT_TRUE(fetch(*context, request("Book")).isEmpty());
    context->deleteObject(book);
    EXPECT_FALSE(context->hasChanges());
}

TEST_F(NSManagedObjectTest, AnObjectThatHasLeftTakesPartInNoRelationship) {
    NSManagedObject *jane = author("Jane"), *anne = author("Anne"), *club = make("Club"),
                    *gone = book("gone");
    set(club, "members", listOf({jane, anne}));
    save();
    context->deleteObject(gone);
    context->deleteObject(anne);
    save();
    expectException(NSInvalidArgumentException, [&] { set(gone, "author", asValue(jane)); });
    expectException(NSInvalidArgumentException, [&] { jane->addObject(gone, text("books")); });
    expectException(NSInvalidArgumentException, [&] { anne->addObject(book("b"), text("books")); });
    EXPECT_EQ(valueOf(club, "members"), setOf({jane})) << "although nothing leads back";
    NSManagedObject *third = author("Third");
    club->addObject(third, text("members"));
    save();
    const auto fresh = contextOn(coordinator);
    EXPECT_EQ(valueOf(fresh->objectWithID(club->objectID()), "members").value<NSSet>().size(), 2);
}

TEST_F(NSManagedObjectTest, ALongChainOfDeletionsNeedsNoStack) {
    const auto model = modelOf(R"({'name': 'Chain', 'entities': [{'name': 'Link', 'relationships': {
      'next': {'destination': 'Link', 'inverse': 'previous', 'delete': 'cascade'},
      'previous': {'destination': 'Link', 'inverse': 'next'}}}]})");
    const auto chained = contextOn(std::make_shared<NSPersistentStoreCoordinator>(model));
    NSManagedObject *first = make(*chained, "Link");
    for (NSManagedObject *link = first; chained->insertedObjects().size() < 2000;) {
        NSManagedObject *next = make(*chained, "Link");
        set(link, "next", asValue(next));
        link = next;
    }
    chained->deleteObject(first);
    EXPECT_FALSE(chained->hasChanges());
}

} // namespace
