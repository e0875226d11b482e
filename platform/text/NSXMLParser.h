// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

class NSXMLParser;

/// What a parser of XML tells while it reads; each operation does nothing unless it is overridden.
class NSXMLParserDelegate {
public:
    virtual ~NSXMLParserDelegate() = default;

    /// An element begins. Attributes are under their qualified names, their values normalized. With
    /// namespaces processed, the name is the local one, and declarations of namespaces are no attributes.
    virtual void parserDidStartElement(NSXMLParser &parser, const QString &elementName,
                                       const QString &namespaceURI, const QString &qualifiedName,
                                       const QVariantMap &attributes);
    virtual void parserDidEndElement(NSXMLParser &parser, const QString &elementName,
                                     const QString &namespaceURI, const QString &qualifiedName);
    /// Character data between two pieces of markup, in one piece, whatever references it is made of. A
    /// comment, a processing instruction, and the borders of a CDATA section part it. Never empty.
    virtual void parserFoundCharacters(NSXMLParser &parser, const QString &string);
    /// Namespaces come into reach before their element begins, and leave it after its end, where that is
    /// asked for. The prefix is "" for the default namespace.
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

/// An event-driven parser of XML 1.0 documents with namespaces, on Qt's QXmlStreamReader.
///
/// Any encoding that ICU knows is read, UTF-8, UTF-16, UTF-32 and ISO 8859-1 among them. Internal entities
/// are replaced. Nothing outside the document is ever read: a reference to an external entity ends the parse
/// as an error, and so does one to an entity that only an external subset could declare.
///
/// A document's cost is in proportion to its size: too deep nesting, entities and default attributes that
/// multiply its text, and thousands of attributes or namespaces at once are errors.
///
/// Used by one thread, once.
class NSXMLParser {
public:
    /// How many elements may be open at once.
    static constexpr int MaximumDepth = 512;
    /// How many attributes one element may have, and how many namespaces may be in reach.
    static constexpr int MaximumAttributes = 1000;
    /// How large the replacement of one reference to an entity may be, in UTF-16 units, with all that it
    /// refers to.
    static constexpr int MaximumEntitySize = 4096;

    explicit NSXMLParser(const QByteArray &data) : m_data(data) {}

    /// Not owned; nullptr for none.
    void setDelegate(NSXMLParserDelegate *delegate) { m_delegate = delegate; }
    /// Off at first.
    void setShouldProcessNamespaces(bool processes) { m_processesNamespaces = processes; }
    /// Off at first; works with namespaces processed only.
    void setShouldReportNamespacePrefixes(bool reports) { m_reportsPrefixes = reports; }

    /// Reads the document, calling the delegate. False where it isn't well-formed, or goes past a limit:
    /// parserError() says why; what the delegate was told before stands.
    bool parse();
    /// Ends the parse with an error; for the delegate.
    void abortParsing() { m_aborted = true; }

    /// nil while nothing went wrong.
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
