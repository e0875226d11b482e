// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectID.h"

#include "platform/store/ObjectSource.h"
#include "tests/platform/store/Models.h"

#include <QSet>

using namespace zr;

namespace {

TEST(NSManagedObjectID, NilNamesNothing) {
    const NSManagedObjectID nil;
    EXPECT_TRUE(nil.isNil());
    EXPECT_FALSE(nil);
    EXPECT_FALSE(nil.isTemporaryID());
    EXPECT_EQ(nil.entity(), nullptr);
    EXPECT_FALSE(nil.URIRepresentation().isValid());
    EXPECT_TRUE(nil == NSManagedObjectID());
}

TEST(NSManagedObjectID, ATemporaryOneBecomesPermanentInAllItsCopies) {
    auto model = modelOf("{'name': 'M', 'entities': [{'name': 'Note'}]}");
    const NSEntityDescription *note = model->entityNamed(QStringLiteral("Note"));
    const NSManagedObjectID id = ObjectIdentity::temporary(note), copy = id,
                            other = ObjectIdentity::temporary(note);
    QSet<NSManagedObjectID> set{id};
    EXPECT_TRUE(id.isTemporaryID());
    EXPECT_EQ(id.entity(), note);
    EXPECT_FALSE(id == other);
    EXPECT_NE(id.URIRepresentation(), other.URIRepresentation());
    EXPECT_TRUE(id.URIRepresentation().toString().startsWith(QStringLiteral("x-zrstore:///Note/t")));

    ObjectIdentity::of(id)->store = QStringLiteral("0123");
    ObjectIdentity::of(id)->key = 7;
    EXPECT_FALSE(copy.isTemporaryID());
    EXPECT_TRUE(copy == id);
    EXPECT_TRUE(set.contains(copy));
    EXPECT_EQ(copy.URIRepresentation(), QUrl(QStringLiteral("x-zrstore://0123/Note/p7")));

    // The identifier keeps the model, and with it the entity.
    model.reset();
    EXPECT_EQ(copy.entity()->name(), QStringLiteral("Note"));
}

} // namespace
