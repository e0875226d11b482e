// SPDX-License-Identifier: MIT
#include "platform/archive/NSPropertyList.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/values/NSNull.h"
#include "tests/platform/archive/ValueTrees.h"

#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <gtest/gtest.h>
#include <limits>

namespace {

QVariant roundTrip(const QVariant &value) {
    return NSPropertyList::propertyListFromData(NSPropertyList::dataFromPropertyList(value));
}

void expectSame(const QVariant &value) {
    EXPECT_TRUE(identical(roundTrip(value), value)) << qPrintable(NSDescription(value));
}

QVariant fromXml(const char *body) {
    return NSPropertyList::propertyListFromData(
        QByteArray(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://dtd.test/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">") +
        body + "</plist>\n");
}

// {"a": [1, true, "ü", <64>, 2.0]}
const QByteArray SmallList = QByteArray::fromHex("62706c6973743030" // bplist00
                                                 "d1 01 02" // 0 at 08: dictionary of one: key 1, value 2
                                                 "51 61"    // 1 at 0b: "a"
                                                 "a5 03 04 05 06 07"   // 2 at 0d: array of five
                                                 "10 01"               // 3 at 13: one byte, 1
                                                 "09"                  // 4 at 15: true
                                                 "61 00fc"             // 5 at 16: one UTF-16 unit
                                                 "41 64"               // 6 at 19: one byte of data
                                                 "23 4000000000000000" // 7 at 1b: 2.0
                                                 "08 0b 0d 13 15 16 19 1b"
                                                 "000000000000 01 01" // offsets and references of one byte
                                                 "0000000000000008"   // eight objects
                                                 "0000000000000000"   // the first is the top
                                                 "0000000000000024"); // the table's place

QVariant smallList() {
    return QVariantMap{
        {QStringLiteral("a"), QVariantList{qlonglong(1), true, QString(u'ü'), QByteArray("d"), 2.0}}};
}

// The archive of "hi".
const QByteArray SmallArchive =
    QByteArray::fromHex("62706c6973743030"
                        "d4 05070b0c 04060801"                  // 0 at 08
                        "a2 02 03"                              // 1 at 11: $objects
                        "55 246e756c6c"                         // 2 at 14: "$null"
                        "52 6869"                               // 3 at 1a: "hi"
                        "12 000186a0"                           // 4 at 1d: 100000
                        "58 2476657273696f6e"                   // 5 at 22: "$version"
                        "5f100f 4e534b657965644172636869766572" // 6 at 2b: "NSKeyedArchiver"
                        "59 246172636869766572"                 // 7 at 3d: "$archiver"
                        "d1 09 0a"                              // 8 at 47: $top
                        "54 726f6f74"                           // 9 at 4a: "root"
                        "80 01"                                 // 10 at 4f: reference to object 1
                        "54 24746f70"                           // 11 at 51: "$top"
                        "58 246f626a65637473"                   // 12 at 56: "$objects"
                        "08 11 14 1a 1d 22 2b 3d 47 4a 4f 51 56"
                        "000000000000 01 01"
                        "000000000000000d"
                        "0000000000000000"
                        "000000000000005f");

} // namespace

TEST(NSPropertyList, WritesKnownDocumentsByteForByte) {
    EXPECT_EQ(NSPropertyList::dataFromPropertyList(smallList()).toHex(' '), SmallList.toHex(' '));
    EXPECT_EQ(NSKeyedArchiver::archivedDataWithRootObject(QStringLiteral("hi")).toHex(' '),
              SmallArchive.toHex(' '));
}

TEST(NSPropertyList, ReadsKnownDocuments) {
    EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(SmallList), smallList()));
    EXPECT_TRUE(identical(NSKeyedUnarchiver::unarchiveObjectWithData(SmallArchive), QStringLiteral("hi")));
}

TEST(NSPropertyList, ReadsSizesThatOtherWritersChoose) {
    // Five-byte offsets, three-byte references, a top object that is not the first, sizes as wide integers.
    const QByteArray list =
        QByteArray::fromHex("62706c6973743030"
                            "5f 13 0000000000000002 6869" // 0 at 08: "hi", size in eight bytes
                            "af 11 0002 000000 000000"    // 1 at 14: two elements, size in two
                            "0000000008 0000000014"
                            "000000000000 05 03"
                            "0000000000000002"
                            "0000000000000001"
                            "000000000000001e");
    EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(list),
                          QVariantList{QStringLiteral("hi"), QStringLiteral("hi")}));
}

