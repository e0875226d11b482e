// SPDX-License-Identifier: MIT
#include "platform/interface/InterfaceAttributes.h"

#include <QEvent>
#include <QVariant>
#include <gtest/gtest.h>

namespace {

using Attributes = QList<std::pair<QString, QVariant>>;

class Attributed : public QObject {
    Q_OBJECT
    Q_PROPERTY(int declared MEMBER declared)

public:
    Q_INVOKABLE void setValue(const QVariant &value, const QString &forUndefinedKey) {
        attributes.append({forUndefinedKey, value});
    }
    bool event(QEvent *event) override { return zr::attributeArrived(this, event) || QObject::event(event); }

    Attributes attributes;
    int declared = 0;
};

class Plain : public QObject {
    Q_OBJECT

public:
    bool event(QEvent *event) override {
        arrived |= zr::attributeArrived(this, event);
        return QObject::event(event);
    }

    bool arrived = false;
};

} // namespace

TEST(InterfaceAttributes, WhatAClassDoesNotDeclareReachesItsHook) {
    Attributed object;
    object.setProperty("IBbgcolor", QStringLiteral("#f00"));
    object.setProperty("größe", 3);
    EXPECT_EQ(object.attributes, (Attributes{{QStringLiteral("IBbgcolor"), QStringLiteral("#f00")},
                                             {QStringLiteral("größe"), 3}}));
}

TEST(InterfaceAttributes, DeclaredPropertiesAreNoAttributes) {
    Attributed object;
    object.setProperty("declared", 7);
    EXPECT_EQ(object.declared, 7);
    EXPECT_TRUE(object.attributes.isEmpty());
}

TEST(InterfaceAttributes, WhatIsTakenAwayAndWhatIsQtsOwnAreNone) {
    Attributed object;
    object.setProperty("alpha", 0.5);
    object.setProperty("alpha", QVariant());
    object.setProperty("_q_notr_text", QStringLiteral("text"));
    EXPECT_EQ(object.attributes, (Attributes{{QStringLiteral("alpha"), 0.5}}));
}

TEST(InterfaceAttributes, AnObjectWithoutAHookKeepsItsProperty) {
    Plain object;
    object.setProperty("alpha", 0.5);
    EXPECT_FALSE(object.arrived);
    EXPECT_EQ(object.property("alpha"), QVariant(0.5));
}

#include "InterfaceAttributesTest.moc"
