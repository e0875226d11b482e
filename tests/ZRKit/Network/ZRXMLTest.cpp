// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRXML.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "tests/support/Expect.h"
#include "tests/support/LogCapture.h"

#include <QUrl>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

class ZRXMLOfASubclass : public ZRXML {
    Q_OBJECT
};

namespace {

using Map = QVariantMap;
using List = QVariantList;

std::optional<QVariantMap> tree(const char *document) {
    return ZRXML().parseData(document);
}

class ZRXMLEvents : public testing::Test {
protected:
    void start(const QString &name, const QVariantMap &attributes = {}) {
        xml.parserDidStartElement(parser, name, QString(), name, attributes);
    }
    void end() { xml.parserDidEndElement(parser, QString(), QString(), QString()); }
    void characters(const QString &text) { xml.parserFoundCharacters(parser, text); }

    ZRXML xml;
    NSXMLParser parser{QByteArray()};
};

} // namespace

TEST(ZRXML, LiteralsAreTexts) {
    EXPECT_EQ(ZRXML::dictionaryByParsingXML(u"<a b='1'/>"), (Map{{u"b"_s, u"1"_s}}));
    EXPECT_EQ(ZRXML().parse(u"<a b='1'/>"), (Map{{u"b"_s, u"1"_s}}));
    EXPECT_EQ(ZRXML().parseString(u"<a b='1'/>"), (Map{{u"b"_s, u"1"_s}}));
}

TEST(ZRXML, ElementsAreDictionariesWithAttributesChildrenAndText) {
    EXPECT_EQ(tree("<a id=\"1\"><b>x</b></a>"),
              (Map{{u"id"_s, u"1"_s}, {u"$b"_s, List{Map{{u"_content"_s, u"x"_s}}}}}));
}

TEST(ZRXML, ChildrenOfOneNameAreInDocumentOrder) {
    EXPECT_EQ(tree("<a><b n='1'/><c/><b n='2'/></a>"),
              (Map{{u"$b"_s, List{Map{{u"n"_s, u"1"_s}}, Map{{u"n"_s, u"2"_s}}}}, {u"$c"_s, List{Map()}}}));
}

TEST(ZRXML, TextPartedByChildrenIsJoinedWithItsWhiteSpace) {
    EXPECT_EQ(tree("<a> one\n<b/>two \t<b/> three</a>")->value(u"_content"_s), u" one\ntwo \t three"_s);
    EXPECT_EQ(tree("<a>\n  <b/>\n</a>")->value(u"_content"_s), u"\n  \n"_s);
}

TEST(ZRXML, TextsOfElementsWithinElementsStayApart) {
    EXPECT_EQ(tree("<a>1<b>2<c>3<d/>4</c>5<c/>6</b>7<b>8</b>9</a>"),
              (Map{{u"_content"_s, u"179"_s},
                   {u"$b"_s,
                    List{Map{{u"_content"_s, u"256"_s},
                             {u"$c"_s, List{Map{{u"_content"_s, u"34"_s}, {u"$d"_s, List{Map()}}}, Map()}}},
                         Map{{u"_content"_s, u"8"_s}}}}}));
}

TEST(ZRXML, NodesThatBeginAlikeGoOnApart) {
    EXPECT_EQ(tree("<a><b n='1'/><b n='1'>x</b><b n='1'><c/></b><b>x</b><b>x<c/></b><b>x</b></a>"),
              (Map{{u"$b"_s, List{Map{{u"n"_s, u"1"_s}}, Map{{u"n"_s, u"1"_s}, {u"_content"_s, u"x"_s}},
                                  Map{{u"n"_s, u"1"_s}, {u"$c"_s, List{Map()}}}, Map{{u"_content"_s, u"x"_s}},
                                  Map{{u"_content"_s, u"x"_s}, {u"$c"_s, List{Map()}}},
                                  Map{{u"_content"_s, u"x"_s}}}}}));
}

TEST(ZRXML, AnElementWithoutAnythingIsAnEmptyDictionary) {
    const auto root = tree("<a/>");
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(*root, Map());
    EXPECT_FALSE(tree("<a></a>")->contains(u"_content"_s));
}

TEST(ZRXML, WhatCannotBeParsedIsNilAndNoPartOfIt) {
    for (const char *document : {"", "text", "<a>", "<a><b></a>", "<a/>x", "<a>&e;</a>", "\xFF\xFE"}) {
        ZRXML xml;
        EXPECT_EQ(xml.parseData(document), std::nullopt) << document;
        EXPECT_EQ(xml.root(), std::nullopt);
        EXPECT_TRUE(xml.currentNodes().isEmpty());
    }
    EXPECT_EQ(ZRXML().parseData(QByteArray()), std::nullopt);
    EXPECT_EQ(ZRXML().parseString(QString()), std::nullopt);
    EXPECT_EQ(ZRXML().parseString(u""_s), std::nullopt);
    EXPECT_EQ(ZRXML().parseString(u"<a>\xd800</a>"_s), std::nullopt);
}