TEST(NSPropertyList, EveryKindComesBack) {
    expectSame(QStringLiteral(""));
    expectSame(QStringLiteral("text"));
    expectSame(QStringLiteral("ütf 🙂"));
    expectSame(QByteArray(""));
    expectSame(QByteArray(100000, '\xff'));
    expectSame(true);
    expectSame(false);
    expectSame(std::numeric_limits<qint64>::min());
    expectSame(std::numeric_limits<quint64>::max());
    expectSame(-0.0);
    expectSame(std::numeric_limits<double>::quiet_NaN());
    expectSame(QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59, 1), Qt::UTC));
    expectSame(NSNull());
    expectSame(QVariant::fromValue(NSPropertyListUID{0}));
    expectSame(QVariant::fromValue(NSPropertyListUID{std::numeric_limits<quint64>::max()}));
    expectSame(QVariantList{});
    expectSame(QVariantMap{});
    expectSame(QVariant::fromValue(NSSet{QStringLiteral("a"), qlonglong(1)}));
    EXPECT_TRUE(identical(roundTrip(QVariantHash{{QStringLiteral("a"), 1}}),
                          QVariantMap{{QStringLiteral("a"), qlonglong(1)}}));
    EXPECT_TRUE(identical(roundTrip(QStringList{QStringLiteral("a")}), QVariantList{QStringLiteral("a")}));
    EXPECT_TRUE(identical(roundTrip(1.5f), 1.5));
}

TEST(NSPropertyList, RandomTreesComeBack) {
    RandomTrees trees(99);
    for (int i = 0; i < 4000; ++i) {
        const QVariant tree = trees.propertyList(true);
        ASSERT_TRUE(identical(roundTrip(tree), tree)) << "tree " << i;
    }
}

TEST(NSPropertyList, ReferencesGrowWithTheNumberOfObjects) {
    for (const int count :
         {14, 15, 16, 200, 252, 253, 254, 255, 256, 257, 258, 300, 65533, 65534, 65535, 65536, 65537}) {
        QVariantList list;
        for (int i = 0; i < count; ++i)
            list.append(QString::number(i));
        EXPECT_TRUE(identical(roundTrip(list), list)) << count;
    }
}

TEST(NSPropertyList, OtherKindsCannotBeWritten) {
    QObject object;
    for (const QVariant &nil :
         {QVariant(), QVariant(QString()), QVariant(QByteArray()), QVariant(QDateTime())})
        EXPECT_NSEXCEPTION(NSPropertyList::dataFromPropertyList(QVariantList{nil}),
                           NSPropertyListWriteInvalidError, "nil");
    EXPECT_NSEXCEPTION(NSPropertyList::dataFromPropertyList(QUrl(QStringLiteral("http://x.test/"))),
                       NSPropertyListWriteInvalidError, "QUrl");
    EXPECT_NSEXCEPTION(NSPropertyList::dataFromPropertyList(QVariant::fromValue(&object)),
                       NSPropertyListWriteInvalidError, "QObject");
    QVariant deep = 1;
    for (int i = 0; i < 600; ++i)
        deep = QVariantList{deep};
    EXPECT_NSEXCEPTION(NSPropertyList::dataFromPropertyList(deep), NSPropertyListWriteInvalidError, "deeper");
}

