// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectModel.h"

#include "platform/files/NSBundle.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/values/NSDecimalNumber.h"
#include "tests/platform/store/Models.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>

namespace {

constexpr const char *Library = R"({'name': 'Library', 'version': 3, 'entities': [
  {'name': 'Item', 'abstract': true, 'attributes': {
     'title': {'type': 'string', 'optional': false, 'default': 'untitled', 'minLength': 1, 'maxLength': 80,
               'pattern': '[^/]*', 'indexed': true, 'renamedFrom': 'name', 'validation': ['SELF != \"x\"']},
     'added': {'type': 'date', 'default': '2024-02-29T12:00:00.250Z', 'min': '2000-01-01T00:00:00Z'}}},
  {'name': 'Book', 'class': 'LibraryBook', 'parent': 'Item', 'renamedFrom': 'Volume',
   'attributes': {'pages': {'type': 'integer16', 'min': 1, 'max': 9999}, 'cached': {'type': 'data', 'transient': true}},
   'relationships': {
     'authors': {'destination': 'Author', 'inverse': 'books', 'toMany': true, 'ordered': true, 'min': 1, 'max': 20,
                 'optional': false, 'delete': 'deny'},
     'sequel': {'destination': 'Book', 'delete': 'noAction'}}},
  {'name': 'Author', 'relationships': {
     'books': {'destination': 'Book', 'inverse': 'authors', 'toMany': true, 'delete': 'cascade'}}}]})";

/// A model of one entity with one attribute.
QByteArray withAttribute(const char *attribute) {
    return QByteArray("{'name': 'M', 'entities': [{'name': 'E', 'attributes': {'a': ") + attribute + "}}]}";
}

const NSAttributeDescription *attributeOf(const NSManagedObjectModel::Ptr &model) {
    return model->entityNamed(QStringLiteral("E"))->attribute(QStringLiteral("a"));
}

std::string refusal(const QByteArray &text) {
    NSError error;
    EXPECT_FALSE(modelOf(text.constData(), &error)) << text.constData();
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
    return error.localizedDescription().toStdString();
}

TEST(NSManagedObjectModel, AFilesEntitiesAreRead) {
    const auto model = modelOf(Library);
    ASSERT_EQ(model->entities().size(), 3u);
    const NSEntityDescription *book = model->entityNamed(QStringLiteral("Book")),
                              *item = model->entityNamed(QStringLiteral("Item"));
    EXPECT_EQ(book->managedObjectClassName(), QStringLiteral("LibraryBook"));
    EXPECT_EQ(item->managedObjectClassName(), QStringLiteral("Item"));
    EXPECT_EQ(book->renamingIdentifier(), QStringLiteral("Volume"));
    EXPECT_TRUE(item->isAbstract());
    EXPECT_FALSE(book->isAbstract());
    EXPECT_EQ(book->superentity(), item);
    EXPECT_EQ(book->rootEntity(), item);
    EXPECT_TRUE(book->isKindOfEntity(item));
    EXPECT_FALSE(item->isKindOfEntity(book));
    EXPECT_EQ(item->subentities(), std::vector<const NSEntityDescription *>{book});
    EXPECT_EQ(book->managedObjectModel(), model.get());
    EXPECT_EQ(model->entityNamed(QStringLiteral("Nothing")), nullptr);
    EXPECT_EQ(model->versions(), (QMap<QString, qint64>{{QStringLiteral("Library"), 3}}));
}

TEST(NSManagedObjectModel, InheritedPropertiesComeFirst) {
    const auto model = modelOf(Library);
    const NSEntityDescription *book = model->entityNamed(QStringLiteral("Book"));
    QStringList names;
    for (const NSPropertyDescription *property : book->properties())
        names << property->name();
    EXPECT_EQ(names,
              (QStringList{QStringLiteral("added"), QStringLiteral("title"), QStringLiteral("cached"),
                           QStringLiteral("pages"), QStringLiteral("authors"), QStringLiteral("sequel")}));
    EXPECT_EQ(book->indexOfProperty(QStringLiteral("pages")), 3);
    EXPECT_EQ(book->indexOfProperty(QStringLiteral("nothing")), -1);
    EXPECT_EQ(book->property(QStringLiteral("title"))->entity(), model->entityNamed(QStringLiteral("Item")));
    EXPECT_EQ(book->attribute(QStringLiteral("authors")), nullptr);
    EXPECT_EQ(book->relationship(QStringLiteral("pages")), nullptr);
}

