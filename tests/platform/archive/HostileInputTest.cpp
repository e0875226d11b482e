// SPDX-License-Identifier: MIT
// Documents that lie about themselves: each must end in an exception, without hang and without much memory.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/archive/NSPropertyList.h"
#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/platform/archive/ValueTrees.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <bit>
#include <gtest/gtest.h>
#include <limits>

namespace {

/// A binary property list put together by hand; what it says of itself can be changed.
struct RawList {
    std::vector<QByteArray> objects;
    int offsetSize = 4;
    int refSize = 1;
    std::optional<quint64> count;
    quint64 top = 0;
    std::optional<quint64> table;
    QList<quint64> offsets; // used in place of the true ones where given

    QByteArray bytes() const {
        QByteArray out("bplist00");
        QList<quint64> places;
        for (const QByteArray &object : objects) {
            places.append(quint64(out.size()));
            out += object;
        }
        const quint64 tablePlace = quint64(out.size());
        const auto number = [&out](quint64 value, int size) {
            for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
                out += char(shift < 64 ? value >> shift : 0);
        };
        for (const quint64 place : offsets.isEmpty() ? places : offsets)
            number(place, offsetSize);
        number(0, 6);
        out += char(offsetSize);
        out += char(refSize);
        number(count.value_or(objects.size()), 8);
        number(top, 8);
        number(table.value_or(tablePlace), 8);
        return out;
    }
};

QByteArray hex(const char *text) {
    return QByteArray::fromHex(text);
}

QByteArray listOf(std::vector<QByteArray> objects) {
    RawList list;
    list.objects = std::move(objects);
    return list.bytes();
}

#define EXPECT_REFUSED(bytes, text)                                                                          \
    EXPECT_NSEXCEPTION(NSPropertyList::propertyListFromData(bytes), NSPropertyListReadCorruptError, text)

QVariant uid(quint64 value) {
    return QVariant::fromValue(NSPropertyListUID{value});
}

QVariant classNamed(const char *name) {
    return QVariantMap{
        {QStringLiteral("$classname"), QString::fromLatin1(name)},
        {QStringLiteral("$classes"), QVariantList{QString::fromLatin1(name), QStringLiteral("NSObject")}}};
}

QVariantMap object(quint64 klass, QVariantMap fields) {
    fields.insert(QStringLiteral("$class"), uid(klass));
    return fields;
}

/// An archive whose root is object 1; `others` follow "$null".
QVariantMap archiveOf(QVariantList others) {
    others.prepend(QStringLiteral("$null"));
    return {{QStringLiteral("$version"), 100000},
            {QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver")},
            {QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), uid(1)}}},
            {QStringLiteral("$objects"), others}};
}

QVariant unarchive(const QVariantMap &archive) {
    return NSKeyedUnarchiver::unarchiveObjectWithData(NSPropertyList::dataFromPropertyList(archive));
}

#define EXPECT_ARCHIVE_REFUSED(archive, text)                                                                \
    EXPECT_NSEXCEPTION(unarchive(archive), NSInvalidUnarchiveOperationException, text)

/// An archive of one object of a class, with its fields.
QVariantMap single(const char *klass, const QVariantMap &fields) {
    return archiveOf({object(2, fields), classNamed(klass)});
}

QVariantMap elements(const QVariantList &references) {
    return {{QStringLiteral("NS.objects"), references}};
}

} // namespace

// Property lists

TEST(HostilePropertyList, TooShortOrOfAnotherFormat) {
    const QByteArray good = listOf({hex("09")});
    EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(good), true));
    for (qsizetype size = 0; size < good.size(); ++size)
        EXPECT_REFUSED(good.left(size), "");
    EXPECT_REFUSED(QByteArray("bplist"), "too short");
    EXPECT_REFUSED(QByteArray("bplist00"), "too short");
    EXPECT_REFUSED(QByteArray("bplist15") + good.mid(8), "version");
    EXPECT_REFUSED(QByteArray(1000, '\0'), "");
    EXPECT_REFUSED("bplist00" + QByteArray(1000, '\xff'), "");
}

TEST(HostilePropertyList, TrailerThatDoesNotFit) {
    RawList list;
    list.objects = {hex("a1 01"), hex("09")};
    const RawList good = list;
    EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(list.bytes()), QVariantList{true}));
    for (const int size : {0, 9, 16, 255}) {
        list = good;
        list.offsetSize = size;
        EXPECT_REFUSED(list.bytes(), "integer sizes");
        list = good;
        list.refSize = size;
        EXPECT_REFUSED(list.bytes(), "integer sizes");
    }
    for (const quint64 count :
         {Q_UINT64_C(0), Q_UINT64_C(3), Q_UINT64_C(1) << 32, Q_UINT64_C(1) << 62, ~Q_UINT64_C(0)}) {
        list = good;
        list.count = count;
        EXPECT_REFUSED(list.bytes(), "number of objects");
    }
    for (const quint64 top : {Q_UINT64_C(2), Q_UINT64_C(1) << 32, ~Q_UINT64_C(0)}) {
        list = good;
        list.top = top;
        EXPECT_REFUSED(list.bytes(), "top object");
    }
    for (const quint64 table :
         {Q_UINT64_C(0), Q_UINT64_C(8), Q_UINT64_C(1000), ~Q_UINT64_C(0), ~Q_UINT64_C(0) - 31}) {
        list = good;
        list.table = table;
        EXPECT_REFUSED(list.bytes(), "");
    }
}

