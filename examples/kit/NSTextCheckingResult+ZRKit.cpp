// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSTextCheckingResult+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/text/NSRegularExpression.h"

using namespace Qt::StringLiterals;

EXAMPLE(NSTextCheckingResult_ZRKit) {
    const QString text = u"width: 800px"_s;
    const NSRegularExpression property(u"(\\w+): *(\\d+)(px|pt)?(!)?"_s);
    const NSTextCheckingResult result = property.firstMatchInString(text).value();

    // inString: the whole match, or a group by its number
    expect(ZRKit::inString(result, text) == u"width: 800px"_s);
    expect(ZRKit::inString(result, text, 2) == u"800"_s);
    expect(ZRKit::inString(result, text, 4) == u""_s && !ZRKit::inString(result, text, 4).isNull());
    expect(ZRKit::inString(result, text, 5).isNull());

    // groupsInString: all of them, each a string
    expect(ZRKit::groupsInString(result, text) ==
           QVariantList{u"width: 800px"_s, u"width"_s, u"800"_s, u"px"_s, u""_s});
}
