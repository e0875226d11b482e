// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPCBaseWorker.h"

/// Turns a task's document into a PDF of one page.
///
/// | Task key     | Value                                                             |
/// |--------------|-------------------------------------------------------------------|
/// | "data"       | the document: bytes, HTML text, or a URL                          |
/// | "utiType"    | its uniform type identifier                                       |
/// | "pdfTitle"   | title of the PDF; none if it is missing                           |
/// | "pdfCreator" | creator of the PDF; none if it is missing                         |
/// | "tagged"     | true for structure tags, which cost time and bytes; off otherwise |
/// | "network"    | what the document may reach: "all", "public" or "none" (see       |
/// |              | ZRConvertHTML::Network); "all" if it is missing                   |
///
/// The result is {"data": the PDF}.
class ZRXPCWorker : public ZRXPCBaseWorker {
    Q_OBJECT

public:
    Q_INVOKABLE ZRXPCWorker() = default;
    /// Makes this process the conversion service; does not return.
    static void setupAsListener() { setupListener(&staticMetaObject); }

    /// Converts the task's document. If the client goes meanwhile, the conversion is given up.
    void work() override;
    /// The PDF with the task's title and creator, and now as its creation date; nil if the data is no PDF.
    QByteArray writePDFWithData(const QByteArray &data) const;
};