TEST(HostilePropertyList, OffsetsOutsideOfTheObjects) {
    RawList list;
    list.objects = {hex("09")};
    for (const quint64 offset :
         {Q_UINT64_C(0), Q_UINT64_C(7), Q_UINT64_C(9), Q_UINT64_C(40), Q_UINT64_C(1) << 63, ~Q_UINT64_C(0)}) {
        list.offsetSize = 8;
        list.offsets = {offset};
        EXPECT_REFUSED(list.bytes(), "outside");
    }
}

TEST(HostilePropertyList, ReferencesPastTheLastObject) {
    EXPECT_REFUSED(listOf({hex("a1 01")}), "past the last");
    EXPECT_REFUSED(listOf({hex("a1 ff")}), "past the last");
    EXPECT_REFUSED(listOf({hex("d1 01 02"), hex("51 61")}), "past the last");
    RawList wide;
    wide.objects = {hex("a1 ffffffffffffffff")};
    wide.refSize = 8;
    EXPECT_REFUSED(wide.bytes(), "past the last");
    wide.objects = {hex("a1 0000000100000000")}; // 2^32 must not become 0
    EXPECT_REFUSED(wide.bytes(), "past the last");
}

TEST(HostilePropertyList, ObjectsThatAreCutOff) {
    for (const char *object : {"10",
                               "13 00000000000000",
                               "14 000000000000000000000000000000",
                               "22 000000",
                               "23 00000000000000",
                               "33 00000000000000",
                               "41",
                               "42 00",
                               "51",
                               "61 00",
                               "80",
                               "8f 00",
                               "a1",
                               "c2 00",
                               "d1 00",
                               "4f",
                               "4f 10",
                               "4f 11 00",
                               "4f 13 00",
                               "5f 10 05 61"})
        EXPECT_REFUSED(listOf({hex(object)}), "") << object;
}

TEST(HostilePropertyList, SizesThatOverflow) {
    for (const char *size :
         {"ffffffffffffffff", "8000000000000000", "7fffffffffffffff", "4000000000000000", "2000000000000000",
          "1000000000000000", "0000000100000000", "00000000ffffffff", "0000000000000040"})
        for (const char *marker : {"4f", "5f", "6f", "af", "bf", "cf", "df"})
            EXPECT_REFUSED(listOf({hex(marker) + hex("13") + hex(size) + "0123456789"}), "past the end")
                << marker << size;
    RawList wide;
    wide.refSize = 8;
    for (const char *marker : {"af", "bf", "cf", "df"}) {
        wide.objects = {hex(marker) + hex("13 2000000000000001") + QByteArray(64, '\0')};
        EXPECT_REFUSED(wide.bytes(), "past the end");
    }
}

TEST(HostilePropertyList, SizesThatAreNoIntegers) {
    for (const char *object :
         {"4f 09", "5f 51", "af 22 00000001", "df a0", "4f 14 00000000000000000000000000000001"})
        EXPECT_REFUSED(listOf({hex(object) + "aaaa"}), "is no integer") << object;
}

TEST(HostilePropertyList, UnknownKinds) {
    for (const char *object : {"01", "07", "0a", "0f", "15 00", "1f", "20", "21 0000", "24", "30",
                               "32 00000000", "34", "70", "71 61", "90", "e0", "f0", "ff"})
        EXPECT_REFUSED(listOf({hex(object) + QByteArray(40, '\0')}), "") << object;
}

TEST(HostilePropertyList, ValuesOutOfRange) {
    EXPECT_REFUSED(listOf({hex("14 00000000000000010000000000000000")}), "64-bit");
    EXPECT_REFUSED(listOf({hex("14 ffffffffffffffff7fffffffffffffff")}), "64-bit");
    EXPECT_REFUSED(listOf({hex("8f 01000000000000000000000000000000")}), "64-bit");
    EXPECT_TRUE(
        identical(NSPropertyList::propertyListFromData(listOf({hex("14 ffffffffffffffff8000000000000000")})),
                  std::numeric_limits<qint64>::min()));
    EXPECT_TRUE(identical(
        NSPropertyList::propertyListFromData(listOf({hex("8f 00000000000000000000000000000005")})), uid(5)));
    EXPECT_REFUSED(listOf({hex("33 7ff8000000000000")}), "date");
    EXPECT_REFUSED(listOf({hex("33 7ff0000000000000")}), "date");
    EXPECT_REFUSED(listOf({hex("33 fff0000000000000")}), "date");
    EXPECT_REFUSED(listOf({hex("33 7fefffffffffffff")}), "date");
    EXPECT_REFUSED(listOf({hex("51 80")}), "ASCII");
    EXPECT_REFUSED(listOf({hex("5f 10 10") + QByteArray(15, 'a') + '\xff'}), "ASCII");
}

