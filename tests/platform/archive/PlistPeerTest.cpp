// SPDX-License-Identifier: MIT
// Our archives and property lists held against Python's plistlib, an independent reader and writer.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/archive/NSPropertyList.h"
#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/platform/archive/ValueTrees.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>

namespace {

void appendFrame(QByteArray &frames, const QByteArray &data) {
    char length[4];
    qToBigEndian(quint32(data.size()), length);
    frames.append(length, 4);
    frames.append(data);
}

QList<QByteArray> framesOf(const QByteArray &bytes) {
    QList<QByteArray> frames;
    for (qsizetype at = 0; at + 4 <= bytes.size();) {
        const auto length = qFromBigEndian<quint32>(bytes.constData() + at);
        frames.append(bytes.mid(at + 4, length));
        at += 4 + qsizetype(length);
    }
    return frames;
}

/// Runs the peer over all documents at once.
QList<QByteArray> peer(const QString &mode, const QList<QByteArray> &documents) {
    QByteArray input;
    for (const QByteArray &document : documents)
        appendFrame(input, document);
    QProcess process;
    process.start(QStringLiteral("python3"),
                  {QStringLiteral(ZR_SOURCE_DIR "/tests/platform/archive/plist_peer.py"), mode});
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(110000)) << qPrintable(process.errorString());
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return framesOf(process.readAllStandardOutput());
}

/// Whether a description of the peer's fits a value of ours, in kind and in content.
bool describes(const QJsonValue &json, const QVariant &value) {
    const QJsonArray description = json.toArray();
    const QString kind = description.at(0).toString();
    const QJsonValue content = description.at(1);
    const QMetaType type = value.metaType();
    if (kind == QLatin1String("nil"))
        return !value.isValid();
    if (kind == QLatin1String("null"))
        return NSIsNull(value);
    if (kind == QLatin1String("str"))
        return type.id() == QMetaType::QString && !value.toString().isNull() &&
               value.toString() == content.toString();
    if (kind == QLatin1String("data"))
        return type.id() == QMetaType::QByteArray && !value.toByteArray().isNull() &&
               value.toByteArray() == QByteArray::fromHex(content.toString().toLatin1());
    if (kind == QLatin1String("bool"))
        return type.id() == QMetaType::Bool && value.toBool() == content.toBool();
    if (kind == QLatin1String("int"))
        return (type.id() == QMetaType::LongLong &&
                QString::number(value.toLongLong()) == content.toString()) ||
               (type.id() == QMetaType::ULongLong &&
                QString::number(value.toULongLong()) == content.toString());
    if (kind == QLatin1String("real")) {
        const double real = value.toDouble();
        return type.id() == QMetaType::Double &&
               (std::isnan(real) ? QStringLiteral("nan")
                                 : QStringLiteral("%1").arg(std::bit_cast<quint64>(real), 16, 16,
                                                            QLatin1Char('0'))) == content.toString();
    }
    if (kind == QLatin1String("date"))
        return type.id() == QMetaType::QDateTime &&
               QString::number(value.toDateTime().toMSecsSinceEpoch() - Q_INT64_C(978307200000)) ==
                   content.toString();
    if (kind == QLatin1String("url"))
        return type.id() == QMetaType::QUrl &&
               QString::fromLatin1(value.toUrl().toEncoded()) == content.toString();
    if (kind == QLatin1String("uuid"))
        return type.id() == QMetaType::QUuid &&
               value.toUuid().toRfc4122() == QByteArray::fromHex(content.toString().toLatin1());
    if (kind == QLatin1String("decimal"))
        return type == QMetaType::fromType<NSDecimalNumber>() &&
               value.value<NSDecimalNumber>().stringValue() == content.toString();
    if (kind == QLatin1String("list")) {
        const QJsonArray expected = content.toArray();
        const QVariantList list = value.toList();
        return type.id() == QMetaType::QVariantList &&
               std::equal(expected.begin(), expected.end(), list.begin(), list.end(), describes);
    }
    if (kind == QLatin1String("set")) {
        const QJsonArray expected = content.toArray();
        const NSSet set = value.value<NSSet>();
        return type == QMetaType::fromType<NSSet>() && set.size() == expected.size() &&
               std::all_of(expected.begin(), expected.end(), [&](const QJsonValue &element) {
                   return std::any_of(set.begin(), set.end(),
                                      [&](const QVariant &own) { return describes(element, own); });
               });
    }
    if (kind == QLatin1String("map")) {
        const QJsonObject expected = content.toObject();
        const QVariantMap map = value.toMap();
        if (type.id() != QMetaType::QVariantMap || map.size() != expected.size())
            return false;
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            if (!expected.contains(it.key()) || !describes(expected.value(it.key()), it.value()))
                return false;
        }
        return true;
    }
    if (kind == QLatin1String("error")) {
        const auto error = value.value<NSError>();
        const QVariant details = error.userInfo().isEmpty() ? QVariant() : QVariant(error.userInfo());
        return type == QMetaType::fromType<NSError>() && error.domain() == content.toString() &&
               QString::number(error.code()) == description.at(2).toString() &&
               describes(description.at(3), details);
    }
    return false;
}

QJsonValue parsed(const QByteArray &json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << qPrintable(error.errorString());
    return document.array();
}

} // namespace

TEST(PlistPeer, ReadsOurArchives) {
    RandomTrees trees(7);
    QVariantList values = {QVariant(), QStringLiteral("$null"), QString(100000, u'ü')};
    for (int i = 0; i < 1000; ++i)
        values.append(trees.archivable());
    QList<QByteArray> archives;
    for (const QVariant &value : values)
        archives.append(NSKeyedArchiver::archivedDataWithRootObject(value));
    const QList<QByteArray> descriptions = peer(QStringLiteral("describe"), archives);
    ASSERT_EQ(descriptions.size(), values.size());
    for (qsizetype i = 0; i < values.size(); ++i)
        EXPECT_TRUE(describes(parsed(descriptions.at(i)), values.at(i))) << "value " << i;
}

TEST(PlistPeer, WritesArchivesOfOtherHostsThatWeRead) {
    const QList<QByteArray> frames = peer(QStringLiteral("build"), {});
    ASSERT_EQ(frames.size(), 3 * 14);
    for (qsizetype i = 0; i + 2 < frames.size(); i += 3) {
        SCOPED_TRACE(frames.at(i).constData());
        const QVariant value = NSKeyedUnarchiver::unarchiveObjectWithData(frames.at(i + 1));
        EXPECT_TRUE(describes(parsed(frames.at(i + 2)), value)) << qPrintable(NSDescription(value));
    }
}

TEST(PlistPeer, RecodesOurPropertyListsUnchanged) {
    RandomTrees trees(8);
    QVariantList values;
    QList<QByteArray> lists;
    for (int i = 0; i < 1000; ++i) {
        values.append(trees.propertyList(false)); // plistlib has no sets
        lists.append(NSPropertyList::dataFromPropertyList(values.last()));
    }
    const QList<QByteArray> recoded = peer(QStringLiteral("recode"), lists);
    ASSERT_EQ(recoded.size(), values.size());
    for (qsizetype i = 0; i < values.size(); ++i)
        EXPECT_TRUE(identical(NSPropertyList::propertyListFromData(recoded.at(i)), values.at(i)))
            << "value " << i;
}
