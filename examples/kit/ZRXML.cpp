// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRXML.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "examples/kit/Example.h"
#include "platform/base/NSException.h"

using namespace Qt::StringLiterals;

EXAMPLE(ZRXML) {
    // dictionaryByParsingXML: attributes, children in arrays, text
    const auto root = ZRXML::dictionaryByParsingXML(u"<a id=\"1\"><b>x</b><b>y</b></a>"_s);
    expect(root->value(u"id"_s) == QVariant(u"1"_s));
    expect(root->value(u"$b"_s) == QVariant(QVariantList{QVariantMap{{u"_content"_s, u"x"_s}},
                                                         QVariantMap{{u"_content"_s, u"y"_s}}}));

    // The tree is read with paths.
    expect(ZRKit::path(*root, u"$b/1/_content"_s) == QVariant(u"y"_s));
    expect(ZRKit::stringAtPath(*root, u"$c/0/_content"_s) == u""_s);

    // Keys of children are local names; attributes keep their prefixes.
    const auto item = ZRXML::dictionaryByParsingXML(u"<r xmlns:p='urn:p'><p:item p:n='1'/></r>"_s);
    expect(ZRKit::path(*item, u"$item/0/p:n"_s) == QVariant(u"1"_s));

    // Text around children is joined as it comes.
    const auto joined = ZRXML::dictionaryByParsingXML(u"<a>one <b/>two</a>"_s);
    expect(joined->value(u"_content"_s) == QVariant(u"one two"_s));

    // parseData, parseString, parse: what isn't well-formed gives nil, never a part of a tree.
    ZRXML xml;
    expect(xml.parseData("<a><b/></a>").has_value());
    expect(!xml.parseString(u"<a><b></a>"_s).has_value());
    expect(!xml.root().has_value());
    try {
        xml.parse(1);
        expect(!"a number was parsed");
    } catch (const NSException &e) {
        expect(e.name() == u"ZRXMLArgumentException"_s);
        expect(e.reason() == u"Parameter needs to be of type NSData or NSString"_s);
    }

    // A comment parts a text in two pieces: the last is kept, twice.
    expect(ZRXML::dictionaryByParsingXML(u"<a>one<!-- -->two</a>"_s) ==
           QVariantMap{{u"_content"_s, u"twotwo"_s}});
}