TEST(HostilePropertyList, KeysThatAreNoStringsOrTwice) {
    EXPECT_REFUSED(listOf({hex("d1 01 01"), hex("10 01")}), "no string");
    EXPECT_REFUSED(listOf({hex("d1 01 02"), hex("a0"), hex("09")}), "no string");
    EXPECT_REFUSED(listOf({hex("d2 01 01 02 02"), hex("51 61"), hex("09")}), "twice");
}

TEST(HostilePropertyList, Cycles) {
    EXPECT_REFUSED(listOf({hex("a1 00")}), "holds itself");
    EXPECT_REFUSED(listOf({hex("c1 00")}), "holds itself");
    EXPECT_REFUSED(listOf({hex("d1 01 00"), hex("51 61")}), "holds itself");
    EXPECT_REFUSED(listOf({hex("d1 00 01"), hex("51 61")}), "holds itself");
    EXPECT_REFUSED(listOf({hex("a1 01"), hex("a2 02 02"), hex("d1 03 00"), hex("51 61")}), "holds itself");
}

TEST(HostilePropertyList, NestingDeeperThanTheLimit) {
    const auto nested = [](int depth) {
        RawList list;
        list.refSize = 4;
        for (int i = 1; i < depth; ++i) {
            QByteArray object("\xa1____");
            qToBigEndian(quint32(i), object.data() + 1);
            list.objects.push_back(object);
        }
        list.objects.push_back(hex("a0"));
        return list.bytes();
    };
    EXPECT_NO_THROW(NSPropertyList::propertyListFromData(nested(513)));
    EXPECT_REFUSED(nested(514), "deeper than 512");
    EXPECT_REFUSED(nested(1000000), "deeper than 512");
}

TEST(HostilePropertyList, ObjectsThatOverlap) {
    // A thousand objects of one megabyte each, all in the same bytes.
    RawList list;
    list.refSize = 2;
    QByteArray top = hex("af 11 03e8");
    for (int i = 1; i <= 1000; ++i) {
        top += char(i >> 8);
        top += char(i);
    }
    list.objects = {top, hex("4f 12 00100000") + QByteArray(1 << 20, 'x')};
    list.offsets = {8};
    for (int i = 0; i < 1000; ++i)
        list.offsets.append(8 + quint64(top.size()));
    list.count = 1001;
    EXPECT_REFUSED(list.bytes(), "overlap");
}

TEST(HostilePropertyList, SharingThatMultiplies) {
    for (const char *twice : {"a2", "d2"}) {
        RawList list;
        for (int i = 0; i < 40; ++i) {
            QByteArray object = hex(twice);
            if (twice[0] == 'd')
                object += hex("29 2a");
            object += char(i + 1);
            object += char(i + 1);
            list.objects.push_back(object);
        }
        list.objects.push_back(hex("09"));
        list.objects.push_back(hex("51 61"));
        list.objects.push_back(hex("51 62"));
        EXPECT_REFUSED(list.bytes(), "shared parts");
    }
}

TEST(HostilePropertyList, MoreValuesThanTheLimit) {
    RawList list;
    list.objects = {hex("af 12 003d0901") + QByteArray(4000001, '\1'), hex("09")};
    EXPECT_REFUSED(list.bytes(), "more than 4000000");
    // The same in two containers, each within the limit.
    list.objects = {hex("a2 01 02"), hex("af 12 002dc6c0") + QByteArray(3000000, '\3'),
                    hex("af 12 002dc6c0") + QByteArray(3000000, '\3'), hex("09")};
    EXPECT_REFUSED(list.bytes(), "more than 4000000");
}

TEST(HostilePropertyList, SetsWhoseElementsAreDearToCompare) {
    // One million places of one long string in a set.
    RawList list;
    list.objects = {hex("cf 12 000f4240") + QByteArray(1000000, '\1'),
                    hex("5f 12 00100000") + QByteArray(1 << 20, 'x')};
    EXPECT_REFUSED(list.bytes(), "out of proportion");
    // Sets within sets, each hashed whole at every level.
    QVariant nested = QByteArray(1 << 20, 'x');
    for (int i = 0; i < 400; ++i)
        nested = QVariant::fromValue(NSSet{nested});
    EXPECT_REFUSED(NSPropertyList::dataFromPropertyList(nested), "out of proportion");
}

TEST(HostilePropertyList, NotANumberInManyPlacesOfASetIsOneElement) {
    RawList list;
    list.objects = {hex("cf 12 000f4240") + QByteArray(1000000, '\1'), hex("23 7ff8000000000000")};
    const QVariant set = NSPropertyList::propertyListFromData(list.bytes());
    EXPECT_EQ(set.value<NSSet>().size(), 1);
}

