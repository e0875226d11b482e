// SPDX-License-Identifier: MIT
#include "service/ZRXPCWorker.h"

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/xpc/NSXPCConnection.h"

#include <QDateTime>
#include <stop_token>

void ZRXPCWorker::work() {
    // Nobody waits any more for the reply to a task whose connection has gone.
    std::stop_source abandoned;
    if (const std::shared_ptr<NSXPCConnection> connection = xpcConnection())
        connection->setHangupHandler([abandoned]() mutable { abandoned.request_stop(); });
    const ZRConvertHTML converter((*this)[QStringLiteral("data")],
                                  (*this)[QStringLiteral("utiType")].toString(),
                                  (*this)[QStringLiteral("tagged")].toBool(), abandoned.get_token());
    QByteArray pdf = converter.pdfData();
    if (pdf.isNull()) {
        doneWithErrorMessage(QStringLiteral("HTML to PDF converter did fail"), converter.error());
        return;
    }
    pdf = writePDFWithData(pdf);
    if (pdf.isNull()) {
        doneWithErrorMessage(QStringLiteral("PDF attributes did fail"));
        return;
    }
    doneWithResult(QVariantMap{{QStringLiteral("data"), pdf}});
}

QByteArray ZRXPCWorker::writePDFWithData(const QByteArray &data) const {
    PDFDocument document(data);
    QVariantMap attributes = document.documentAttributes();
    attributes.insert(PDFDocumentTitleAttribute, (*this)[QStringLiteral("pdfTitle")]);
    attributes.insert(PDFDocumentCreatorAttribute, (*this)[QStringLiteral("pdfCreator")]);
    attributes.insert(PDFDocumentCreationDateAttribute, QDateTime::currentDateTimeUtc());
    document.setDocumentAttributes(attributes);
    return document.dataRepresentation();
}