TEST(ZRXML, ATextInTwoPiecesKeepsTheSecondTwice) {
    EXPECT_EQ(tree("<a>one<!-- c -->two</a>"), (Map{{u"_content"_s, u"twotwo"_s}}));
    EXPECT_EQ(tree("<a>one<![CDATA[two]]></a>"), (Map{{u"_content"_s, u"twotwo"_s}}));
    EXPECT_EQ(tree("<a>one<?p?>two<?p?>three</a>"), (Map{{u"_content"_s, u"threethree"_s}}));
    EXPECT_EQ(tree("<a>one<b/>two<!-- c -->three</a>")->value(u"_content"_s), u"onethreethree"_s);
}

TEST(ZRXML, ReferencesDoNotMakePieces) {
    EXPECT_EQ(tree("<!DOCTYPE a [<!ENTITY e 'x'>]><a>1 &amp; 2 &#51; &e;</a>"),
              (Map{{u"_content"_s, u"1 & 2 3 x"_s}}));
}

TEST(ZRXML, CharacterDataIsText) {
    EXPECT_EQ(tree("<a><![CDATA[<b> & ]]></a>"), (Map{{u"_content"_s, u"<b> & "_s}}));
}

TEST(ZRXML, APrefixIsNoPartOfAKeyButOfAnAttributesName) {
    EXPECT_EQ(tree("<r xmlns:p='urn:p'><p:item p:id='1'/><item/></r>"),
              (Map{{u"$item"_s, List{Map{{u"p:id"_s, u"1"_s}}, Map()}}}));
}

TEST(ZRXML, AnAttributeNamedAsTheTextStandsBeforeIt) {
    EXPECT_EQ(tree("<a _content='x'>y</a>"), (Map{{u"_content"_s, u"xy"_s}}));
}

TEST(ZRXML, StringsAndDataAreParsedByTheirKind) {
    const Map expected{{u"_content"_s, u"\u00e9"_s}};
    EXPECT_EQ(ZRXML().parse(u"<a>\u00e9</a>"_s), expected);
    EXPECT_EQ(ZRXML().parse(QByteArray("<a>\xC3\xA9</a>")), expected);
    EXPECT_EQ(ZRXML().parseString(u"<a>\u00e9</a>"_s), expected);
    EXPECT_EQ(ZRXML::dictionaryByParsingXML(u"<a>\u00e9</a>"_s), expected);
    EXPECT_EQ(ZRXML::dictionaryByParsingXML(QByteArray("<a>\xC3\xA9</a>")), expected);
}

TEST(ZRXML, AStringIsReadByItsUTF8WhateverEncodingItDeclares) {
    EXPECT_EQ(ZRXML().parse(u"<?xml version='1.0' encoding='ISO-8859-1'?><a>\u00e9</a>"_s),
              (Map{{u"_content"_s, u"\u00c3\u00a9"_s}}));
    EXPECT_EQ(ZRXML().parse(u"<?xml version='1.0' encoding='UTF-16'?><a/>"_s), std::nullopt);
}

TEST(ZRXML, WhatReachesOutsideOrMultipliesIsNil) {
    EXPECT_EQ(tree("<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/hostname'>]><a>&e;</a>"), std::nullopt);
    EXPECT_EQ(tree("<!DOCTYPE a [<!ENTITY e SYSTEM 'http://localhost:1/'>]><a b='&e;'/>"), std::nullopt);
    const QByteArray bomb = "<!DOCTYPE a [<!ENTITY e '" + QByteArray(4000, 'x') + "'>]><a>" +
                            QByteArray("&e;").repeated(1000) + "</a>";
    EXPECT_EQ(ZRXML().parseData(bomb), std::nullopt);
}

TEST(ZRXML, NothingIsLogged) {
    const LogCapture log;
    EXPECT_TRUE(tree("<a><b>x</b></a>").has_value());
    EXPECT_FALSE(tree("<a>").has_value());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZRXML, AnythingElseRaises) {
    for (const QVariant &argument : {QVariant(1), QVariant(), QVariant(QString()), QVariant(QByteArray()),
                                     NSNull(), QVariant(QUrl(u"file:///x"_s)), QVariant(List{u"<a/>"_s})}) {
        EXPECT_EQ(expectException(u"ZRXMLArgumentException"_s, [&] { ZRXML().parse(argument); }),
                  u"Parameter needs to be of type NSData or NSString"_s);
        EXPECT_EQ(
            expectException(u"ZRXMLArgumentException"_s, [&] { ZRXML::dictionaryByParsingXML(argument); }),
            u"Parameter needs to be of type NSData or NSString"_s);
    }
}