TEST(HostilePropertyList, DictionariesWithLongKeysInManyPlaces) {
    QVariantList list;
    const QString start(500000, u'k');
    const QVariantMap pair = {{start + u'a', 1}, {start + u'b', 2}};
    RawList raw;
    raw.refSize = 4;
    raw.objects.resize(1);
    constexpr quint32 Count = 100000;
    raw.objects[0] = hex("af 12 000186a0");
    for (quint32 i = 1; i <= Count; ++i) {
        char ref[4];
        qToBigEndian(i, ref);
        raw.objects[0].append(ref, 4);
        raw.objects.push_back(QByteArray("\xd2") + hex("000186a1 000186a2 000186a3 000186a3"));
    }
    raw.objects.push_back(hex("5f 12 0007a121") + start.toLatin1() + 'a');
    raw.objects.push_back(hex("5f 12 0007a121") + start.toLatin1() + 'b');
    raw.objects.push_back(hex("09"));
    EXPECT_REFUSED(raw.bytes(), "out of proportion");
}

// Archives

TEST(HostileArchive, NoArchiveAtAll) {
    for (const QByteArray &data :
         {QByteArray(), QByteArray(""), QByteArray("x"), QByteArray("bplist00"), QByteArray(100, '\0'),
          QByteArray("<plist/>"), listOf({hex("09")}), listOf({hex("a0")}), listOf({hex("d0")})})
        EXPECT_NSEXCEPTION(NSKeyedUnarchiver::unarchiveObjectWithData(data),
                           NSInvalidUnarchiveOperationException, "");
}

TEST(HostileArchive, EnvelopeThatLacksSomething) {
    const QVariantMap good = archiveOf({QStringLiteral("hi")});
    EXPECT_TRUE(identical(unarchive(good), QStringLiteral("hi")));
    for (const QString &key : good.keys()) {
        QVariantMap archive = good;
        archive.remove(key);
        EXPECT_ARCHIVE_REFUSED(archive, "lacks its");
        for (const QVariant &wrong : {QVariant(1), QVariant(QStringLiteral("x")), QVariant(QVariantList{}),
                                      QVariant(QVariantMap{}), QVariant(uid(1)), QVariant(true)}) {
            archive.insert(key, wrong);
            EXPECT_ARCHIVE_REFUSED(archive, "");
        }
    }
    QVariantMap archive = good;
    archive.insert(QStringLiteral("$version"), 100001);
    EXPECT_ARCHIVE_REFUSED(archive, "version");
    archive = good;
    archive.insert(QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchives"));
    EXPECT_ARCHIVE_REFUSED(archive, "another archiver");
    archive = good;
    archive.insert(QStringLiteral("$objects"), QVariantList{QStringLiteral("hi"), QStringLiteral("hi")});
    EXPECT_ARCHIVE_REFUSED(archive, "null object");
    for (const QVariant &root : {QVariant(1), QVariant(QStringLiteral("hi")), QVariant(QVariantMap{})}) {
        archive = good;
        archive.insert(QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), root}});
        EXPECT_ARCHIVE_REFUSED(archive, "wrong kind");
    }
}

TEST(HostileArchive, ReferencesPastTheLastObject) {
    for (const quint64 beyond : {Q_UINT64_C(3), Q_UINT64_C(1000), Q_UINT64_C(1) << 32, ~Q_UINT64_C(0)}) {
        QVariantMap archive = archiveOf({QStringLiteral("hi")});
        archive.insert(QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), uid(beyond)}});
        EXPECT_ARCHIVE_REFUSED(archive, "past the last");
        EXPECT_ARCHIVE_REFUSED(single("NSArray", elements({uid(beyond)})), "past the last");
        EXPECT_ARCHIVE_REFUSED(archiveOf({object(beyond, elements({}))}), "class is missing");
    }
}

TEST(HostileArchive, PlainObjectsOfKindsThatArchivesLack) {
    for (const QVariant &value :
         {QVariant(QVariantList{}), QVariant::fromValue(NSSet{}), uid(1), uid(0), NSNull()})
        EXPECT_ARCHIVE_REFUSED(archiveOf({value}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(archiveOf({QVariantMap{}}), "lacks its $class");
}

TEST(HostileArchive, UnknownClassesAreNamed) {
    EXPECT_ARCHIVE_REFUSED(single("NSTask", {}), "the class NSTask cannot be decoded");
    EXPECT_ARCHIVE_REFUSED(single("", {}), "cannot be decoded");
    EXPECT_ARCHIVE_REFUSED(single("NSObject", {}), "NSObject");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(2, {}), QStringLiteral("NSArray")}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(1, {})}), "lacks its $classname");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(0, {})}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(2, {}), QVariantMap{{QStringLiteral("$classname"), 5}}}),
                           "wrong kind");
    EXPECT_ARCHIVE_REFUSED(archiveOf({QVariantMap{{QStringLiteral("$class"), QStringLiteral("NSArray")}}}),
                           "wrong kind");
    // An unknown class deep inside fails the whole.
    EXPECT_ARCHIVE_REFUSED(
        archiveOf({object(2, elements({uid(3)})), classNamed("NSArray"), object(4, {}), classNamed("Evil")}),
        "Evil");
}

