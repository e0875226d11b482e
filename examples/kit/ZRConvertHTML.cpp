// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRConvertHTML.h"

#include "examples/kit/Example.h"

#include <QUrl>

using namespace Qt::StringLiterals;

EXAMPLE(ZRConvertHTML) {
    // Text is HTML; a URL is loaded; all else is a document's bytes.
    const ZRConvertHTML text(u"<h1>Hello</h1>"_s);
    expect(text.pdfData().startsWith("%PDF-"));
    const ZRConvertHTML address(QUrl(u"data:text/html,<h1>Hello</h1>"_s));
    expect(!address.pdfData().isNull());
    const ZRConvertHTML bytes(QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='20' height='20'/>"));
    expect(!bytes.pdfData().isNull());

    // What can't be converted: no PDF, and why
    const ZRConvertHTML missing(QUrl(u"file:///no/such/page.html"_s));
    expect(missing.pdfData().isNull());
    expect(missing.error().localizedDescription() == u"net::ERR_FILE_NOT_FOUND");

    // A document that strangers wrote: it reaches what anybody can reach, or nothing
    const QString strange = u"<h1>Hello</h1><img src='http://127.0.0.1/secret.png'>"_s;
    const ZRConvertHTML limited(strange, {}, false, {}, ZRConvertHTML::Network::Public);
    expect(!limited.pdfData().isNull());
    const ZRConvertHTML closed(QUrl(u"http://127.0.0.1/"_s), {}, false, {}, ZRConvertHTML::Network::None);
    expect(closed.pdfData().isNull());
    expect(closed.error().localizedDescription() == u"The document may reach nothing outside itself");

    // conformsToUTITypes: the type that was given with the document doesn't decide how it is read
    const ZRConvertHTML typed(u"<p>still HTML"_s, u"public.png"_s);
    expect(!typed.pdfData().isNull());
    expect(typed.conformsToUTITypes({u"public.text"_s, u"public.image"_s}));
    expect(!typed.conformsToUTITypes({}));
}
