// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "examples/kit/Example.h"

#include <QTemporaryDir>

using namespace ZRKit;

namespace {

void questions() {
    expect(isBlank(QStringLiteral(" \n")) && empty(QStringLiteral("")));
    expect(!isBlank(QString()));
    expect(contains(QStringLiteral("hello"), QStringLiteral("ell")));
    expect(eq(QStringLiteral("1"), QStringLiteral("1")) && !eq(QStringLiteral("1"), 1));
    expect(isValidEmail(QStringLiteral("a.b")) && !isValidEmail(QStringLiteral("ab")));
    expect(len(QStringLiteral("a𝄞")) == 3);
    expect((range(QStringLiteral("abc")) == NSRange{0, 3}));
}

void trimming() {
    const QString text = QStringLiteral(" \t a b \n");
    expect(strip(text) == QStringLiteral("a b"));
    expect(lstrip(text) == QStringLiteral("a b \n"));
    expect(rstrip(text) == QStringLiteral(" \t a b"));
    const NSCharacterSet zero = NSCharacterSet::characterSetWithCharactersInString(u"0");
    expect(stringByLTrimmingCharactersInSet(QStringLiteral("00700"), zero) == QStringLiteral("700"));
    expect(stringByRTrimmingCharactersInSet(QStringLiteral("00700"), zero) == QStringLiteral("007"));
    expect(collapse(QStringLiteral(" a \n b ")) == QStringLiteral("a b"));
    expect(stripAllBlanks(QStringLiteral(" a \n b ")) == QStringLiteral("ab"));
    expect(stringValueWithDefault(QStringLiteral(" "), QStringLiteral("-")) == QStringLiteral("-"));
    expect(upper(lower(QStringLiteral("Äb"))) == QStringLiteral("ÄB"));
}

void pieces() {
    expect((split(QStringLiteral(" a  b\n")) == QVariantList{QStringLiteral("a"), QStringLiteral("b")}));
    expect(splitBy(QStringLiteral(",a,"), QStringLiteral(",")).size() == 3);
    expect(sliceFrom(QStringLiteral("hello"), 1, 3) == QStringLiteral("el"));
    expect(sliceFrom(QStringLiteral("hello"), -3, 0) == QStringLiteral("llo"));
    expect(sliceFrom(QStringLiteral("hello"), 0, -1) == QStringLiteral("hell"));
}

void replacing() {
    expect(replace(QStringLiteral("a-b"), QStringLiteral("-"), 12) == QStringLiteral("a12b"));
    expect(replace(u"a b", u' ', u'+') == QStringLiteral("a+b"));
    const NSRegularExpression digits(QStringLiteral("(\\d)(\\d)"));
    expect(replaceRegEx(QStringLiteral("x12"), digits, QStringLiteral("$2$1")) == QStringLiteral("x21"));
}

void escaping() {
    expect(escape(QStringLiteral("a<b & \"c\"")) == QStringLiteral("a&lt;b &amp; &quot;c&quot;"));
    expect(escapeWithBreakLine(QStringLiteral("a\nb")) == QStringLiteral("a<br/>b"));
    expect(repr(QStringLiteral("it's")) == QStringLiteral("\"it's\""));
    expect(repr(QStringLiteral("\tit's")) == QStringLiteral("\"\\tit\\'s\""));
}

void urls() {
    expect(urlEncode(QStringLiteral("a b/c?d=é%")) == QStringLiteral("a%20b%2Fc%3Fd%3D%C3%A9%25"));
    const QVariantMap query{{QStringLiteral("b"), 2}, {QStringLiteral("a"), QStringLiteral("x y")}};
    expect(queryStringWithDictionary(query) == QStringLiteral("a=x%20y&b=2"));
    expect(addQuery(QStringLiteral("http://h/p?x=1"), query) == QStringLiteral("http://h/p?x=1&a=x%20y&b=2"));
    expect(parseQuery(QStringLiteral("a=x%20y")).value(QStringLiteral("a")) == QStringLiteral("x y"));
    expect(URL(QStringLiteral("http://h/p")).isValid() && !URL(QStringLiteral("not a url")).isValid());
    expect(humanizeURL(QStringLiteral("https://www.example.com/x")) == QStringLiteral("example.com"));
}

void files() {
    const QTemporaryDir folder;
    const QString path = joinPath(folder.path(), QStringLiteral("text.txt"));
    expect(saveToFile(QStringLiteral("é"), path));
    expect(loadFile(path) == QStringLiteral("é") && loadAsString(path) == QStringLiteral("é"));
    expect(fetch(QUrl::fromLocalFile(path).toString()) == QStringLiteral("é"));
    expect(stringWithData(data(QStringLiteral("é"))) == QStringLiteral("é"));
}

void identifiers() {
    expect(len(uuid()) == 36);
    expect(len(uuidShort()) == 32);
    expect(len(uuidBase64()) == 22);
}

void attributes() {
    const QVariantMap big{{QStringLiteral("size"), 24}};
    expect(attributedString(QStringLiteral("abc")).length() == 3);
    expect(attributedStringWithAttributes(QStringLiteral("abc"), big).attributesAtIndex(2) == big);
}

void editDistance() {
    expect(computeLevenshteinDistanceWithString(QStringLiteral("kitten"), QStringLiteral("sitting")) == 3);
    expect(computeLevenshteinDistanceWithString(QStringLiteral("abc"), QStringLiteral("")) == -1);
    expect(computeLevenshteinDistanceQuotientWithString(QStringLiteral("ab"), QStringLiteral("ac")) == 0.5);
}

} // namespace

EXAMPLE(NSString_ZRKit) {
    questions();
    trimming();
    pieces();
    replacing();
    escaping();
    urls();
    files();
    identifiers();
    attributes();
    editDistance();
}
