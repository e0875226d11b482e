// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/store/NSPersistentStoreCoordinator.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/platform/store/Models.h"
#include "tests/support/Expect.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

/// For tests of contexts on a real store.
namespace ContextSupport {

inline QString text(const char *utf8) {
    return QString::fromUtf8(utf8);
}

inline QVariant asValue(NSManagedObject *object) {
    return object ? QVariant::fromValue<QObject *>(object) : QVariant();
}

inline QVariant setOf(const QList<NSManagedObject *> &objects) {
    NSSet set;
    for (NSManagedObject *object : objects)
        set.insert(asValue(object));
    return QVariant::fromValue(set);
}

inline QVariantList listOf(const QList<NSManagedObject *> &objects) {
    QVariantList list;
    for (NSManagedObject *object : objects)
        list << asValue(object);
    return list;
}

/// Authors write books; books have an order of chapters, tags and a shelf, which denies its deletion.
inline NSManagedObjectModel::Ptr library() {
    static const NSManagedObjectModel::Ptr model = modelOf(R"({'name': 'Library', 'entities': [
      {'name': 'Item', 'abstract': true, 'attributes': {'title': {'type': 'string', 'default': 'untitled'}}},
      {'name': 'Book', 'parent': 'Item',
       'attributes': {'pages': {'type': 'integer16', 'min': 1}, 'copies': {'type': 'integer32'},
         'sold': {'type': 'integer64'}, 'price': {'type': 'decimal', 'max': '100'}, 'rating': {'type': 'double'},
         'weight': {'type': 'float'}, 'lent': {'type': 'boolean'},
         'printed': {'type': 'date', 'min': '1900-01-01T00:00:00Z', 'max': '2100-01-01T00:00:00Z'},
         'cover': {'type': 'data'}, 'page': {'type': 'url'}, 'mark': {'type': 'uuid'},
         'extra': {'type': 'transformable'}, 'note': {'type': 'string', 'transient': true},
         'isbn': {'type': 'string', 'minLength': 3, 'maxLength': 5, 'pattern': '[0-9]*', 'validation': ['SELF != \"0000\"']}},
       'relationships': {
         'author': {'destination': 'Author', 'inverse': 'books'},
         'chapters': {'destination': 'Chapter', 'inverse': 'book', 'toMany': true, 'ordered': true, 'delete': 'cascade'},
         'tags': {'destination': 'Tag', 'inverse': 'books', 'toMany': true},
         'shelf': {'destination': 'Shelf', 'inverse': 'books', 'delete': 'noAction'},
         'sequel': {'destination': 'Book', 'inverse': 'prequel'},
         'prequel': {'destination': 'Book', 'inverse': 'sequel'}}},
      {'name': 'Author', 'attributes': {'name': {'type': 'string', 'optional': false}, 'born': {'type': 'integer32'}},
       'relationships': {'books': {'destination': 'Book', 'inverse': 'author', 'toMany': true}}},
      {'name': 'Chapter', 'attributes': {'heading': {'type': 'string'}},
       'relationships': {'book': {'destination': 'Book', 'inverse': 'chapters'}}},
      {'name': 'Tag', 'attributes': {'word': {'type': 'string'}},
       'relationships': {'books': {'destination': 'Book', 'inverse': 'tags', 'toMany': true, 'max': 2}}},
      {'name': 'Shelf', 'attributes': {'row': {'type': 'integer32'}},
       'relationships': {'books': {'destination': 'Book', 'inverse': 'shelf', 'toMany': true, 'delete': 'deny'}}},
      {'name': 'Club', 'attributes': {'name': {'type': 'string'}}, 'relationships': {
         'members': {'destination': 'Author', 'toMany': true, 'optional': false, 'min': 1, 'max': 2}}}]})");
    return model;
}

class ContextTest : public testing::Test {
protected:
    ContextTest() : coordinator(open()), context(contextOn(coordinator)) {}

    QString path() const { return folder.filePath(QStringLiteral("Data.db")); }

    std::shared_ptr<NSPersistentStoreCoordinator> open() const {
        auto made = std::make_shared<NSPersistentStoreCoordinator>(library());
        NSError error;
        EXPECT_TRUE(
            made->addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path()), {}, &error))
            << error.localizedDescription().toStdString();
        return made;
    }
    static std::shared_ptr<NSManagedObjectContext>
    contextOn(const std::shared_ptr<NSPersistentStoreCoordinator> &on) {
        auto made = std::make_shared<NSManagedObjectContext>(NSMainQueueConcurrencyType);
        made->setPersistentStoreCoordinator(on);
        return made;
    }
    static std::shared_ptr<NSManagedObjectContext>
    childOf(const std::shared_ptr<NSManagedObjectContext> &parent) {
        auto made = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
        made->setParentContext(parent);
        return made;
    }

    static NSManagedObject *make(NSManagedObjectContext &in, const char *entity,
                                 const QVariantMap &values = {}) {
        NSManagedObject *object = NSEntityDescription::insertNewObjectForEntityForName(text(entity), in);
        for (auto at = values.begin(); at != values.end(); ++at)
            object->setValueForKey(at.value(), at.key());
        return object;
    }
    NSManagedObject *make(const char *entity, const QVariantMap &values = {}) {
        return make(*context, entity, values);
    }
    NSManagedObject *book(const char *title, int pages = 1) {
        return make("Book", {{text("title"), text(title)}, {text("pages"), pages}});
    }
    NSManagedObject *author(const char *name) { return make("Author", {{text("name"), text(name)}}); }

    static void save(NSManagedObjectContext &of) {
        NSError error;
        ASSERT_TRUE(of.save(&error)) << error.localizedDescription().toStdString();
        ASSERT_TRUE(error.isNil());
    }
    void save() { save(*context); }

    static QVariantList fetch(NSManagedObjectContext &from, const NSFetchRequest &request) {
        NSError error;
        const auto found = from.executeFetchRequest(request, &error);
        EXPECT_TRUE(found) << error.localizedDescription().toStdString();
        return found.value_or(QVariantList());
    }
    template <typename... Arguments>
    static NSFetchRequest request(const char *entity, const char *format = nullptr,
                                  const Arguments &...arguments) {
        NSFetchRequest made(text(entity));
        if (format)
            made.setPredicate(NSPredicate::predicateWithFormat(text(format), arguments...));
        return made;
    }
    /// The titles of books, sorted by them.
    template <typename... Arguments>
    static QStringList titles(NSManagedObjectContext &from, const char *format = nullptr,
                              const Arguments &...arguments) {
        NSFetchRequest asked = request("Book", format, arguments...);
        asked.setSortDescriptors({NSSortDescriptor(text("title"), true)});
        QStringList titles;
        for (const QVariantList found = fetch(from, asked); const QVariant &each : found)
            titles << NSManagedObject::from(each)->valueForKey(text("title")).toString();
        return titles;
    }
    static QVariant valueOf(const NSManagedObject *object, const char *key) {
        return object->valueForKey(text(key));
    }
    static void set(NSManagedObject *object, const char *key, const QVariant &value) {
        object->setValueForKey(value, text(key));
    }

    QTemporaryDir folder;
    std::shared_ptr<NSPersistentStoreCoordinator> coordinator;
    std::shared_ptr<NSManagedObjectContext> context;
};

} // namespace ContextSupport