TEST(NSManagedObjectModel, AnAttributeHasItsRules) {
    const auto model = modelOf(Library);
    const auto *title = model->entityNamed(QStringLiteral("Book"))->attribute(QStringLiteral("title"));
    EXPECT_EQ(title->attributeType(), NSAttributeType::String);
    EXPECT_FALSE(title->isOptional());
    EXPECT_EQ(title->defaultValue(), QVariant(QStringLiteral("untitled")));
    EXPECT_EQ(title->minimumLength(), 1);
    EXPECT_EQ(title->maximumLength(), 80);
    EXPECT_EQ(title->pattern(), QStringLiteral("[^/]*"));
    EXPECT_TRUE(title->isIndexed());
    EXPECT_EQ(title->renamingIdentifier(), QStringLiteral("name"));
    ASSERT_EQ(title->validationPredicates().size(), 1);
    EXPECT_FALSE(title->validationPredicates().at(0).evaluateWithObject(QVariant(QStringLiteral("x"))));

    const auto *added = model->entityNamed(QStringLiteral("Item"))->attribute(QStringLiteral("added"));
    EXPECT_EQ(added->defaultValue().toDateTime(),
              QDateTime(QDate(2024, 2, 29), QTime(12, 0, 0, 250), Qt::UTC));
    EXPECT_EQ(added->minimum().toDateTime(), QDateTime(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC));
    EXPECT_FALSE(added->maximum().isValid());
    EXPECT_TRUE(added->isOptional());
    EXPECT_EQ(added->minimumLength(), -1);

    const NSEntityDescription *book = model->entityNamed(QStringLiteral("Book"));
    EXPECT_TRUE(book->attribute(QStringLiteral("cached"))->isTransient());
    EXPECT_EQ(book->attribute(QStringLiteral("pages"))->maximum(), QVariant(9999));
}

TEST(NSManagedObjectModel, ARelationshipHasItsRules) {
    const auto model = modelOf(Library);
    const auto *authors = model->entityNamed(QStringLiteral("Book"))->relationship(QStringLiteral("authors"));
    const auto *books = model->entityNamed(QStringLiteral("Author"))->relationship(QStringLiteral("books"));
    const auto *sequel = model->entityNamed(QStringLiteral("Book"))->relationship(QStringLiteral("sequel"));
    EXPECT_EQ(authors->destinationEntity(), model->entityNamed(QStringLiteral("Author")));
    EXPECT_EQ(authors->inverseRelationship(), books);
    EXPECT_EQ(books->inverseRelationship(), authors);
    EXPECT_EQ(sequel->inverseRelationship(), nullptr);
    EXPECT_TRUE(authors->isToMany() && authors->isOrdered() && !books->isOrdered() && !sequel->isToMany());
    EXPECT_EQ(authors->minCount(), 1);
    EXPECT_EQ(authors->maxCount(), 20);
    EXPECT_EQ(books->maxCount(), 0);
    EXPECT_FALSE(authors->isOptional());
    EXPECT_EQ(authors->deleteRule(), NSDeleteRule::Deny);
    EXPECT_EQ(books->deleteRule(), NSDeleteRule::Cascade);
    EXPECT_EQ(sequel->deleteRule(), NSDeleteRule::NoAction);
}

