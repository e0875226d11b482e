// SPDX-License-Identifier: MIT
#include "platform/archive/NSKeyedArchiver.h"

#include "platform/archive/DecodingBudget.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/archive/NSPropertyList.h"
#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/platform/archive/ValueTrees.h"

#include <QDate>
#include <QDateTime>
#include <QObject>
#include <QPoint>
#include <QTimeZone>
#include <QUrl>
#include <QUuid>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

using namespace zr;

namespace {

QVariant roundTrip(const QVariant &value) {
    return NSKeyedUnarchiver::unarchiveObjectWithData(NSKeyedArchiver::archivedDataWithRootObject(value));
}

void expectSame(const QVariant &value) {
    const QVariant back = roundTrip(value);
    EXPECT_TRUE(identical(back, value))
        << qPrintable(NSDescription(value)) << " came back as " << qPrintable(NSDescription(back));
}

/// The archive's objects, as any reader of property lists sees them.
QVariantList objectsOf(const QVariant &value) {
    const QVariantMap archive =
        NSPropertyList::propertyListFromData(NSKeyedArchiver::archivedDataWithRootObject(value)).toMap();
    return archive.value(QStringLiteral("$objects")).toList();
}

QVariantMap rootObjectOf(const QVariant &value) {
    return objectsOf(value).at(1).toMap();
}

QVariant uid(quint64 value) {
    return QVariant::fromValue(NSPropertyListUID{value});
}

} // namespace

TEST(NSKeyedArchiver, WritesTheEnvelopeOfTheFormat) {
    const QVariantMap archive = NSPropertyList::propertyListFromData(
                                    NSKeyedArchiver::archivedDataWithRootObject(QStringLiteral("hello")))
                                    .toMap();
    const QVariantMap expected = {
        {QStringLiteral("$version"), qlonglong(100000)},
        {QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver")},
        {QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), uid(1)}}},
        {QStringLiteral("$objects"), QVariantList{QStringLiteral("$null"), QStringLiteral("hello")}},
    };
    EXPECT_TRUE(identical(archive, expected));
}

TEST(NSKeyedArchiver, StringsComeBackAsTheyWere) {
    expectSame(QStringLiteral("ASCII only"));
    expectSame(QStringLiteral("Zürich – 紙 🙂"));
    expectSame(QStringLiteral(""));
    expectSame(QString(QChar(0)) + QStringLiteral("nul inside"));
    expectSame(QString(300000, u'a'));
    expectSame(QString(300000, u'ä'));
    expectSame(QString(300000, u'a') + u'ä');
    for (int length = 0; length < 300; ++length)
        expectSame(QString(length, u'x'));
}

TEST(NSKeyedArchiver, StringsKeepUnpairedSurrogates) {
    expectSame(QString(QChar(0xd83d)));
    expectSame(QStringLiteral("cut in the middle of an emoji: ") + QChar(0xd83d));
    expectSame(QString(QChar(0xde42)) + QChar(0xd83d));
}

TEST(NSKeyedArchiver, StringThatReadsLikeTheNullObjectStaysAString) {
    expectSame(QStringLiteral("$null"));
    expectSame(
        QVariantMap{{QStringLiteral("$null"), QStringLiteral("$null")}, {QStringLiteral("a"), QVariant()}});
    const QVariantMap root = rootObjectOf(QStringLiteral("$null"));
    EXPECT_EQ(root.value(QStringLiteral("NS.string")), QVariant(QStringLiteral("$null")));
}

TEST(NSKeyedArchiver, DataComesBackAsItWas) {
    expectSame(QByteArray("bytes\0with nul", 14));
    expectSame(QByteArray(""));
    expectSame(QByteArray(5 << 20, '\x80'));
    EXPECT_EQ(objectsOf(QByteArray("plain")).at(1), QVariant(QByteArray("plain")));
}

TEST(NSKeyedArchiver, IntegersComeBackOverTheWholeRange) {
    for (const qint64 number : {Q_INT64_C(0), Q_INT64_C(1), Q_INT64_C(-1), Q_INT64_C(127), Q_INT64_C(255),
                                Q_INT64_C(256), Q_INT64_C(65535), Q_INT64_C(65536), Q_INT64_C(4294967295),
                                Q_INT64_C(4294967296), std::numeric_limits<qint64>::max(),
                                std::numeric_limits<qint64>::min(), Q_INT64_C(-128), Q_INT64_C(-32769)})
        expectSame(qlonglong(number));
    expectSame(qulonglong(std::numeric_limits<quint64>::max()));
    expectSame(qulonglong(Q_UINT64_C(1) << 63));
}

