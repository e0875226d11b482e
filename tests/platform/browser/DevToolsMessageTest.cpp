// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsMessage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <gtest/gtest.h>

using namespace zr;

namespace {

/// What the browser reads of the parameters.
QJsonObject parsed(const DevToolsParams &params) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QJsonDocument(params.object()).toJson(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    return document.object();
}

} // namespace

TEST(DevToolsParams, EveryKindOfValueIsReadBackAsItWas) {
    const QJsonObject read = parsed(DevToolsParams()
                                        .add("text", QStringLiteral("a\"b\\c\n\r\t\b\f\x01\x7f"))
                                        .add("utf8", QByteArray("h\xc3\xa9 \"x\""))
                                        .add("literal", "plain")
                                        .add("empty", QString())
                                        .add("yes", true)
                                        .add("no", false)
                                        .add("number", 42)
                                        .add("fraction", 0.1)
                                        .add("zero", 0)
                                        .add("list", QJsonArray{1, QStringLiteral("two")}));
    EXPECT_EQ(read[u"text"].toString(), QStringLiteral("a\"b\\c\n\r\t\b\f\x01\x7f"));
    EXPECT_EQ(read[u"utf8"].toString(), QStringLiteral("h\u00e9 \"x\""));
    EXPECT_EQ(read[u"literal"].toString(), QStringLiteral("plain"));
    EXPECT_EQ(read[u"empty"], QJsonValue(QString()));
    EXPECT_TRUE(read[u"yes"].isBool() && read[u"yes"].toBool());
    EXPECT_TRUE(read[u"no"].isBool() && !read[u"no"].toBool());
    EXPECT_EQ(read[u"number"].toInt(), 42);
    EXPECT_EQ(read[u"fraction"].toDouble(), 0.1);
    EXPECT_EQ(read[u"list"].toArray().size(), 2);
    EXPECT_EQ(read[u"zero"], QJsonValue(0));
}

TEST(DevToolsParams, AnyTextSurvivesEscaping) {
    QRandomGenerator random(7);
    for (int round = 0; round < 300; ++round) {
        QString text;
        for (int i = random.bounded(400); i > 0; --i) {
            const char32_t c = char32_t(random.bounded(round % 3 == 0   ? 0x80
                                                       : round % 3 == 1 ? 0xd800
                                                                        : 0x110000));
            if (!QChar::isSurrogate(c))
                text += QChar::fromUcs4(c);
        }
        EXPECT_EQ(parsed(DevToolsParams().add("t", text))[u"t"].toString(), text);
        EXPECT_EQ(parsed(DevToolsParams().add("t", text.toUtf8()))[u"t"].toString(), text);
    }
}

TEST(DevToolsParams, LoneSurrogatesBecomeTheReplacementCharacter) {
    const QString text = QString(QChar(0xd800)) + u'x' + QChar(0xdc00) + QChar(0xdbff);
    EXPECT_EQ(parsed(DevToolsParams().add("t", text))[u"t"].toString(),
              QStringLiteral("\ufffdx\ufffd\ufffd"));
}

TEST(DevToolsMessage, RepliesAndEventsAreToldApart) {
    const DevToolsMessage reply("{\"id\":7,\"result\":{\"a\":{\"b\":[1,\"}]\\\"\"]}},\"sessionId\":\"S\"}");
    EXPECT_TRUE(reply.isValid());
    EXPECT_EQ(reply.id(), 7);
    EXPECT_EQ(reply.session(), "S");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.object()[u"a"][u"b"][1].toString(), QStringLiteral("}]\""));

    const DevToolsMessage event("{ \"method\" : \"Page.loadEventFired\", \"params\" : {\"timestamp\":1.5} }");
    EXPECT_EQ(event.id(), 0);
    EXPECT_EQ(event.method(), QStringLiteral("Page.loadEventFired"));
    EXPECT_TRUE(event.session().isEmpty());
    EXPECT_EQ(event.object()[u"timestamp"].toDouble(), 1.5);
}

TEST(DevToolsMessage, ErrorsCarryTheirMessage) {
    const DevToolsMessage error("{\"id\":1,\"error\":{\"code\":-32000,\"message\":\"No frame\"}}");
    EXPECT_TRUE(error.isError());
    EXPECT_EQ(error.error(), QStringLiteral("No frame"));
    EXPECT_TRUE(error.object().isEmpty());
    const DevToolsMessage made = DevToolsMessage::failure(QStringLiteral("It \"went\""));
    EXPECT_TRUE(made.isError());
    EXPECT_EQ(made.error(), QStringLiteral("It \"went\""));
    EXPECT_TRUE(DevToolsMessage("{\"id\":1,\"result\":{}}").error().isNull());
}

TEST(DevToolsMessage, MalformedTextIsInvalid) {
    for (const char *text :
         {"", "{", "[]", "{\"id\":1", "{\"id\"1}", "{\"a\":\"x}", "{\"a\":{\"b\":1}", "null"})
        EXPECT_FALSE(DevToolsMessage(text).isValid()) << text;
}

TEST(DevToolsMessage, Base64MembersAreDecoded) {
    QRandomGenerator random(11);
    for (int size : {0, 1, 2, 3, 4, 5, 255, 100000}) {
        QByteArray bytes(size, Qt::Uninitialized);
        for (char &c : bytes)
            c = char(random.generate());
        const DevToolsMessage message("{\"id\":1,\"result\":{\"other\":\"\",\"data\":\"" + bytes.toBase64() +
                                      "\"}}");
        EXPECT_EQ(message.bytes("data"), bytes);
        EXPECT_FALSE(message.bytes("data").isNull());
    }
    EXPECT_TRUE(DevToolsMessage("{\"id\":1,\"result\":{}}").bytes("data").isNull());
    EXPECT_TRUE(DevToolsMessage("{\"id\":1,\"result\":{\"data\":\"a-bc\"}}").bytes("data").isNull());
    EXPECT_TRUE(DevToolsMessage("{\"id\":1,\"result\":{\"data\":\"abc\"}}").bytes("data").isNull());
}