TEST(NSPropertyList, ReadsEveryKindInXml) {
    EXPECT_TRUE(identical(fromXml("<string>a &amp; b &#252;</string>"), QStringLiteral("a & b ü")));
    EXPECT_TRUE(identical(fromXml("<string>a<!-- not b -->c</string>"), QStringLiteral("ac")));
    EXPECT_TRUE(identical(fromXml("<string/>"), QStringLiteral("")));
    EXPECT_TRUE(identical(fromXml("<string><![CDATA[<p>]]></string>"), QStringLiteral("<p>")));
    EXPECT_TRUE(identical(fromXml("<data>\n\tYWJj\n\tZA==\n</data>"), QByteArray("abcd")));
    EXPECT_TRUE(identical(fromXml("<data></data>"), QByteArray("")));
    EXPECT_TRUE(identical(fromXml("<integer> -5 </integer>"), qlonglong(-5)));
    EXPECT_TRUE(identical(fromXml("<integer>0xff</integer>"), qlonglong(255)));
    EXPECT_TRUE(
        identical(fromXml("<integer>-9223372036854775808</integer>"), std::numeric_limits<qint64>::min()));
    EXPECT_TRUE(
        identical(fromXml("<integer>18446744073709551615</integer>"), std::numeric_limits<quint64>::max()));
    EXPECT_TRUE(identical(fromXml("<real>1.5e3</real>"), 1500.0));
    EXPECT_TRUE(identical(fromXml("<true/>"), true));
    EXPECT_TRUE(identical(fromXml("<false></false>"), false));
    EXPECT_TRUE(identical(fromXml("<date>2024-05-17T12:30:15Z</date>"),
                          QDateTime(QDate(2024, 5, 17), QTime(12, 30, 15), Qt::UTC)));
    EXPECT_TRUE(identical(fromXml("<array><integer>1</integer><array/></array>"),
                          QVariantList{qlonglong(1), QVariantList{}}));
    EXPECT_TRUE(identical(fromXml("<dict><!-- c --><key>k</key><dict/><key></key><true/></dict>"),
                          QVariantMap{{QStringLiteral("k"), QVariantMap{}}, {QStringLiteral(""), true}}));
    EXPECT_TRUE(identical(fromXml("<dict><key>CF$UID</key><integer>7</integer></dict>"),
                          QVariant::fromValue(NSPropertyListUID{7})));
    EXPECT_TRUE(
        identical(fromXml("<dict><key>CF$UID</key><integer>7</integer><key>k</key><true/></dict>"),
                  QVariantMap{{QStringLiteral("CF$UID"), qlonglong(7)}, {QStringLiteral("k"), true}}));
}

TEST(NSPropertyList, ReadsXmlInOtherEncodings) {
    const QString text =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>ü</string></plist>");
    QByteArray utf16("\xff\xfe");
    utf16.append(reinterpret_cast<const char *>(text.utf16()), 2 * text.size());
    EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(utf16), QString(u'ü')));
    EXPECT_TRUE(identical(
        NSPropertyList::propertyListFromData("\xef\xbb\xbf<plist><string>\xc3\xbc</string></plist>"),
        QString(u'ü')));
}

TEST(NSPropertyList, BrokenXmlThrows) {
    for (const char *body : {"",
                             "<string>",
                             "<unknown/>",
                             "<integer>1x</integer>",
                             "<integer></integer>",
                             "<integer>--1</integer>",
                             "<integer>+-1</integer>",
                             "<integer>18446744073709551616</integer>",
                             "<integer>-9223372036854775809</integer>",
                             "<real>x</real>",
                             "<date>today</date>",
                             "<date>2024-05-17T12:30:15</date>",
                             "<data>*</data>",
                             "<dict><true/></dict>",
                             "<dict><key>k</key></dict>",
                             "<dict><key>k</key><true/><key>k</key><true/></dict>",
                             "<true>yes</string>",
                             "<array><string>a</array>",
                             "<string>a</string><string>b</string>",
                             "<string><b/></string>",
                             "<string>&nope;</string>",
                             "<string>\xff</string>"}) {
        EXPECT_NSEXCEPTION(fromXml(body), NSPropertyListReadCorruptError, "") << body;
    }
    for (const char *document :
         {"", "<", "plist", "<html/>", "<plist><true/></plist><plist/>", "{ a = b; }", "\xff\xfe"})
        EXPECT_NSEXCEPTION(NSPropertyList::propertyListFromData(document), NSPropertyListReadCorruptError,
                           "line");
}

TEST(NSPropertyList, XmlThatGrowsOrNestsIsRefused) {
    EXPECT_NSEXCEPTION(
        NSPropertyList::propertyListFromData(
            "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">]><plist><string>&a;</string></plist>"),
        NSPropertyListReadCorruptError, "entities");
    const QByteArray deep = "<plist>" + QByteArray("<array>").repeated(100000) +
                            QByteArray("</array>").repeated(100000) + "</plist>";
    EXPECT_NSEXCEPTION(NSPropertyList::propertyListFromData(deep), NSPropertyListReadCorruptError,
                       "deeper than 512");
    const QByteArray dictionaries = "<plist>" + QByteArray("<dict><key>k</key>").repeated(100000);
    EXPECT_NSEXCEPTION(NSPropertyList::propertyListFromData(dictionaries), NSPropertyListReadCorruptError,
                       "deeper than 512");
    const QByteArray many = "<plist><array>" + QByteArray("<true/>").repeated(4000001) + "</array></plist>";
    EXPECT_NSEXCEPTION(NSPropertyList::propertyListFromData(many), NSPropertyListReadCorruptError,
                       "more than 4000000");
}