TEST(HostileArchive, Cycles) {
    EXPECT_ARCHIVE_REFUSED(single("NSArray", elements({uid(1)})), "holds itself");
    EXPECT_ARCHIVE_REFUSED(single("NSSet", elements({uid(1)})), "holds itself");
    EXPECT_ARCHIVE_REFUSED(single("NSDictionary", {{QStringLiteral("NS.keys"), QVariantList{uid(1)}},
                                                   {QStringLiteral("NS.objects"), QVariantList{uid(1)}}}),
                           "holds itself");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(2, {{QStringLiteral("NS.keys"), QVariantList{uid(3)}},
                                                 {QStringLiteral("NS.objects"), QVariantList{uid(1)}}}),
                                      classNamed("NSDictionary"), QStringLiteral("key")}),
                           "holds itself");
    EXPECT_ARCHIVE_REFUSED(single("NSURL", {{QStringLiteral("NS.base"), uid(1)},
                                            {QStringLiteral("NS.relative"), QStringLiteral("x")}}),
                           "holds itself");
    EXPECT_ARCHIVE_REFUSED(single("NSString", {{QStringLiteral("NS.string"), uid(1)}}), "holds itself");
    EXPECT_ARCHIVE_REFUSED(single("NSError", {{QStringLiteral("NSCode"), 1},
                                              {QStringLiteral("NSDomain"), QStringLiteral("d")},
                                              {QStringLiteral("NSUserInfo"), uid(1)}}),
                           "holds itself");
}

TEST(HostileArchive, NestingDeeperThanTheLimit) {
    QVariantList objects;
    constexpr int Count = 200000;
    for (int i = 0; i < Count; ++i)
        objects.append(object(Count + 1, elements({uid(quint64(i) + 2)})));
    objects.append(classNamed("NSArray"));
    EXPECT_ARCHIVE_REFUSED(archiveOf(objects), "deeper than 512");
}

TEST(HostileArchive, ContentBehindLongChainsOfObjects) {
    const auto chain = [](const char *klass, QVariantMap fields, const QString &link) {
        constexpr quint64 Count = 200000;
        QVariantList objects;
        for (quint64 i = 0; i < Count; ++i) {
            fields.insert(link, uid(i + 2));
            objects.append(object(Count + 1, fields));
        }
        objects.append(classNamed(klass));
        return archiveOf(objects);
    };
    EXPECT_ARCHIVE_REFUSED(chain("NSMutableString", {}, QStringLiteral("NS.string")), "too many steps");
    EXPECT_ARCHIVE_REFUSED(chain("NSMutableData", {}, QStringLiteral("NS.data")), "too many steps");
    EXPECT_ARCHIVE_REFUSED(
        chain("NSURL", {{QStringLiteral("NS.relative"), QStringLiteral("x")}}, QStringLiteral("NS.base")),
        "too many steps");
    EXPECT_ARCHIVE_REFUSED(
        chain("NSError", {{QStringLiteral("NSDomain"), QStringLiteral("d")}, {QStringLiteral("NSCode"), 1}},
              QStringLiteral("NSUserInfo")),
        "deeper than 512");
}

TEST(HostileArchive, NestingAssembledFromSharedPartsIsLimitedToo) {
    // Chains of 300 arrays, each ending in the one before, which was decoded already.
    constexpr quint64 Chains = 1000, Length = 300, Class = 2 + Chains * Length;
    QVariantList objects(1), starts;
    for (quint64 chain = 0; chain < Chains; ++chain) {
        const quint64 start = 2 + chain * Length;
        starts.append(uid(start));
        for (quint64 i = 1; i < Length; ++i)
            objects.append(object(Class, elements({uid(start + i)})));
        objects.append(
            object(Class, elements(chain == 0 ? QVariantList{} : QVariantList{uid(start - Length)})));
    }
    objects[0] = object(Class, elements(starts));
    objects.append(classNamed("NSArray"));
    EXPECT_ARCHIVE_REFUSED(archiveOf(objects), "deeper than 512");
}

TEST(HostilePropertyList, NestingAssembledFromSharedPartsIsLimitedToo) {
    RawList list;
    list.refSize = 4;
    constexpr quint32 Chains = 1000, Length = 300;
    const auto ref = [](quint32 to) {
        QByteArray bytes(4, '\0');
        qToBigEndian(to, bytes.data());
        return bytes;
    };
    QByteArray top = hex("af 11 03e8");
    for (quint32 chain = 0; chain < Chains; ++chain)
        top += ref(1 + chain * Length);
    list.objects.push_back(top);
    for (quint32 chain = 0; chain < Chains; ++chain) {
        const quint32 start = 1 + chain * Length;
        for (quint32 i = 1; i < Length; ++i)
            list.objects.push_back(hex("a1") + ref(start + i));
        list.objects.push_back(chain == 0 ? hex("a0") : hex("a1") + ref(start - Length));
    }
    EXPECT_REFUSED(list.bytes(), "deeper than 512");
}