TEST(NSKeyedArchiver, NarrowIntegersComeBackAsTheWideType) {
    EXPECT_TRUE(identical(roundTrip(7), qlonglong(7)));
    EXPECT_TRUE(identical(roundTrip(-7), qlonglong(-7)));
    EXPECT_TRUE(identical(roundTrip(7u), qlonglong(7)));
    EXPECT_TRUE(identical(roundTrip(qulonglong(7)), qlonglong(7)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(short(-3))), qlonglong(-3)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(ushort(3))), qlonglong(3)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(char(65))), qlonglong(65)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(static_cast<signed char>(-65))), qlonglong(-65)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(uchar(200))), qlonglong(200)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(-5L)), qlonglong(-5)));
    EXPECT_TRUE(identical(roundTrip(QVariant::fromValue(5UL)), qlonglong(5)));
}

TEST(NSKeyedArchiver, RealsComeBackBitForBit) {
    for (const double number :
         {0.0, -0.0, 1.0, 0.1, -1e300, std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::quiet_NaN()})
        expectSame(number);
    EXPECT_TRUE(identical(roundTrip(1.5f), 1.5));
    EXPECT_TRUE(identical(roundTrip(0.1f), double(0.1f)));
}

TEST(NSKeyedArchiver, BooleansStayBooleansBesideNumbers) {
    expectSame(true);
    expectSame(false);
    expectSame(QVariantList{true, qlonglong(1), 1.0, false, qlonglong(0), 0.0});
}

TEST(NSKeyedArchiver, DatesComeBackInUtcToTheMillisecond) {
    expectSame(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC));
    expectSame(QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999), Qt::UTC));
    expectSame(QDateTime(QDate(1, 1, 1), QTime(0, 0, 0, 1), Qt::UTC));
    expectSame(QDateTime(QDate(4001, 1, 1), QTime(0, 0), Qt::UTC));
    const QDateTime elsewhere(QDate(2020, 6, 1), QTime(12, 0), QTimeZone(3600));
    const QDateTime back = roundTrip(elsewhere).toDateTime();
    EXPECT_EQ(back, elsewhere);
    EXPECT_EQ(back.timeSpec(), Qt::UTC);
    EXPECT_TRUE(identical(
        rootObjectOf(QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC)).value(QStringLiteral("NS.time")),
        86400.0));
}

TEST(NSKeyedArchiver, NullMarkerUrlUuidComeBack) {
    expectSame(NSNull());
    expectSame(QVariantList{NSNull(), NSNull()});
    expectSame(QUrl(QStringLiteral("https://user@host.test:8080/p%20a/th?q=ü&x=%26#frag")));
    expectSame(QUrl(QStringLiteral("file:///tmp/a%23b c.html")));
    expectSame(QUrl(QStringLiteral("data:text/html,<p>x</p>")));
    expectSame(QUrl(QStringLiteral("relative/path?x")));
    expectSame(QUuid(QStringLiteral("{12345678-9abc-def0-1234-56789abcdef0}")));
    expectSame(QUuid());
    EXPECT_EQ(rootObjectOf(QUuid(QStringLiteral("{00112233-4455-6677-8899-aabbccddeeff}")))
                  .value(QStringLiteral("NS.uuidbytes")),
              QVariant(QByteArray::fromHex("00112233445566778899aabbccddeeff")));
}

TEST(NSKeyedArchiver, UrlsComeBackInTheirEncodedForm) {
    // QUrl tells "#" and "%23" in a fragment apart, though it writes both alike.
    const QUrl url(QStringLiteral("https://host.test/#a#b"));
    const QUrl back = roundTrip(url).toUrl();
    EXPECT_EQ(back.toEncoded(), url.toEncoded());
    expectSame(back);
}

