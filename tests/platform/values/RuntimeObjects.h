// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QObject>
#include <QStringList>
#include <QVariant>

/// An object with members of every sort, which writes down what it is sent.
class Person : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER m_name)
    Q_PROPERTY(int age MEMBER m_age)
    Q_PROPERTY(QObject *boss MEMBER m_boss)
    Q_PROPERTY(int fixed READ fixed)
    Q_PROPERTY(QVariant anything MEMBER m_anything)
    Q_PROPERTY(Mood mood MEMBER m_mood)
    Q_PROPERTY(int _hidden MEMBER m_hidden)

public:
    enum Mood { Calm = 1, Merry = 2 };
    Q_ENUM(Mood)

    explicit Person(const QString &name = {}, int age = 0, QObject *boss = nullptr)
        : m_name(name), m_age(age), m_boss(boss) {}

    int fixed() const { return 7; }

    Q_INVOKABLE QString greeting() const { return QStringLiteral("I am ") + m_name; }
    Q_INVOKABLE QString getNickname() const { return m_name.left(2); }
    Q_INVOKABLE bool isAdult() const { return m_age >= 18; }
    Q_INVOKABLE int add(int a, double b) { return a + int(b); }
    Q_INVOKABLE void fail() { throw NSException(NSRangeException, QStringLiteral("failed")); }
    Q_INVOKABLE QVariant same(const QVariant &value) { return value; }
    Q_INVOKABLE void setTitle(const QString &title) { log << QStringLiteral("title ") + title; }
    Q_INVOKABLE void setNilValueForKey(const QString &key) { log << QStringLiteral("nil ") + key; }
    Q_INVOKABLE int compare(const QVariant &other) const { return m_age - other.value<Person *>()->m_age; }

public Q_SLOTS:
    void note(const QString &text) { log << text; }

Q_SIGNALS:
    void happened();

public:
    QStringList log;

private:
    QString m_name;
    int m_age = 0;
    QObject *m_boss = nullptr;
    QVariant m_anything;
    Mood m_mood = Calm;
    int m_hidden = 3;
};

/// A subclass with a method of its own.
class Clerk : public Person {
    Q_OBJECT
public:
    using Person::Person;
    Q_INVOKABLE int desk() const { return 12; }
};

/// Answers for keys that it doesn't have.
class Lenient : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE QVariant valueForUndefinedKey(const QString &key) { return QStringLiteral("no ") + key; }
    Q_INVOKABLE void setValue(const QVariant &value, const QString &key) { values.insert(key, value); }
    QVariantMap values;
};

/// Has a number, and nothing to say about nil.
class Interval : public QObject {
    Q_OBJECT
    Q_PROPERTY(int interval MEMBER m_interval)
    int m_interval = 1;
};

/// A value with members.
struct Address {
    Q_GADGET
    Q_PROPERTY(QString city MEMBER city)
    Q_PROPERTY(int zip MEMBER zip)

public:
    QString city;
    int zip = 0;
    Q_INVOKABLE QString description() const { return city + QLatin1Char(' ') + QString::number(zip); }
    friend bool operator==(const Address &, const Address &) = default;
};
Q_DECLARE_METATYPE(Address)
