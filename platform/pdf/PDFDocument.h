// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QRectF>
#include <QString>
#include <QVariantMap>
#include <memory>

class QPDF;

/// Keys of a document's attributes. The values are strings, those of the two dates `QDateTime` in UTC.
inline const QString PDFDocumentTitleAttribute = QStringLiteral("Title");
inline const QString PDFDocumentAuthorAttribute = QStringLiteral("Author");
inline const QString PDFDocumentSubjectAttribute = QStringLiteral("Subject");
inline const QString PDFDocumentKeywordsAttribute = QStringLiteral("Keywords");
inline const QString PDFDocumentCreatorAttribute = QStringLiteral("Creator");
inline const QString PDFDocumentProducerAttribute = QStringLiteral("Producer");
inline const QString PDFDocumentCreationDateAttribute = QStringLiteral("CreationDate");
inline const QString PDFDocumentModificationDateAttribute = QStringLiteral("ModDate");

/// A PDF document (ISO 32000) whose attributes and page boxes can be read and changed.
///
/// Any bytes may be given. They make a nil document if they cannot be read, even after repair, need a password,
/// or unfold to more than 32 MB and 32 times their size. A document may be used by one thread at a time,
/// several documents by as many threads.
class PDFDocument {
public:
    /// Opens the document in `data`, which is shared, not copied, and never changed.
    explicit PDFDocument(const QByteArray &data);
    ~PDFDocument();
    PDFDocument(PDFDocument &&) noexcept;
    PDFDocument &operator=(PDFDocument &&) noexcept;

    /// True if the data held no readable document, or damage kept it from being changed.
    bool isNil() const { return !m_pdf; }

    /// The attributes that the document has, from its information dictionary; empty for nil.
    QVariantMap documentAttributes() const;
    /// Makes these the document's attributes: what is absent, nil or the null marker is removed. So is the
    /// document's XMP metadata, which repeats the old ones. Unknown keys are ignored, dates are kept to the
    /// second, and characters that PDF text cannot carry (unpaired surrogates, U+001B) become U+FFFD.
    void setDocumentAttributes(const QVariantMap &attributes);

    /// The number of pages; 0 for nil.
    int pageCount() const;
    /// The visible box of a page (counted from 0) in points, any UserUnit applied; null if there is no such
    /// page.
    QRectF pageBox(int page) const;
    /// Cuts or widens a page to the rectangle `box`: in points from the top left corner of its present box, y
    /// downward, before any page rotation. The page then starts at (0, 0), and links and destinations move
    /// along. `magnification`, a positive factor, enlarges everything on the page first, and the box is taken
    /// from the enlarged page. Sides above 14,400 points get a UserUnit (and PDF 1.6), so that the true size
    /// stays and readers with that limit show all of it. False if there is no such page, the rectangle has no
    /// area or the factor is not positive.
    bool setPageBox(int page, const QRectF &box, double magnification = 1);
    /// The same from the top left corner on.
    bool setPageBox(int page, const QSizeF &size, double magnification = 1) {
        return setPageBox(page, QRectF(QPointF(0, 0), size), magnification);
    }

    /// The document as a new file, which holds none of the replaced values; nil if the document is nil or cannot
    /// be written.
    QByteArray dataRepresentation() const;

private:
    bool readsLike(const PDFDocument &other) const;

    QByteArray m_data;
    std::shared_ptr<QPDF> m_pdf;
};