TEST(HostileArchive, SharingThatMultiplies) {
    for (const bool sets : {false, true}) {
        QVariantList objects;
        for (quint64 i = 1; i <= 40; ++i)
            objects.append(object(42, elements({uid(i + 1), uid(i + 1)})));
        objects.append(true);
        objects.append(classNamed(sets ? "NSSet" : "NSArray"));
        EXPECT_ARCHIVE_REFUSED(archiveOf(objects), "");
    }
    QVariantList objects;
    for (quint64 i = 1; i <= 40; ++i)
        objects.append(
            object(43, {{QStringLiteral("NS.keys"), QVariantList{uid(41), uid(42)}},
                        {QStringLiteral("NS.objects"),
                         QVariantList{uid(i + 1 == 41 ? 42 : i + 1), uid(i + 1 == 41 ? 42 : i + 1)}}}));
    objects.append(QStringLiteral("a"));
    objects.append(QStringLiteral("b"));
    objects.append(classNamed("NSDictionary"));
    EXPECT_ARCHIVE_REFUSED(archiveOf(objects), "shared parts");
    objects.clear();
    for (quint64 i = 1; i <= 40; ++i) {
        objects.append(object(82, {{QStringLiteral("NSCode"), 1},
                                   {QStringLiteral("NSDomain"), QStringLiteral("d")},
                                   {QStringLiteral("NSUserInfo"), uid(2 * i)}}));
        objects.append(
            object(83, {{QStringLiteral("NS.keys"), QVariantList{uid(84), uid(85)}},
                        {QStringLiteral("NS.objects"), QVariantList{uid(2 * i + 1), uid(2 * i + 1)}}}));
    }
    objects.append(true);
    objects.append(classNamed("NSError"));
    objects.append(classNamed("NSDictionary"));
    objects.append(QStringLiteral("a"));
    objects.append(QStringLiteral("b"));
    EXPECT_ARCHIVE_REFUSED(archiveOf(objects), "shared parts");
}

TEST(HostileArchive, OneListOfReferencesUsedByManyArrays) {
    // Every NSArray object names the same property-list array; the sum is what counts.
    RawList raw;
    raw.refSize = 4;
    const auto refs = [](std::initializer_list<quint32> list) {
        QByteArray bytes;
        for (const quint32 ref : list) {
            char four[4];
            qToBigEndian(ref, four);
            bytes.append(four, 4);
        }
        return bytes;
    };
    constexpr quint32 Arrays = 10000, Elements = 100000, First = 20;
    QByteArray objects =
        hex("af 12 00002714") + refs({2, 15, 16}); // $null, root, class, true, then the arrays
    QByteArray rootElements = hex("af 12 00002710");
    raw.objects = {
        QByteArray("\xd4") + refs({4, 5, 6, 7, 8, 9, 10, 1}), // 0
        {},                                                   // 1: $objects
        "\x55$null",                                          // 2
        hex("52 6869"),                                       // 3
        "\x58$version",                                       // 4
        "\x59$archiver",                                      // 5
        "\x54$top",                                           // 6
        "\x58$objects",                                       // 7
        hex("12 000186a0"),                                   // 8
        hex("5f100f") + "NSKeyedArchiver",                    // 9
        QByteArray("\xd1") + refs({11, 12}),                  // 10
        "\x54root",                                           // 11
        hex("80 01"),                                         // 12
        "\x56$class",                                         // 13
        "\x5aNS.objects",                                     // 14
        QByteArray("\xd2") + refs({13, 14, 17, 18}),          // 15: the root
        QByteArray("\xd1") + refs({19, First}),               // 16: the class
        hex("80 02"),                                         // 17
        {},                                                   // 18: the root's elements
        "\x5a$classname",                                     // 19
        "\x57NSArray",                                        // 20
        hex("80 03"),                                         // 21
        hex("09"),                                            // 22
        {},                                                   // 23: the elements all arrays share
    };
    QByteArray shared = hex("af 12 000186a0");
    for (quint32 i = 0; i < Elements; ++i)
        shared += refs({21});
    raw.objects[23] = shared;
    objects += refs({22});
    for (quint32 i = 0; i < Arrays; ++i) {
        const quint32 array = quint32(raw.objects.size());
        raw.objects.push_back(QByteArray("\xd2") + refs({13, 14, 17, 23}));
        raw.objects.push_back(QByteArray("\x82") + refs({i + 4}).mid(1));
        objects += refs({array});
        rootElements += refs({array + 1});
    }
    raw.objects[1] = objects;
    raw.objects[18] = rootElements;
    EXPECT_NSEXCEPTION(NSKeyedUnarchiver::unarchiveObjectWithData(raw.bytes()),
                       NSInvalidUnarchiveOperationException, "more than 4000000");
}

