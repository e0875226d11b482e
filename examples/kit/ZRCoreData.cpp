// SPDX-License-Identifier: MIT
#include "ZRKit/Store/ZRCoreData.h"

#include "ZRKit/Store/NSArray+ZRCoreData.h"
#include "ZRKit/Store/NSArrayController+ZRKit.h"
#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "examples/kit/Example.h"
#include "platform/files/NSBundle.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

class Book : public NSManagedObject {
    NS_MANAGED_OBJECT(Book)

public:
    QString title() const { return valueForKey(u"title"_s).toString(); }
};

// A program has its model in its resources; this one is written where it is looked for.
const QString model = uR"({
  "name": "Library", "version": 1,
  "entities": [
    {"name": "Book",
     "attributes": {"title": {"type": "string", "optional": false}, "pages": {"type": "integer32"}},
     "relationships": {"author": {"destination": "Author", "inverse": "books"}}},
    {"name": "Author",
     "attributes": {"name": {"type": "string"}},
     "relationships": {"books": {"destination": "Book", "inverse": "author", "toMany": true, "delete": "cascade"}}}
  ]
})"_s;

} // namespace

EXAMPLE(ZRCoreData) {
    const QTemporaryDir folder;
    expect(ZRKit::saveToFile(model, ZRKit::joinPath(folder.path(), u"Library.model.json"_s)));
    NSBundle::mainBundle().setResourcePath(folder.path());

    // Model, store and context are made when they are first asked for; so is the store's folder.
    ZRCoreData store(ZRKit::joinPath(folder.path(), u"made/Data.db"_s));
    NSManagedObject *author = store.object(u"Author"_s);
    author->setValueForKey(u"Ada"_s, u"name"_s);
    Book *book = ZRKit::makeWithMOC<Book>(*store.context());
    book->setValueForKey(u"Notes"_s, u"title"_s);
    book->setValueForKey(QVariant::fromValue(author), u"author"_s);
    expect(author->valueForKey(u"books"_s).value<NSSet>().size() == 1); // the inverse follows at once
    expect(store.save());

    // Finding and counting.
    const auto found = store.fetch(u"Book"_s, NSPredicate::predicateWithFormat(u"author.name == 'Ada'"_s));
    expect(found->size() == 1 && NSManagedObject::from(found->first()) == book);
    expect(ZRKit::count(*store.context(), u"Book"_s, NSPredicate()) == 1);
    const auto sorted = ZRKit::fetch(*store.context(), u"Book"_s, [](NSFetchRequest &request) {
        request.setSortDescriptors({NSSortDescriptor(u"title"_s, true)});
        request.setFetchLimit(10);
    });
    expect(sorted->size() == 1);

    // An object is kept outside the store as its identifier's text.
    const QString text = ZRKit::objectIDString(*book);
    expect(ZRKit::objectForID(*store.context(), text) == book);
    expect(ZRKit::objectIDs(*found) == QVariantList{text});

    // Work elsewhere: a child context has a queue of its own, and its saves become changes of the main one.
    const auto child = store.submoc();
    child->performBlockAndWait([&] {
        ZRKit::makeWithMOC<Book>(*child)->setValueForKey(u"More notes"_s, u"title"_s);
        expect(ZRKit::zr_save(*child));
    });
    expect(store.context()->hasChanges() && store.save());

    // A list for a view.
    const auto list = ZRKit::arrayControllerWithMOC(store.context(), u"Book"_s, NSPredicate(),
                                                    {NSSortDescriptor(u"title"_s, true)});
    expect(list->rowCount() == 2);

    // What can't be saved is told to the user, and stays as it is.
    book->setValueForKey({}, u"title"_s);
    expect(!store.save());
    store.context()->rollback();
    expect(book->title() == u"Notes"_s);

    store.deleteObject(author);
    expect(store.save() && store.fetchAll(u"Book"_s)->size() == 1); // its books went with her
    NSBundle::mainBundle().setResourcePath({});
}
