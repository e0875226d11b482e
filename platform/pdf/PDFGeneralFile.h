// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include "platform/pdf/PDFFile.h"

#include <memory>

class QPDF;

/// Any file that qpdf reads: object and cross-reference streams, revisions, many pages, encryption with an
/// empty password (which is kept), damage that can be repaired.
class PDFGeneralFile : public PDFFile {
public:
    /// Null where the file can't be read.
    static std::unique_ptr<PDFGeneralFile> open(const QByteArray &data);

    QVariantMap attributes() const override { return m_attributes; }
    int pageCount() const override { return int(m_boxes.size()); }
    QRectF pageBox(int page) const override;
    QByteArray written(const PDFChanges &changes) const override;

private:
    /// True where a written file reads as it should.
    bool isAsPlanned(const QByteArray &written, const PDFChanges &changes) const;

    explicit PDFGeneralFile(const QByteArray &data) : m_data(data) {}

    const QByteArray m_data;
    QVariantMap m_attributes;
    /// In points.
    std::vector<QRectF> m_boxes;
    /// The opened file; given away by the first writing, which changes it.
    mutable std::shared_ptr<QPDF> m_opened;
};
