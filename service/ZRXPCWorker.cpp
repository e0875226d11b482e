// SPDX-License-Identifier: MIT
#include "service/ZRXPCWorker.h"

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/xpc/NSXPCConnection.h"

#include <QDateTime>
#include <atomic>

namespace {

/// Nobody waits any more for the reply to a task whose connection has gone.
std::shared_ptr<const std::atomic<bool>> watchHangup(const std::shared_ptr<NSXPCConnection> &connection) {
    const auto gone = std::make_shared<std::atomic<bool>>(false);
    if (connection)
        connection->setHangupHandler([gone] { *gone = true; });
    return gone;
}

} // namespace

void ZRXPCWorker::work() {
    const auto abandoned = watchHangup(xpcConnection());
    const ZRConvertHTML converter((*this)[QStringLiteral("data")],
                                  (*this)[QStringLiteral("utiType")].toString(),
                                  (*this)[QStringLiteral("tagged")].toBool(), abandoned.get());
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
