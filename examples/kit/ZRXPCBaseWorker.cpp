// SPDX-License-Identifier: MIT
#include "examples/kit/ZRXPCBaseWorker.h"

#include "ZRKit/Service/ZRXPC.h"
#include "examples/kit/Example.h"

using namespace Qt::StringLiterals;

EXAMPLE(ZRXPCBaseWorker) {
    ZRXPC client(u"com.example.upper"_s);
    expect(client.performXPCWithObject(QVariantMap{{u"text"_s, u"quiet"_s}}) == u"QUIET"_s);

    // Replies that are errors, and tasks that work() never sees.
    client.performXPCSynchronousWithObject(QVariantMap(), [](const QVariant &, const NSError &error) {
        expect(error.localizedDescription() == u"there is no text");
    });
    const QVariantMap success{{u"boot"_s, u"success"_s}};
    expect(client.performXPCWithObject(QVariantMap{{u"__boot"_s, 1}}) == QVariant(success));
}
