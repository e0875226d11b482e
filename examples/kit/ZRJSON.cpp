// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRJSON.h"

#include "examples/kit/Example.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

EXAMPLE(ZRJSON) {
    // fromJSON and fromJSONData: objects and arrays only; anything else is nil
    const QVariant order =
        ZRKit::fromJSON(u"{\"id\": 18446744073709551615, \"paid\": null, \"lines\": [1.5, true]}"_s);
    expect(order.toMap()[u"id"_s] == QVariant(18446744073709551615ULL));
    expect(NSIsNull(order.toMap()[u"paid"_s]));
    expect(ZRKit::fromJSONData("[1, \"two\"]") == QVariantList{1LL, u"two"_s});
    expect(!ZRKit::fromJSON(u"\"a fragment\""_s).isValid());
    expect(!ZRKit::fromJSON(u"[1, 2"_s).isValid());

    // jsonObject: dates and decimals become texts, at any depth; the rest stays
    const QVariant invoice = QVariantMap{
        {u"due"_s, QDateTime::fromSecsSinceEpoch(1735000000, Qt::UTC)},
        {u"sums"_s, QVariantList{QVariant::fromValue(NSDecimalNumber(u"0.1"_s)), 0.5}},
    };
    const QVariant ready = ZRKit::jsonObject(invoice);
    expect(ready == QVariantMap{{u"due"_s, u"1735000000"_s}, {u"sums"_s, QVariantList{u"0.1"_s, 0.5}}});

    // toJSON, toJSONData, toJSONPretty
    expect(ZRKit::toJSON(ready) == u"{\"due\":\"1735000000\",\"sums\":[\"0.1\",0.5]}"_s);
    expect(ZRKit::toJSONData(QVariantList{u"\u00e9"_s, NSNull()}) == "[\"\xC3\xA9\",null]");
    expect(ZRKit::toJSONPretty(QVariantMap{{u"a"_s, QVariantList{1}}}) == u"{\n  \"a\" : [\n    1\n  ]\n}"_s);

    // What JSON cannot hold is refused.
    try {
        ZRKit::toJSON(invoice);
        expect(!"a date was written");
    } catch (const NSException &e) {
        expect(e.reason() == u"Invalid type in JSON write (QDateTime)"_s);
    }
}