TEST(NSKeyedArchiver, ContainersComeBack) {
    expectSame(QVariantList{});
    expectSame(QVariantList{QStringLiteral("a"), qlonglong(1), QVariantList{QVariantList{}}});
    expectSame(QVariantMap{});
    expectSame(QVariantMap{{QStringLiteral(""), qlonglong(1)},
                           {QStringLiteral("b"), QVariantMap{{QStringLiteral("c"), QByteArray("d")}}}});
    expectSame(QVariant::fromValue(NSSet{}));
    expectSame(
        QVariant::fromValue(NSSet{QStringLiteral("a"), qlonglong(1), QVariantList{qlonglong(2)}, NSNull()}));
    EXPECT_TRUE(identical(roundTrip(QVariantHash{{QStringLiteral("k"), true}}),
                          QVariantMap{{QStringLiteral("k"), true}}));
    EXPECT_TRUE(identical(roundTrip(QStringList{QStringLiteral("a"), QStringLiteral("")}),
                          QVariantList{QStringLiteral("a"), QStringLiteral("")}));
}

TEST(NSKeyedArchiver, ErrorsAndDecimalNumbersComeBack) {
    const NSError error(
        QStringLiteral("com.velmora.error"), 101,
        {{NSLocalizedDescriptionKey, QStringLiteral("no paper")},
         {QStringLiteral("NSUnderlyingError"), QVariant::fromValue(NSError(QStringLiteral("d"), -1))}});
    expectSame(QVariant::fromValue(error));
    expectSame(QVariant::fromValue(NSError(QStringLiteral(""), std::numeric_limits<qint64>::min())));
    EXPECT_EQ(rootObjectOf(QVariant::fromValue(NSError(QStringLiteral("d"), 5)))
                  .value(QStringLiteral("NSUserInfo")),
              uid(0));
    for (const char *text : {"0", "1", "-1", "123.45", "-0.000001", "99999999999999999999999999999999999999",
                             "1e127", "-5e-128", "NaN"})
        expectSame(QVariant::fromValue(NSDecimalNumber(QString::fromLatin1(text))));
}

TEST(NSKeyedArchiver, DecimalNumbersHaveThePlatformsFields) {
    const QVariantMap object =
        rootObjectOf(QVariant::fromValue(NSDecimalNumber(QStringLiteral("-123456.7"))));
    EXPECT_TRUE(identical(object.value(QStringLiteral("NS.exponent")), qlonglong(-1)));
    EXPECT_TRUE(identical(object.value(QStringLiteral("NS.length")), qlonglong(2)));
    EXPECT_TRUE(identical(object.value(QStringLiteral("NS.negative")), true));
    EXPECT_TRUE(identical(object.value(QStringLiteral("NS.compact")), true));
    EXPECT_TRUE(identical(object.value(QStringLiteral("NS.mantissa.bo")), qlonglong(1)));
    EXPECT_EQ(object.value(QStringLiteral("NS.mantissa")).toByteArray(),
              QByteArray::fromHex("87d61200000000000000000000000000"));
}

TEST(NSKeyedArchiver, NilOfEveryTypeComesBackAsNilAndEmptyStaysEmpty) {
    for (const QVariant &nil : {QVariant(), QVariant(QString()), QVariant(QByteArray()),
                                QVariant(QDateTime()), QVariant(QUrl()), QVariant::fromValue(NSError())}) {
        EXPECT_FALSE(roundTrip(nil).isValid());
        EXPECT_EQ(objectsOf(nil).size(), 1);
    }
    const QVariantList three = {QVariant(), NSNull(), QStringLiteral("")};
    expectSame(three);
    expectSame(QVariantMap{{QStringLiteral("nil"), QVariant()},
                           {QStringLiteral("null"), NSNull()},
                           {QStringLiteral("empty"), QByteArray("")}});
}

TEST(NSKeyedArchiver, EqualStringsAndNumbersAreStoredOnce) {
    const QString one = QStringLiteral("again"), other = QStringLiteral("aga") + QStringLiteral("in");
    EXPECT_EQ(objectsOf(QVariantList{one, other, one, qlonglong(5), 5, 5u}).size(), 1 + 1 + 1 + 1 + 1);
    EXPECT_EQ(objectsOf(QVariantList{NSNull(), NSNull()}).size(), 1 + 1 + 2 + 1);
    EXPECT_EQ(objectsOf(QVariantList{qlonglong(1), true, 1.0}).size(), 1 + 1 + 3 + 1);
    EXPECT_EQ(objectsOf(QVariantList{0.0, -0.0}).size(), 1 + 1 + 2 + 1);
}

