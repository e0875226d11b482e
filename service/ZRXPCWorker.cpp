// SPDX-License-Identifier: MIT
#include "service/ZRXPCWorker.h"

#include "ZRKit/Service/NetworkMode.h"
#include "ZRKit/Values/KitError.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCConnection.h"

#include <QDateTime>
#include <stop_token>

namespace {

constexpr qsizetype longestShown = 100;

} // namespace

void ZRXPCWorker::work() {
    const QVariant networkName = (*this)[QStringLiteral("network")];
    const std::optional<zr::NetworkMode> network = zr::networkModeOf(networkName);
    if (!network) {
        doneWithErrorMessage(
            QStringLiteral("HTML to PDF converter did fail"),
            zr::kitError(101, NSFormat("\"network\" is \"all\", \"public\" or \"none\", not \"%@\"",
                                       {NSDescription(networkName).left(longestShown)})));
        return;
    }
    // Nobody waits any more for the reply to a task whose connection has gone.
    std::stop_source abandoned;
    if (const std::shared_ptr<NSXPCConnection> connection = xpcConnection())
        connection->setHangupHandler([abandoned]() mutable { abandoned.request_stop(); });
    const ZRConvertHTML converter(
        (*this)[QStringLiteral("data")], (*this)[QStringLiteral("utiType")].toString(),
        (*this)[QStringLiteral("tagged")].toBool(), abandoned.get_token(), *network);
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