TEST(ZRXML, TheExceptionHasTheSubclassesNameAndNoDetails) {
    expectException(u"ZRXMLOfASubclassArgumentException"_s, [] { ZRXMLOfASubclass().parse(1); });
    expectException(u"ZRXMLOfASubclassArgumentException"_s,
                    [] { ZRXML::dictionaryByParsingXML<ZRXMLOfASubclass>(1); });
    try {
        ZRXML().parse(1);
    } catch (const NSException &exception) {
        EXPECT_TRUE(exception.userInfo().isEmpty());
    }
}

TEST(ZRXML, AnObjectParsesAgainAfreshEvenAfterAFailure) {
    ZRXML xml;
    EXPECT_EQ(xml.parseString(u"<a>x</a>"_s), (Map{{u"_content"_s, u"x"_s}}));
    EXPECT_EQ(xml.parseString(u"<a>left over<b>"_s), std::nullopt);
    EXPECT_EQ(xml.parseString(u"<a><b/></a>"_s), (Map{{u"$b"_s, List{Map()}}}));
    EXPECT_EQ(xml.root(), (Map{{u"$b"_s, List{Map()}}}));
}

TEST(ZRXML, TreesAreReadWithPaths) {
    const auto feed = tree("<feed><entry><title>One</title></entry>"
                           "<entry><title>Two</title><link rel='self' href='/2'/></entry></feed>");
    EXPECT_EQ(ZRKit::path(*feed, u"$entry/1/$title/0/_content"_s), u"Two"_s);
    EXPECT_EQ(ZRKit::path(*feed, u"$entry/*/$link/0/href"_s), u"/2"_s);
    EXPECT_FALSE(ZRKit::path(*feed, u"$entry/2"_s).isValid());
}

TEST(ZRXML, ATreeAsDeepAsTheParserAllowsIsMadeAndLetGo) {
    const auto deep = [](int depth) {
        return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
    };
    EXPECT_TRUE(ZRXML().parseData(deep(NSXMLParser::MaximumDepth)).has_value());
    EXPECT_EQ(ZRXML().parseData(deep(NSXMLParser::MaximumDepth + 1)), std::nullopt);
}

