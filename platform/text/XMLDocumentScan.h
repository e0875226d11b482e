// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QXmlStreamEntityDeclaration>
#include <string_view>

/// A quick look over an XML document for what would make a small one cost a parser much. It judges nothing
/// else, and relies on a parser that stops where the document isn't well-formed.
class XMLDocumentScan {
public:
    /// What a document has at most; counted for all of it but for attributes, which are those of one tag.
    struct Limits {
        qsizetype attributes;
        qsizetype parameterReferences; ///< within the document type
        qsizetype defaults;            ///< default values of attributes, and references in them
    };

    /// Looks over a document in UTF-8, or in an encoding that agrees with it on ASCII.
    XMLDocumentScan(QByteArrayView document, const Limits &limits);

    /// False where a limit is passed.
    bool isWithinLimits() const { return m_isWithinLimits; }

    /// What the references in the document's content come to once they are replaced.
    struct Replacements {
        qsizetype size = 0;      ///< in UTF-16 units
        bool isExternal = false; ///< one of them is, or refers to, an external entity
    };
    /// With the document's own declarations. The size is at least `enough` where it is more than that, or
    /// where entities refer to themselves.
    Replacements replacements(const QXmlStreamEntityDeclarations &declarations, qsizetype enough) const;

private:
    size_t afterMarkup(size_t at);
    size_t afterTag(size_t at);
    size_t afterDocumentType(size_t at);
    size_t after(std::string_view end, size_t from) const;

    const std::string_view m_text;
    const Limits m_limits;
    bool m_isWithinLimits = true;
    bool m_hasDocumentType = false;
    QHash<QByteArrayView, qsizetype> m_references;
};
