// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

class NSXMLParser;

/// What a parser of XML tells while it reads, on the thread that parses. Each operation does nothing unless it is
/// overridden; an exception ends the parse and reaches the caller of parse().
class NSXMLParserDelegate {
public:
    virtual ~NSXMLParserDelegate() = default;

    /// An element begins. Attributes are under their qualified names, their values normalized. If namespaces are
    /// processed, the name is the local one, and declarations of namespaces are not among the attributes.
    virtual void parserDidStartElement(NSXMLParser &parser, const QString &elementName,
                                       const QString &namespaceURI, const QString &qualifiedName,
                                       const QVariantMap &attributes);
    virtual void parserDidEndElement(NSXMLParser &parser, const QString &elementName,
                                     const QString &namespaceURI, const QString &qualifiedName);
    /// Character data between two pieces of markup, in one piece, references replaced. Comments, processing
    /// instructions and the borders of CDATA sections count as markup. Never empty.
    virtual void parserFoundCharacters(NSXMLParser &parser, const QString &string);
    /// Namespaces come into reach before their element begins, and leave it after its end. Only called if
    /// prefixes are reported. The prefix is "" for the default namespace.
    virtual void parserDidStartMappingPrefix(NSXMLParser &parser, const QString &prefix,
                                             const QString &namespaceURI);
    virtual void parserDidEndMappingPrefix(NSXMLParser &parser, const QString &prefix);
};

inline const QString NSXMLParserErrorDomain = QStringLiteral("NSXMLParserErrorDomain");

/// The codes of a parser's errors.
enum NSXMLParserError : int {
    NSXMLParserInternalError = 1,
    NSXMLParserPrematureDocumentEndError = 5,
    NSXMLParserEntityIsExternalError = 29,
    NSXMLParserEntityBoundaryError = 90,
    NSXMLParserNotWellFormedError = 111,
    NSXMLParserDelegateAbortedParseError = 512,
};

/// An event-driven parser of XML 1.0 documents with namespaces, on expat.
///
/// Any encoding that ICU knows is read, UTF-8, UTF-16, UTF-32 and ISO 8859-1 among them. Internal entities are
/// replaced. Nothing outside the document is ever read: a reference to an external entity is an error, and so is
/// one to an entity that only an unread part of the document type could declare, in text and in attributes. Names
/// are those of the fourth edition.
///
/// A document's cost is in proportion to its size. Errors are therefore: a depth, or numbers of attributes and
/// namespaces, beyond the limits below; more than 1,000 entities that refer to others; and entities and default
/// attributes that make more of the document than five times its size and a million units.
///
/// One thread, once.
class NSXMLParser {
public:
    /// How many elements may be open at once.
    static constexpr int MaximumDepth = 512;
    /// How many attributes one element may have, how many a document type may declare, and how many namespaces
    /// may be in reach.
    static constexpr int MaximumAttributes = 1000;
    /// How long a namespace's name may be, in bytes.
    static constexpr int MaximumNamespaceLength = 4096;

    explicit NSXMLParser(const QByteArray &data) : m_data(data) {}

    /// Not owned; nullptr for none.
    void setDelegate(NSXMLParserDelegate *delegate) { m_delegate = delegate; }
    /// Off at first.
    void setShouldProcessNamespaces(bool processes) { m_processesNamespaces = processes; }
    /// Off at first; without effect unless namespaces are processed.
    void setShouldReportNamespacePrefixes(bool reports) { m_reportsPrefixes = reports; }

    /// Reads the document, calling the delegate. False if it isn't well-formed or goes past a limit:
    /// parserError() says why. What the delegate was told before stands.
    bool parse();
    /// Ends the parse with an error; for the delegate.
    void abortParsing() { m_aborted = true; }

    /// nil as long as nothing went wrong.
    NSError parserError() const { return m_error; }

private:
    class Run;

    QByteArray m_data;
    NSXMLParserDelegate *m_delegate = nullptr;
    bool m_processesNamespaces = false;
    bool m_reportsPrefixes = false;
    bool m_aborted = false;
    NSError m_error;
};