TEST(HostileArchive, OneLongTextTurnedIntoManyValues) {
    const auto many = [](const char *klass, const QVariantMap &fields) {
        QVariantList references, objects;
        for (quint64 i = 0; i < 20000; ++i)
            references.append(uid(i + 4));
        objects = {object(2, elements(references)), classNamed("NSArray"), classNamed(klass)};
        for (int i = 0; i < 20000; ++i)
            objects.append(object(3, fields));
        return archiveOf(objects);
    };
    const QString text(1 << 20, u'x');
    EXPECT_ARCHIVE_REFUSED(many("NSURL", {{QStringLiteral("NS.relative"), text}}), "out of proportion");
    EXPECT_ARCHIVE_REFUSED(many("NSString", {{QStringLiteral("NS.bytes"), text.toLatin1()}}),
                           "out of proportion");
    // What is not converted is shared.
    const QVariantList strings = unarchive(many("NSString", {{QStringLiteral("NS.string"), text}})).toList();
    ASSERT_EQ(strings.size(), 20000);
    EXPECT_EQ(strings.first().toString().constData(), strings.last().toString().constData());
}

TEST(HostileArchive, ObjectsWithManyFields) {
    QVariantMap fields;
    for (int i = 0; i < 1000; ++i)
        fields.insert(QString::number(i), i);
    EXPECT_ARCHIVE_REFUSED(single("NSArray", fields), "fields");
}