TEST(ZRXML, ALongListOfChildrenWithTextBetweenIsLinear) {
    const auto root = ZRXML().parseData("<a>" + QByteArray("<b>x</b>\n").repeated(200'000) + "</a>");
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(root->value(u"$b"_s).toList().size(), 200'000);
    EXPECT_EQ(root->value(u"_content"_s).toString().size(), 200'000);
}

// The parser's events

TEST_F(ZRXMLEvents, CharactersThatComeTwiceDropTheFirstAndDoubleTheSecond) {
    EXPECT_TRUE(xml.currentText().isNull());
    characters(u"one"_s);
    EXPECT_EQ(xml.currentText(), u"one"_s);
    characters(u"two"_s);
    EXPECT_EQ(xml.currentText(), u"twotwo"_s);
    characters(u"x"_s);
    EXPECT_EQ(xml.currentText(), u"xx"_s);
}

TEST_F(ZRXMLEvents, AnEmptyFirstPieceCountsAsOne) {
    characters(u""_s);
    characters(u"x"_s);
    EXPECT_EQ(xml.currentText(), u"xx"_s);
}

TEST_F(ZRXMLEvents, TextGoesBehindTheContentAndIsForgotten) {
    QVariantMap node;
    xml.setCurrentText(u"a"_s);
    xml.addTextToNode(&node);
    EXPECT_EQ(node, (Map{{u"_content"_s, u"a"_s}}));
    EXPECT_TRUE(xml.currentText().isNull());
    xml.setCurrentText(u"b"_s);
    xml.addTextToNode(&node);
    EXPECT_EQ(node, (Map{{u"_content"_s, u"ab"_s}}));
    xml.addTextToNode(&node);
    EXPECT_EQ(node, (Map{{u"_content"_s, u"ab"_s}}));
}

TEST_F(ZRXMLEvents, EmptyTextChangesNothing) {
    QVariantMap node;
    xml.setCurrentText(u""_s);
    xml.addTextToNode(&node);
    EXPECT_EQ(node, Map());
    EXPECT_FALSE(xml.currentText().isNull());
}

TEST_F(ZRXMLEvents, TheNullMarkerAsContentCountsAsNone) {
    QVariantMap node{{u"_content"_s, NSNull()}};
    xml.setCurrentText(u"a"_s);
    xml.addTextToNode(&node);
    EXPECT_EQ(node, (Map{{u"_content"_s, u"a"_s}}));
}

TEST_F(ZRXMLEvents, TextWithoutANodeIsDropped) {
    xml.setCurrentText(u"a"_s);
    xml.addTextToNode(nullptr);
    EXPECT_TRUE(xml.currentText().isNull());
}

TEST_F(ZRXMLEvents, OpenNodesAndTheTreeCanBeSeenWhileItGrows) {
    EXPECT_EQ(xml.root(), std::nullopt);
    start(u"a"_s, {{u"id"_s, u"1"_s}});
    start(u"b"_s);
    characters(u"x"_s);
    const auto before = xml.root();
    EXPECT_EQ(before, (Map{{u"id"_s, u"1"_s}, {u"$b"_s, List{Map()}}}));
    EXPECT_EQ(xml.currentNodes(), (List{*before, Map()}));
    end();
    EXPECT_EQ(xml.currentNodes().size(), 1);
    start(u"b"_s);
    const QVariantList held = xml.currentNodes();
    characters(u"y"_s);
    end();
    end();
    EXPECT_EQ(before, (Map{{u"id"_s, u"1"_s}, {u"$b"_s, List{Map()}}}));
    EXPECT_EQ(held.at(1), QVariant(Map()));
    EXPECT_EQ(xml.root(), (Map{{u"id"_s, u"1"_s},
                               {u"$b"_s, List{Map{{u"_content"_s, u"x"_s}}, Map{{u"_content"_s, u"y"_s}}}}}));
    EXPECT_TRUE(xml.currentNodes().isEmpty());
}

TEST_F(ZRXMLEvents, OpenNodesHaveTheTextThatCameBeforeTheirLastChild) {
    start(u"a"_s);
    characters(u"1"_s);
    start(u"b"_s);
    end();
    characters(u"2"_s);
    start(u"c"_s);
    characters(u"3"_s);
    start(u"d"_s);
    end();
    characters(u"4"_s);
    start(u"d"_s);
    const Map c{{u"_content"_s, u"34"_s}, {u"$d"_s, List{Map(), Map()}}};
    EXPECT_EQ(xml.root(), (Map{{u"_content"_s, u"12"_s}, {u"$b"_s, List{Map()}}, {u"$c"_s, List{c}}}));
    EXPECT_EQ(xml.currentNodes(), (List{*xml.root(), c, Map()}));
    characters(u"5"_s);
    end();
    characters(u"6"_s);
    end();
    characters(u"7"_s);
    end();
    EXPECT_EQ(xml.root(), (Map{{u"_content"_s, u"127"_s},
                               {u"$b"_s, List{Map()}},
                               {u"$c"_s, List{Map{{u"_content"_s, u"346"_s},
                                                  {u"$d"_s, List{Map(), Map{{u"_content"_s, u"5"_s}}}}}}}}));
}

TEST_F(ZRXMLEvents, TextSeenBeforeAChildBelongsToTheParentAndBeforeTheRootToTheRoot) {
    characters(u"early"_s);
    start(u"a"_s);
    characters(u"x"_s);
    start(u"b"_s);
    EXPECT_EQ(xml.root(), (Map{{u"_content"_s, u"earlyx"_s}, {u"$b"_s, List{Map()}}}));
}

TEST_F(ZRXMLEvents, AnElementAfterTheRootIsOutsideTheTree) {
    start(u"a"_s);
    end();
    start(u"b"_s, {{u"n"_s, u"1"_s}});
    start(u"c"_s);
    EXPECT_EQ(xml.currentNodes(), (List{Map{{u"n"_s, u"1"_s}, {u"$c"_s, List{Map()}}}, Map()}));
    EXPECT_EQ(xml.root(), Map());
}

TEST_F(ZRXMLEvents, AnEndWithoutAStartDropsTheText) {
    characters(u"x"_s);
    end();
    EXPECT_TRUE(xml.currentText().isNull());
    EXPECT_EQ(xml.root(), std::nullopt);
}

TEST_F(ZRXMLEvents, TheNullMarkerInPlaceOfChildrenCountsAsNone) {
    start(u"a"_s, {{u"$b"_s, NSNull()}});
    start(u"b"_s);
    EXPECT_EQ(xml.root(), (Map{{u"$b"_s, List{Map()}}}));
}

TEST_F(ZRXMLEvents, AnAttributeInPlaceOfChildrenTakesNone) {
    start(u"a"_s, {{u"$b"_s, u"text"_s}});
    expectException(NSInvalidArgumentException, [&] { start(u"b"_s); });
}

#include "ZRXMLTest.moc"