TEST(NSManagedObjectModel, EveryTypeHasItsDefault) {
    struct Case {
        const char *attribute;
        NSAttributeType type;
        QVariant value;
    };
    const Case cases[] = {
        {"{'type': 'integer16', 'default': -32768}", NSAttributeType::Integer16, -32768},
        {"{'type': 'integer32', 'default': 2147483647}", NSAttributeType::Integer32, 2147483647},
        {"{'type': 'integer64', 'default': 9223372036854775807}", NSAttributeType::Integer64,
         qint64(9223372036854775807)},
        {"{'type': 'decimal', 'default': '1.10'}", NSAttributeType::Decimal,
         QVariant::fromValue(NSDecimalNumber(QStringLiteral("1.1")))},
        {"{'type': 'decimal', 'default': 0.1}", NSAttributeType::Decimal,
         QVariant::fromValue(NSDecimalNumber(QStringLiteral("0.1")))},
        {"{'type': 'double', 'default': 2}", NSAttributeType::Double, 2.0},
        {"{'type': 'float', 'default': 0.5}", NSAttributeType::Float, 0.5f},
        {"{'type': 'string', 'default': ''}", NSAttributeType::String, QStringLiteral("")},
        {"{'type': 'boolean', 'default': false}", NSAttributeType::Boolean, false},
        {"{'type': 'data', 'default': ''}", NSAttributeType::Data, QByteArray("")},
        {"{'type': 'data', 'default': 'AQI='}", NSAttributeType::Data, QByteArray("\1\2")},
        {"{'type': 'url', 'default': 'https://example.org/a%20b'}", NSAttributeType::URI,
         QUrl(QStringLiteral("https://example.org/a%20b"))},
        {"{'type': 'uuid', 'default': '01234567-89ab-cdef-0123-456789abcdef'}", NSAttributeType::UUID,
         QUuid::fromString(QStringLiteral("01234567-89ab-cdef-0123-456789abcdef"))},
        {"{'type': 'transformable'}", NSAttributeType::Transformable, QVariant()},
    };
    for (const Case &c : cases) {
        const auto model = modelOf(withAttribute(c.attribute).constData());
        ASSERT_TRUE(model);
        EXPECT_EQ(attributeOf(model)->attributeType(), c.type) << c.attribute;
        EXPECT_EQ(attributeOf(model)->defaultValue(), c.value) << c.attribute;
        EXPECT_EQ(attributeOf(model)->defaultValue().typeId(), c.value.typeId()) << c.attribute;
    }
}

TEST(NSManagedObjectModel, WrongAttributesAreRefusedWithTheirPlace) {
    for (const char *attribute : {"{}",
                                  "7",
                                  "{'type': 'text'}",
                                  "{'type': 'integer16', 'default': 32768}",
                                  "{'type': 'integer32', 'default': 1.5}",
                                  "{'type': 'integer32', 'default': true}",
                                  "{'type': 'boolean', 'default': 1}",
                                  "{'type': 'string', 'default': 1}",
                                  "{'type': 'string', 'default': null}",
                                  "{'type': 'decimal', 'default': 'many'}",
                                  "{'type': 'float', 'default': 1e300}",
                                  "{'type': 'date', 'default': '2024-02-30T00:00:00Z'}",
                                  "{'type': 'date', 'default': '2024-02-28T00:00:00'}",
                                  "{'type': 'data', 'default': '!'}",
                                  "{'type': 'url', 'default': 'http://['}",
                                  "{'type': 'uuid', 'default': '1234'}",
                                  "{'type': 'transformable', 'default': 'x'}",
                                  "{'type': 'string', 'min': 1}",
                                  "{'type': 'integer32', 'minLength': 1}",
                                  "{'type': 'integer32', 'pattern': '.'}",
                                  "{'type': 'string', 'minLength': -1}",
                                  "{'type': 'string', 'pattern': '['}",
                                  "{'type': 'string', 'validation': ['SELF =']}",
                                  "{'type': 'string', 'validation': 'TRUEPREDICATE'}",
                                  "{'type': 'string', 'optional': 1}",
                                  "{'type': 'string', 'indexd': true}",
                                  "{'type': 'string', 'renamedFrom': 1}"}) {
        const std::string reason = refusal(withAttribute(attribute));
        EXPECT_NE(reason.find("entity \"E\": property \"a\": "), std::string::npos)
            << attribute << " " << reason;
    }
}

TEST(NSManagedObjectModel, WrongRelationshipsAreRefusedWithTheirPlace) {
    const auto refused = [](const char *relationship) {
        const std::string reason =
            refusal(QByteArray("{'name': 'M', 'entities': [{'name': 'E', 'relationships': {'r': ") +
                    relationship + "}}, {'name': 'F', 'relationships': {'back': {'destination': 'E'}}}]}");
        EXPECT_NE(reason.find("entity \"E\": property \"r\": "), std::string::npos)
            << relationship << " " << reason;
    };
    refused("{}");
    refused("{'destination': 'G'}");
    refused("{'destination': 'F', 'inverse': 'nothing'}");
    refused("{'destination': 'F', 'inverse': 'back'}");
    refused("{'destination': 'F', 'ordered': true}");
    refused("{'destination': 'F', 'max': 2}");
    refused("{'destination': 'F', 'delete': 'drop'}");
    refused("{'destination': 'F', 'toMany': true, 'min': -1}");
    refused("{'destination': 'F', 'type': 'string'}");
}