TEST(NSKeyedArchiver, SharedStorageIsStoredOnceAndSharedAgain) {
    const QByteArray data(100000, 'x');
    const QString text(100000, u'x');
    const QVariantMap map = {{QStringLiteral("k"), data}};
    const QByteArray archive =
        NSKeyedArchiver::archivedDataWithRootObject(QVariantList{data, data, text, text, map, map});
    EXPECT_LT(archive.size(), 201000);
    const QVariantList back = NSKeyedUnarchiver::unarchiveObjectWithData(archive).toList();
    EXPECT_EQ(back.at(0).toByteArray().constData(), back.at(1).toByteArray().constData());
    EXPECT_EQ(back.at(2).toString().constData(), back.at(3).toString().constData());
    EXPECT_EQ(back.at(4), back.at(5));
}

TEST(NSKeyedArchiver, ValuesDoNotReferToTheArchivesBytes) {
    const QVariant value = QVariantMap{{QStringLiteral("data"), QByteArray(5000, 'x')},
                                       {QStringLiteral("text"), QString(5000, u'ä')}};
    QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(value);
    const QVariant back = NSKeyedUnarchiver::unarchiveObjectWithData(
        QByteArray::fromRawData(archive.constData(), archive.size()));
    archive.fill('\0');
    EXPECT_TRUE(identical(back, value));
}

TEST(NSKeyedArchiver, LongStringAndDataOverTheSameBytesStayApart) {
    const QString text(1000, u'x');
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(text.constData()), 1000);
    expectSame(QVariantList{text, bytes});
    expectSame(QVariantList{bytes, text});
}

TEST(NSKeyedArchiver, KindsThatCannotBeArchivedThrowAndNameTheirClass) {
    QObject object;
    EXPECT_NSEXCEPTION(NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(&object)),
                       NSInvalidArchiveOperationException, "QObject");
    EXPECT_NSEXCEPTION(NSKeyedArchiver::archivedDataWithRootObject(QVariantList{QPoint(1, 2)}),
                       NSInvalidArchiveOperationException, "QPoint");
    EXPECT_NSEXCEPTION(
        NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("d"), QDate(2020, 1, 1)}}),
        NSInvalidArchiveOperationException, "QDate");
    EXPECT_NSEXCEPTION(NSKeyedArchiver::archivedDataWithRootObject(QUrl(QStringLiteral("http://host:port/"))),
                       NSInvalidArchiveOperationException, "URL");
    EXPECT_NSEXCEPTION(NSKeyedArchiver::archivedDataWithRootObject(
                           QDateTime::fromMSecsSinceEpoch(std::numeric_limits<qint64>::max() / 2, Qt::UTC)),
                       NSInvalidArchiveOperationException, "date");
}

TEST(NSKeyedArchiver, DepthIsLimitedOnBothSidesAlike) {
    for (const QVariant &innermost :
         {QVariant(qlonglong(1)), QVariant(), QVariant(QVariantList{}), QVariant(QStringLiteral("$null")),
          QVariant::fromValue(NSError(QStringLiteral("d"), 1)),
          QVariant(QUrl(QStringLiteral("https://host.test/")))}) {
        QVariant tree = innermost;
        for (int i = 0; i < DecodingBudget::MaxDepth; ++i)
            tree = QVariantList{tree};
        expectSame(tree);
        EXPECT_NSEXCEPTION(NSKeyedArchiver::archivedDataWithRootObject(QVariantList{tree}),
                           NSInvalidArchiveOperationException, "deeper than 512");
    }
}

TEST(NSKeyedArchiver, RandomTreesComeBack) {
    RandomTrees trees(20240601);
    for (int i = 0; i < 4000; ++i) {
        const QVariant tree = trees.archivable();
        ASSERT_TRUE(identical(roundTrip(tree), tree)) << "tree " << i;
    }
}

TEST(NSKeyedArchiver, ArchivesFromManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    const QVariant shared = RandomTrees(1).archivable(5);
    for (quint32 seed = 0; seed < 8; ++seed)
        threads.emplace_back([&wrong, &shared, seed] {
            RandomTrees trees(seed);
            for (int i = 0; i < 100; ++i) {
                const QVariant tree = trees.archivable(3);
                wrong += !identical(roundTrip(tree), tree);
                wrong += !identical(roundTrip(shared), shared);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
