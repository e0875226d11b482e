// SPDX-License-Identifier: MIT
#include "platform/text/MarkupScanner.h"

#include <QElapsedTimer>
#include <QStringList>
#include <gtest/gtest.h>

using namespace zr;

namespace {

using Scanner = MarkupScanner<QStringView>;
using Syntax = Scanner::Syntax;

/// The tokens of a markup, each as one letter for its kind and what it says.
std::string tokens(const char *markup, Syntax syntax = Syntax::HTML) {
    const QString text = QString::fromUtf8(markup);
    Scanner scanner(text, syntax);
    QString out, whole;
    while (scanner.next()) {
        whole += scanner.text();
        out += u"TSECDIX"[int(scanner.token())];
        out += u'(' + (scanner.name().isNull() ? scanner.text() : scanner.name()).toString() + u')';
    }
    EXPECT_EQ(whole, text);
    return out.toStdString();
}

/// The attributes of a markup's first token, names and values as written.
std::string attributes(const char *markup) {
    const QByteArray bytes(markup);
    MarkupScanner<QLatin1StringView> scanner{QLatin1StringView(bytes)};
    EXPECT_TRUE(scanner.next());
    QStringList out;
    for (auto each = scanner.attributes(); each.next();) {
        const QString value = each.value().isNull() ? QString() : u'=' + QString(each.value());
        out << QString(each.name()) + value;
    }
    return out.join(u'|').toStdString();
}

} // namespace

TEST(MarkupScanner, TagsTextAndComments) {
    EXPECT_EQ(tokens("a<b c>d</b >e<!-- <i> -->f<br/>"), "T(a)S(b)T(d)E(b)T(e)C(<!-- <i> -->)T(f)S(br)");
    EXPECT_EQ(tokens("<!DOCTYPE html><?pi x>y"), "D(<!DOCTYPE html>)I(pi)T(y)");
    EXPECT_EQ(tokens("1 < 2 <3 <"), "T(1 < 2 <3 <)");
    EXPECT_EQ(tokens("</3>x</"), "C(</3>)T(x</)");
    EXPECT_EQ(tokens(""), "");
}

TEST(MarkupScanner, CommentsEndWhereParsersEndThem) {
    EXPECT_EQ(tokens("<!-->a"), "C(<!-->)T(a)");
    EXPECT_EQ(tokens("<!--->a"), "C(<!--->)T(a)");
    EXPECT_EQ(tokens("<!-- x --!>a"), "C(<!-- x --!>)T(a)");
    EXPECT_EQ(tokens("<!--x--y--->a"), "C(<!--x--y--->)T(a)");
    EXPECT_EQ(tokens("<!--!>-->a"), "C(<!--!>-->)T(a)");
    EXPECT_EQ(tokens("<!-- x"), "C(<!-- x)");
    EXPECT_EQ(tokens("<!-->-->a", Syntax::XML), "C(<!-->-->)T(a)");
}

TEST(MarkupScanner, TagsEndBehindTheirQuotes) {
    EXPECT_EQ(tokens("<a b=\"c>d\" e='>'>x"), "S(a)T(x)");
    EXPECT_EQ(tokens("<a it's>x"), "S(a)T(x)");
    EXPECT_EQ(tokens("<a b=it's>x"), "S(a)T(x)");
    EXPECT_EQ(tokens("<a b=\"c>"), "S(a)");
    EXPECT_EQ(tokens("<a"), "S(a)");
}

TEST(MarkupScanner, ElementsThatHoldTextOnlyHoldNoTags) {
    for (const char *name :
         {"title", "STYLE", "script", "textarea", "xmp", "iframe", "noembed", "noframes"}) {
        const std::string n = name;
        EXPECT_EQ(tokens(("<" + n + " a><b></" + n + "x></" + n + " ><i>").c_str()),
                  "S(" + n + ")T(<b></" + n + "x>)E(" + n + ")S(i)");
    }
    EXPECT_EQ(tokens("<style></style><p>"), "S(style)E(style)S(p)");
    EXPECT_EQ(tokens("<style><p>"), "S(style)T(<p>)");
    EXPECT_EQ(tokens("<noscript><p></noscript>"), "S(noscript)S(p)E(noscript)");
}

TEST(MarkupScanner, XMLHasInstructionsSubsetsCDATAAndNamesOfItsOwn) {
    EXPECT_EQ(tokens("<?xml version='1.0'?><!DOCTYPE a [<!ENTITY b 'c]>'> ]><a/>", Syntax::XML),
              "I(xml)D(<!DOCTYPE a [<!ENTITY b 'c]>'> ]>)S(a)");
    EXPECT_EQ(tokens("<title/><![CDATA[<b>]]><\u00E9 x=''/><_a>", Syntax::XML),
              "S(title)X(<![CDATA[<b>]]>)S(\u00E9)S(_a)");
    EXPECT_EQ(tokens("<?a b>c?>", Syntax::XML), "I(a)");
    EXPECT_EQ(tokens("<?a b><c><?d?>", Syntax::XML), "I(a)S(c)I(d?)");
    const QString text = QStringLiteral("<a/>");
    for (const Syntax syntax : {Syntax::XML, Syntax::HTML}) {
        Scanner scanner(text, syntax);
        EXPECT_TRUE(scanner.next());
        EXPECT_EQ(scanner.isSelfClosing(), syntax == Syntax::XML);
    }
}

TEST(MarkupScanner, AttributesAreReadAsParsersReadThem) {
    EXPECT_EQ(attributes("<a b=c D = 'e f' g/h=\"i>j\" k>"), "b=c|D=e f|g|h=i>j|k");
    EXPECT_EQ(attributes("<a =b c=>"), "=b|c=");
    EXPECT_EQ(attributes("<a b=c/d>"), "b=c/d");
    EXPECT_EQ(attributes("<a/b/c=d>"), "b|c=d");
    EXPECT_EQ(attributes("<a b='c"), "b=c");
    EXPECT_EQ(attributes("<a b="), "b=");
    EXPECT_EQ(attributes("<a>b=c"), "");
    EXPECT_EQ(attributes("<a b=\xE9>"), "b=\u00E9");
    EXPECT_EQ(attributes("<?xml version=\"1.0\" encoding='x'?>"), "version=1.0|encoding=x|?");
}

TEST(MarkupScanner, TakesTimeInProportion) {
    for (const char *piece :
         {"<", "<a ", "</", "<!", "<!--", "<?", "<?a>", "</title", "<title", "a=\"'", "--", "<![CDATA["}) {
        const QString markup = QString::fromLatin1(piece).repeated((4 << 20) / qsizetype(qstrlen(piece)));
        for (const Syntax syntax : {Syntax::HTML, Syntax::XML}) {
            QElapsedTimer timer;
            timer.start();
            Scanner scanner(markup, syntax);
            while (scanner.next()) {
            }
            EXPECT_LT(timer.elapsed(), 5000) << piece;
        }
    }
}