TEST(NSManagedObjectModel, WrongEntitiesAreRefused) {
    const auto refused = [](const QByteArray &entities, const char *why) {
        EXPECT_NE(refusal("{'name': 'M', 'entities': [" + entities + "]}").find(why), std::string::npos)
            << why;
    };
    refused("{}", "\"name\" is missing");
    refused("7", "object");
    refused("{'name': 'a b'}", "no name");
    refused("{'name': ''}", "no name");
    refused("{'name': '1a'}", "no name");
    refused("{'name': 'é'}", "no name");
    refused("{'name': 'a\\n'}", "no name");
    refused("{'name': '" + QByteArray(129, 'a') + "'}", "no name");
    refused("{'name': 'A'}, {'name': 'A'}", "already");
    refused("{'name': 'A', 'parent': 'B'}", "inherit");
    refused("{'name': 'A', 'parent': 'A'}", "itself");
    refused("{'name': 'A', 'parent': 'B'}, {'name': 'B', 'parent': 'A'}", "itself");
    refused("{'name': 'A', 'colour': 1}", "no meaning");
    refused("{'name': 'A', 'attributes': []}", "object");
    refused("{'name': 'A', 'attributes': {'x y': {'type': 'string'}}}", "no name");
    refused("{'name': 'A', 'attributes': {'x': {'type': 'string'}}, 'relationships': {'x': {'destination': "
            "'A'}}}",
            "already");
    refused("{'name': 'A', 'attributes': {'x': {'type': 'string'}}}, "
            "{'name': 'B', 'parent': 'A', 'attributes': {'x': {'type': 'string'}}}",
            "already");
    for (const char *taken : {"objectName", "objectID", "self", "hash", "description"})
        refused(QByteArray("{'name': 'A', 'attributes': {'") + taken + "': {'type': 'string'}}}", "already");
}

TEST(NSManagedObjectModel, WhatIsNoModelFileIsRefused) {
    EXPECT_NE(refusal("").size(), 0u);
    EXPECT_NE(refusal("[]").find("object"), std::string::npos);
    refusal("{'entities': []}");
    refusal("{'name': 'M', 'version': -1}");
    refusal("{'name': 'M', 'version': '1'}");
    refusal("{'name': 'M', 'entity': []}");
    refusal("{'models': [7]}");
    refusal("{'models': [], 'name': 'M'}");
}

TEST(NSManagedObjectModel, AnInheritanceOfManyStepsIsRefusedInsteadOfFollowed) {
    QByteArray entities = "{'name': 'E0'}";
    for (int i = 1; i <= 100; ++i)
        entities +=
            ", {'name': 'E" + QByteArray::number(i) + "', 'parent': 'E" + QByteArray::number(i - 1) + "'}";
    refusal("{'name': 'M', 'entities': [" + entities + "]}");
}

TEST(NSManagedObjectModel, TheVersionHashFollowsWhatTheStoreKeeps) {
    const auto hash = [](const char *attribute) {
        return modelOf(withAttribute(attribute).constData())
            ->entityVersionHashesByName()
            .value(QStringLiteral("E"));
    };
    const QByteArray plain = hash("{'type': 'string'}");
    EXPECT_EQ(plain.size(), 32);
    EXPECT_EQ(hash("{'type': 'string', 'default': 'x', 'maxLength': 3, 'renamedFrom': 'b'}"), plain);
    EXPECT_NE(hash("{'type': 'data'}"), plain);
    EXPECT_NE(hash("{'type': 'string', 'optional': false}"), plain);
    EXPECT_NE(hash("{'type': 'string', 'indexed': true}"), plain);
    EXPECT_NE(hash("{'type': 'string', 'transient': true}"), plain);
}

class ModelFiles : public testing::Test {
protected:
    QUrl write(const char *name, const char *text) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(text).replace('\'', '"'));
        return QUrl::fromLocalFile(file.fileName());
    }
    QTemporaryDir folder;
};

