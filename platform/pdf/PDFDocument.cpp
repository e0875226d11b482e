// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"

#include "platform/pdf/PDFAttributes.h"
#include "platform/pdf/PDFGeneralFile.h"
#include "platform/pdf/PDFPlainFile.h"

PDFDocument::PDFDocument(const QByteArray &data) : m_data(data), m_changes(std::make_unique<PDFChanges>()) {
    m_file = PDFPlainFile::open(m_data);
    if (!m_file)
        m_file = PDFGeneralFile::open(m_data);
}

PDFDocument::~PDFDocument() = default;
PDFDocument::PDFDocument(PDFDocument &&) noexcept = default;
PDFDocument &PDFDocument::operator=(PDFDocument &&) noexcept = default;

QVariantMap PDFDocument::documentAttributes() const {
    if (!m_file)
        return {};
    return m_changes->attributes ? *m_changes->attributes : m_file->attributes();
}

void PDFDocument::setDocumentAttributes(const QVariantMap &attributes) {
    if (m_file)
        m_changes->attributes = PDFCleanAttributes(attributes);
}

int PDFDocument::pageCount() const {
    return m_file ? m_file->pageCount() : 0;
}

QRectF PDFDocument::pageBox(int page) const {
    if (!m_file || page < 0 || page >= m_file->pageCount())
        return {};
    const auto changed = m_changes->boxes.find(page);
    return changed == m_changes->boxes.end() ? m_file->pageBox(page)
                                             : QRectF(QPointF(0, 0), changed->second.box.size());
}

bool PDFDocument::setPageBox(int page, const QRectF &box, double magnification) {
    if (!m_file || page < 0 || page >= m_file->pageCount())
        return false;
    const auto changed = m_changes->boxes.find(page);
    const PDFPageCut before = changed == m_changes->boxes.end() ? PDFPageCut() : changed->second;
    const PDFPageCut cut{box.translated(before.box.topLeft() * magnification),
                         before.magnification * magnification};
    if (!PDFBoxPlan::make(m_file->pageBox(page), 1, cut))
        return false;
    m_changes->boxes[page] = cut;
    return true;
}

QByteArray PDFDocument::dataRepresentation() const {
    if (!m_file)
        return {};
    if (dynamic_cast<const PDFGeneralFile *>(m_file.get()))
        return m_file->written(*m_changes);
    if (m_changes->isEmpty())
        return m_data;
    QByteArray written = m_file->written(*m_changes);
    if (!written.isNull())
        return written;
    const auto general = PDFGeneralFile::open(m_data);
    return general ? general->written(*m_changes) : QByteArray();
}
