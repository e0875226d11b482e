// SPDX-License-Identifier: MIT
// Opens any bytes as a PDF document, changes it, and opens what was written.
#include "platform/pdf/PDFDocument.h"

#include <QDateTime>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    PDFDocument document(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (document.isNil())
        return 0;
    QVariantMap attributes = document.documentAttributes();
    attributes.remove(PDFDocumentCreatorAttribute);
    attributes.insert(PDFDocumentTitleAttribute, QStringLiteral("T\u00E9 \u4E2D"));
    attributes.insert(PDFDocumentCreationDateAttribute, QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC));
    document.setDocumentAttributes(attributes);
    const bool boxed = document.setPageBox(0, QSizeF(800, 20000.5));
    const QByteArray written = document.dataRepresentation();
    if (written.isNull())
        return 0;
    const PDFDocument again(written);
    if (again.isNil() || again.documentAttributes() != attributes)
        std::abort();
    if (boxed && again.pageBox(0) != QRectF(0, 0, 800, 20000.5))
        std::abort();
    return 0;
}
