// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/pdf/PDFAttributes.h"
#include "platform/pdf/PDFDecodeBudget.h"
#include "platform/pdf/PDFPageBox.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <qpdf/Pl_Function.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>

using namespace zr;

namespace {

using Object = QPDFObjectHandle;

// Does something with qpdf; gives the neutral value if damage prevents that. Objects commonly unfold to some ten
// times their size.
template <typename Work>
auto attempt(const QByteArray &data, Work work) -> decltype(work()) {
    const PDFDecodeBudget budget((qint64(32) << 20) + 32 * qint64(data.size()));
    try {
        return work();
    } catch (const std::exception &) {
        return {};
    }
}

QString text(Object string) {
    // A language code stands between two escape characters.
    static const NeverDestroyed<QRegularExpression> languageCode(QStringLiteral("\x1B[^\x1B]{0,15}\x1B"));
    QString text = QString::fromStdString(string.getUTF8Value());
    return text.isNull() ? QStringLiteral("") : text.remove(*languageCode);
}

} // namespace

PDFDocument::PDFDocument(const QByteArray &data) : m_data(data) {
    m_pdf = attempt(m_data, [&]() -> std::shared_ptr<QPDF> {
        auto pdf = QPDF::create();
        pdf->setSuppressWarnings(true);
        pdf->processMemoryFile("document", m_data.constData(), size_t(m_data.size()), "");
        const std::vector<Object> &pages = pdf->getAllPages();
        const bool areDictionaries =
            std::all_of(pages.begin(), pages.end(), [](Object page) { return page.isDictionary(); });
        return areDictionaries ? pdf : nullptr;
    });
}

PDFDocument::~PDFDocument() = default;
PDFDocument::PDFDocument(PDFDocument &&) noexcept = default;
PDFDocument &PDFDocument::operator=(PDFDocument &&) noexcept = default;

QVariantMap PDFDocument::documentAttributes() const {
    if (!m_pdf)
        return {};
    return attempt(m_data, [&] {
        QVariantMap attributes;
        Object info = m_pdf->getTrailer().getKey("/Info");
        for (const PDFAttribute &attribute : pdfAttributes) {
            Object value = info.isDictionary() ? info.getKey(attribute.key) : Object::newNull();
            if (!value.isString())
                continue;
            const QDateTime date = attribute.isDate ? pdfDate(text(value)) : QDateTime();
            if (!attribute.isDate)
                attributes.insert(attribute.name(), text(value));
            else if (date.isValid())
                attributes.insert(attribute.name(), date);
        }
        return attributes;
    });
}

void PDFDocument::setDocumentAttributes(const QVariantMap &attributes) {
    if (!m_pdf)
        return;
    const QVariantMap clean = pdfCleanAttributes(attributes);
    const bool done = attempt(m_data, [&] {
        Object trailer = m_pdf->getTrailer();
        if (!trailer.getKey("/Info").isDictionary())
            trailer.replaceKey("/Info", m_pdf->makeIndirectObject(Object::newDictionary()));
        Object info = trailer.getKey("/Info");
        for (const PDFAttribute &attribute : pdfAttributes) {
            const auto found = clean.constFind(attribute.name());
            if (found == clean.constEnd()) {
                info.removeKey(attribute.key);
                continue;
            }
            const QString value = attribute.isDate ? pdfDateText(found->toDateTime()) : found->toString();
            info.replaceKey(attribute.key, Object::newUnicodeString(value.toStdString()));
        }
        m_pdf->getRoot().removeKey("/Metadata");
        return true;
    });
    if (!done)
        m_pdf = nullptr;
}

int PDFDocument::pageCount() const {
    return m_pdf ? int(m_pdf->getAllPages().size()) : 0;
}

QRectF PDFDocument::pageBox(int page) const {
    if (page < 0 || page >= pageCount())
        return {};
    return attempt(m_data, [&] { return pdfPageBox(m_pdf->getAllPages()[size_t(page)]); });
}

bool PDFDocument::setPageBox(int page, const QRectF &box, double magnification) {
    if (page < 0 || page >= pageCount())
        return false;
    enum class Outcome { Damaged, Unusable, Done };
    const Outcome outcome = attempt(m_data, [&] {
        return pdfSetPageBox(*m_pdf, m_pdf->getAllPages()[size_t(page)], box, magnification)
                   ? Outcome::Done
                   : Outcome::Unusable;
    });
    if (outcome == Outcome::Damaged)
        m_pdf = nullptr;
    return outcome == Outcome::Done;
}

bool PDFDocument::readsLike(const PDFDocument &other) const {
    if (pageCount() != other.pageCount() || documentAttributes() != other.documentAttributes())
        return false;
    for (int page = 0; page < pageCount(); ++page) {
        const QSizeF difference = pageBox(page).size() - other.pageBox(page).size();
        if (std::abs(difference.width()) >= 0.01 || std::abs(difference.height()) >= 0.01)
            return false;
    }
    return true;
}

QByteArray PDFDocument::dataRepresentation() const {
    if (!m_pdf)
        return {};
    return attempt(m_data, [&]() -> QByteArray {
        QByteArray written;
        written.reserve(m_data.size() + 4096);
        Pl_Function output("output", nullptr, [&](unsigned char const *bytes, size_t length) {
            written.append(reinterpret_cast<const char *>(bytes), qsizetype(length));
        });
        QPDFWriter writer(*m_pdf);
        writer.setOutputPipeline(&output);
        writer.setStreamDataMode(qpdf_s_preserve);
        const std::vector<Object> &pages = m_pdf->getAllPages();
        if (std::any_of(pages.begin(), pages.end(), [](Object page) { return page.hasKey("/UserUnit"); }))
            writer.setMinimumPDFVersion("1.6");
        writer.write();
        // What was damaged may have come out wrong.
        if (m_pdf->anyWarnings() && !readsLike(PDFDocument(written)))
            return {};
        return written;
    });
}