TEST(HostileArchive, FieldsThatLackOrAreOfTheWrongKind) {
    const QVariant text = QStringLiteral("x"), number = 5;
    EXPECT_ARCHIVE_REFUSED(single("NSArray", {}), "lacks its NS.objects");
    EXPECT_ARCHIVE_REFUSED(single("NSArray", {{QStringLiteral("NS.objects"), text}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSArray", elements({text})), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSSet", {}), "lacks its NS.objects");
    EXPECT_ARCHIVE_REFUSED(single("NSDictionary", elements({})), "lacks its NS.keys");
    EXPECT_ARCHIVE_REFUSED(single("NSDictionary", {{QStringLiteral("NS.keys"), QVariantList{}},
                                                   {QStringLiteral("NS.objects"), QVariantList{uid(0)}}}),
                           "0 keys for 1 values");
    EXPECT_ARCHIVE_REFUSED(single("NSString", {}), "lacks its NS.bytes");
    EXPECT_ARCHIVE_REFUSED(single("NSString", {{QStringLiteral("NS.string"), number}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSString", {{QStringLiteral("NS.string"), uid(0)}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSData", {{QStringLiteral("NS.data"), text}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSDate", {}), "lacks its NS.time");
    EXPECT_ARCHIVE_REFUSED(single("NSDate", {{QStringLiteral("NS.time"), text}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(
        single("NSDate", {{QStringLiteral("NS.time"), std::numeric_limits<double>::quiet_NaN()}}), "date");
    EXPECT_ARCHIVE_REFUSED(single("NSNumber", {}), "number has no value");
    EXPECT_ARCHIVE_REFUSED(single("NSNumber", {{QStringLiteral("NS.intval"), text}}), "number has no value");
    EXPECT_ARCHIVE_REFUSED(single("NSUUID", {{QStringLiteral("NS.uuidbytes"), QByteArray(15, 'x')}}),
                           "16 bytes");
    EXPECT_ARCHIVE_REFUSED(single("NSUUID", {{QStringLiteral("NS.uuidbytes"), text}}), "wrong kind");
    EXPECT_ARCHIVE_REFUSED(single("NSURL", {}), "lacks its NS.relative");
    EXPECT_ARCHIVE_REFUSED(
        single("NSURL", {{QStringLiteral("NS.relative"), QStringLiteral("http://host:port/")}}), "URL");
    EXPECT_ARCHIVE_REFUSED(
        single("NSURL", {{QStringLiteral("NS.relative"), text}, {QStringLiteral("NS.base"), number}}),
        "no URL");
    EXPECT_ARCHIVE_REFUSED(single("NSError", {{QStringLiteral("NSDomain"), text}}), "lacks its NSCode");
    EXPECT_ARCHIVE_REFUSED(single("NSError", {{QStringLiteral("NSCode"), number}}), "lacks its NSDomain");
    EXPECT_ARCHIVE_REFUSED(
        single("NSError", {{QStringLiteral("NSDomain"), text},
                           {QStringLiteral("NSCode"), std::numeric_limits<quint64>::max()}}),
        "out of range");
    EXPECT_ARCHIVE_REFUSED(archiveOf({object(2, {{QStringLiteral("NSDomain"), text},
                                                 {QStringLiteral("NSCode"), number},
                                                 {QStringLiteral("NSUserInfo"), uid(3)}}),
                                      classNamed("NSError"), text}),
                           "no dictionary");
}

TEST(HostileArchive, DecimalNumbersOutOfRange) {
    const QVariantMap good = {{QStringLiteral("NS.exponent"), -2},
                              {QStringLiteral("NS.length"), 1},
                              {QStringLiteral("NS.negative"), false},
                              {QStringLiteral("NS.mantissa"), QByteArray(16, '\1')},
                              {QStringLiteral("NS.mantissa.bo"), 1}};
    EXPECT_EQ(unarchive(single("NSDecimalNumber", good)),
              QVariant::fromValue(NSDecimalNumber(QStringLiteral("2.57"))));
    const QList<std::pair<QString, QVariant>> wrong = {
        {QStringLiteral("NS.exponent"), 128},
        {QStringLiteral("NS.exponent"), -129},
        {QStringLiteral("NS.exponent"), 1.0},
        {QStringLiteral("NS.length"), 9},
        {QStringLiteral("NS.length"), -1},
        {QStringLiteral("NS.negative"), 1},
        {QStringLiteral("NS.mantissa"), QByteArray(1, '\1')},
        {QStringLiteral("NS.mantissa"), QByteArray(17, '\1')},
        {QStringLiteral("NS.mantissa.bo"), 3},
        {QStringLiteral("NS.mantissa.bo"), -1},
    };
    for (const auto &[key, value] : wrong) {
        QVariantMap fields = good;
        fields.insert(key, value);
        EXPECT_ARCHIVE_REFUSED(single("NSDecimalNumber", fields), "");
    }
    for (const QString &key : {QStringLiteral("NS.exponent"), QStringLiteral("NS.length"),
                               QStringLiteral("NS.negative"), QStringLiteral("NS.mantissa")}) {
        QVariantMap fields = good;
        fields.remove(key);
        EXPECT_ARCHIVE_REFUSED(single("NSDecimalNumber", fields), "lacks its");
    }
}

TEST(HostileArchive, StringsThatAreNoUtf8) {
    for (const char *bytes :
         {"\xff", "\xc3", "\xe2\x82", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\x80z"})
        EXPECT_ARCHIVE_REFUSED(single("NSString", {{QStringLiteral("NS.bytes"), QByteArray(bytes)}}),
                               "UTF-8");
}

TEST(HostileArchive, KeysThatAreNoStringsOrTwice) {
    for (const QVariant &key : {QVariant(5), QVariant(true), QVariant(QByteArray("k")), QVariant(1.5)})
        EXPECT_ARCHIVE_REFUSED(archiveOf({object(2, {{QStringLiteral("NS.keys"), QVariantList{uid(3)}},
                                                     {QStringLiteral("NS.objects"), QVariantList{uid(3)}}}),
                                          classNamed("NSDictionary"), key}),
                               "no string");
    EXPECT_ARCHIVE_REFUSED(single("NSDictionary", {{QStringLiteral("NS.keys"), QVariantList{uid(0)}},
                                                   {QStringLiteral("NS.objects"), QVariantList{uid(0)}}}),
                           "no string");
    EXPECT_ARCHIVE_REFUSED(
        archiveOf({object(2, {{QStringLiteral("NS.keys"), QVariantList{uid(3), uid(3)}},
                              {QStringLiteral("NS.objects"), QVariantList{uid(3), uid(3)}}}),
                   classNamed("NSDictionary"), QStringLiteral("k")}),
        "twice");
}

// Mutations

TEST(HostileArchive, EveryMutationOfGoodArchivesIsAValueOrAnException) {
    const QVariantMap task = {{QStringLiteral("data"), QStringLiteral("<p>Grüße</p>")},
                              {QStringLiteral("utiType"), QStringLiteral("public.html")},
                              {QStringLiteral("pdfTitle"), QStringLiteral("Title")},
                              {QStringLiteral("__boot"), true}};
    const QVariantList kinds = {QVariant(),
                                NSNull(),
                                QByteArray("data"),
                                1.5,
                                qlonglong(-5),
                                std::numeric_limits<quint64>::max(),
                                QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC),
                                QUrl(QStringLiteral("https://host.test/a?b#c")),
                                QUuid(QStringLiteral("{12345678-9abc-def0-1234-56789abcdef0}")),
                                QVariant::fromValue(NSSet{QStringLiteral("a"), qlonglong(1)}),
                                QVariant::fromValue(NSError(QStringLiteral("d"), 7, task)),
                                QVariant::fromValue(NSDecimalNumber(QStringLiteral("-12.5")))};
    int values = 0, exceptions = 0;
    const auto attempt = [&](const QByteArray &data) {
        try {
            NSKeyedUnarchiver::unarchiveObjectWithData(data);
            ++values;
        } catch (const NSException &) {
            ++exceptions;
        }
        try {
            NSPropertyList::propertyListFromData(data);
            ++values;
        } catch (const NSException &) {
            ++exceptions;
        }
    };
    for (const QVariant &root : {QVariant(task), QVariant(kinds)}) {
        const QByteArray good = NSKeyedArchiver::archivedDataWithRootObject(root);
        for (qsizetype i = 0; i < good.size(); ++i) {
            attempt(good.left(i));
            for (const int change : {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0xff, 0x0f}) {
                QByteArray bad = good;
                bad[i] = char(bad[i] ^ change);
                attempt(bad);
            }
            for (const int step : {1, -1}) {
                QByteArray bad = good;
                bad[i] = char(bad[i] + step);
                attempt(bad);
            }
        }
    }
    EXPECT_GT(values, 1000);
    EXPECT_GT(exceptions, 10000);
}