TEST_F(ModelFiles, TheProgramsModelsAreMergedAndTheNewestVersionCounts) {
    write("a.model.json", "{'name': 'A', 'version': 2, 'entities': [{'name': 'Base'}, {'name': 'New'}]}");
    write("a1.model.json", "{'name': 'A', 'version': 1, 'entities': [{'name': 'Base'}, {'name': 'Old'}]}");
    write("b.model.json", "{'name': 'B', 'entities': [{'name': 'Derived', 'parent': 'Base'}]}");
    write("other.json", "no model");
    NSBundle &bundle = NSBundle::mainBundle();
    const QString before = bundle.resourcePath();
    bundle.setResourcePath(folder.path());
    NSError error;
    const auto model = NSManagedObjectModel::mergedModelFromBundles(&error);
    bundle.setResourcePath(before);
    ASSERT_TRUE(model) << error.localizedDescription().toStdString();
    EXPECT_EQ(model->entities().size(), 3u);
    EXPECT_FALSE(model->entityNamed(QStringLiteral("Old")));
    EXPECT_EQ(model->entityNamed(QStringLiteral("Derived"))->superentity(),
              model->entityNamed(QStringLiteral("Base")));
    EXPECT_EQ(model->versions(), (QMap<QString, qint64>{{QStringLiteral("A"), 2}, {QStringLiteral("B"), 1}}));
}

TEST_F(ModelFiles, WithoutFilesThereIsAModelWithoutEntities) {
    NSBundle &bundle = NSBundle::mainBundle();
    const QString before = bundle.resourcePath();
    bundle.setResourcePath(folder.path());
    const auto model = NSManagedObjectModel::mergedModelFromBundles();
    bundle.setResourcePath(before);
    ASSERT_TRUE(model);
    EXPECT_TRUE(model->entities().empty());
}

TEST_F(ModelFiles, AnErrorNamesItsFile) {
    NSError error;
    EXPECT_FALSE(
        NSManagedObjectModel::modelWithContentsOfURL(write("x.model.json", "{'name': '?'}"), &error));
    EXPECT_TRUE(error.localizedDescription().contains(QStringLiteral("x.model.json: ")))
        << error.description().toStdString();
    EXPECT_FALSE(NSManagedObjectModel::modelWithContentsOfURL(
        QUrl::fromLocalFile(folder.filePath(QStringLiteral("none"))), &error));
    EXPECT_EQ(error.code(), NSFileReadNoSuchFileError);
    EXPECT_FALSE(
        NSManagedObjectModel::modelWithContentsOfURL(QUrl(QStringLiteral("https://example.org/m")), &error));
    EXPECT_EQ(error.code(), NSFileReadNoSuchFileError);
}

TEST_F(ModelFiles, OneVersionInTwoFilesIsAnErrorUnlessTheyAreTheSame) {
    const QUrl a = write("a.model.json", "{'name': 'A', 'entities': [{'name': 'X'}]}"),
               same = write("b.model.json", "{'name': 'A', 'entities': [{'name': 'X'}]}"),
               other = write("c.model.json", "{'name': 'A', 'entities': [{'name': 'Y'}]}");
    EXPECT_TRUE(NSManagedObjectModel::modelWithContentsOfURLs({a, same}));
    NSError error;
    EXPECT_FALSE(NSManagedObjectModel::modelWithContentsOfURLs({a, other}, &error));
    EXPECT_TRUE(error.localizedDescription().contains(QStringLiteral("Version 1 of the model \"A\"")));
}

TEST(NSManagedObjectModel, ModelsAreMergedAndWrittenAsAText) {
    const auto one = modelOf("{'name': 'A', 'entities': [{'name': 'X'}]}"),
               other = modelOf("{'name': 'B', 'version': 4, 'entities': [{'name': 'Y', 'attributes': {"
                               "'price': {'type': 'decimal', 'default': 0.1, 'optional': false}}}]}");
    const auto merged = NSManagedObjectModel::modelByMergingModels({one, nullptr, other});
    ASSERT_TRUE(merged);
    EXPECT_EQ(merged->entities().size(), 2u);
    const auto again = NSManagedObjectModel::modelWithData(merged->data());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->entityVersionHashesByName(), merged->entityVersionHashesByName());
    EXPECT_EQ(again->versions(), merged->versions());
    const auto *price = again->entityNamed(QStringLiteral("Y"))->attribute(QStringLiteral("price"));
    EXPECT_EQ(price->defaultValue().value<NSDecimalNumber>(), NSDecimalNumber(QStringLiteral("0.1")));

    NSError error;
    EXPECT_FALSE(NSManagedObjectModel::modelByMergingModels(
        {one, modelOf("{'name': 'C', 'entities': [{'name': 'X'}]}")}, &error));
    EXPECT_TRUE(error.localizedDescription().contains(QStringLiteral("\"X\"")));
}

} // namespace
