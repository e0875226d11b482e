// SPDX-License-Identifier: MIT
#include "platform/text/NSXMLParser.h"

#include "platform/text/SharedTexts.h"
#include "platform/text/XMLDocumentScan.h"

#include <QStringDecoder>
#include <QXmlStreamReader>
#include <map>
#include <utility>
#include <vector>

namespace {

/// A document may come to this many times its size once entities and defaults are in, and to this many UTF-16
/// units in any case.
constexpr qsizetype LargestGrowth = 5;
constexpr qsizetype FreeGrowth = 1'000'000;
constexpr XMLDocumentScan::Limits DocumentLimits{NSXMLParser::MaximumAttributes, 64, 1000};

/// The encoding's name in an XML declaration, nothing where there is none.
QByteArray declaredEncoding(QByteArrayView data) {
    if (data.startsWith("\xEF\xBB\xBF"))
        data = data.sliced(3);
    if (!data.startsWith("<?xml"))
        return {};
    const QByteArrayView declaration = data.first(qMax<qsizetype>(data.indexOf("?>"), 0));
    const qsizetype name = declaration.indexOf("encoding");
    if (name < 0)
        return {};
    for (qsizetype at = name + 8; at < declaration.size(); ++at) {
        if (const char quote = declaration[at]; quote == '"' || quote == '\'') {
            const qsizetype end = declaration.indexOf(quote, at + 1);
            return end < 0 ? QByteArray() : declaration.sliced(at + 1, end - at - 1).toByteArray();
        }
    }
    return {};
}

/// How the document's bytes are to be read where it isn't as UTF-8 (XML 1.0, appendix F).
QStringDecoder decoderOf(const QByteArray &data) {
    if (const auto unicode = QStringConverter::encodingForData(data, u'<'))
        return *unicode == QStringConverter::Utf8 ? QStringDecoder() : QStringDecoder(*unicode);
    const QByteArray name = declaredEncoding(data);
    if (name.isEmpty() || name.compare("UTF-8", Qt::CaseInsensitive) == 0)
        return {};
    return QStringDecoder(name.constData());
}

} // namespace

/// One parse.
class NSXMLParser::Run {
public:
    explicit Run(NSXMLParser &parser) : m_parser(parser), m_delegate(*parser.m_delegate) {}

    NSError error();

private:
    NSError read();
    NSError startElement();
    NSError readAttributes(QVariantMap &attributes);
    void endElement();
    NSError characters();
    NSError documentType();
    NSError failure() const;
    NSError error(NSXMLParserError code, const QString &text) const;
    NSError excess(const QString &what) const { return error(NSXMLParserEntityBoundaryError, what); }

    NSXMLParser &m_parser;
    NSXMLParserDelegate &m_delegate;
    QXmlStreamReader m_reader;
    const XMLDocumentScan *m_scan = nullptr;
    SharedTexts m_texts;
    qsizetype m_allowance = 0;
    int m_depth = 0;
    bool m_mayDeclareType = true;
    struct Element {
        QString name;
        QString namespaceURI;
        QString qualifiedName;
    };
    std::vector<Element> m_open;
    /// The prefixes that each open element declares, only where some do.
    struct Mapping {
        int depth;
        QString prefix;
    };
    std::vector<Mapping> m_mappings;
};

NSError NSXMLParser::Run::error() {
    QByteArray utf8 = m_parser.m_data;
    if (QStringDecoder decoder = decoderOf(utf8); decoder.isValid()) {
        const QString text = decoder.decode(utf8);
        if (decoder.hasError() || !text.isValidUtf16())
            return error(NSXMLParserNotWellFormedError,
                         QStringLiteral("The document isn't in its encoding."));
        utf8 = text.toUtf8();
        m_reader.addData(text);
    } else {
        m_reader.addData(utf8);
    }
    m_allowance = FreeGrowth + LargestGrowth * utf8.size();
    const XMLDocumentScan scan(utf8, DocumentLimits);
    if (!scan.isWithinLimits())
        return excess(QStringLiteral("Too many attributes or parameter entities."));
    m_scan = &scan;
    m_reader.setNamespaceProcessing(m_parser.m_processesNamespaces);
    m_reader.setEntityExpansionLimit(MaximumEntitySize);
    return read();
}

NSError NSXMLParser::Run::read() {
    while (!m_reader.atEnd()) {
        NSError error;
        switch (m_reader.readNext()) {
        case QXmlStreamReader::StartElement:
            error = startElement();
            break;
        case QXmlStreamReader::EndElement:
            endElement();
            break;
        case QXmlStreamReader::Characters:
            error = characters();
            break;
        case QXmlStreamReader::DTD:
            error = documentType();
            break;
        case QXmlStreamReader::EntityReference:
            error = this->error(NSXMLParserEntityIsExternalError,
                                QStringLiteral("An entity is declared outside the document."));
            break;
        default:
            break;
        }
        if (error)
            return error;
        if (m_parser.m_aborted)
            return this->error(NSXMLParserDelegateAbortedParseError, QStringLiteral("The parse was ended."));
    }
    return m_reader.hasError() ? failure() : NSError();
}

NSError NSXMLParser::Run::startElement() {
    m_mayDeclareType = false;
    if (++m_depth > MaximumDepth)
        return excess(QStringLiteral("Elements are nested too deeply."));
    const bool processesNamespaces = m_parser.m_processesNamespaces;
    if (processesNamespaces) {
        const QXmlStreamNamespaceDeclarations declarations = m_reader.namespaceDeclarations();
        for (const QXmlStreamNamespaceDeclaration &declaration : declarations) {
            const QString prefix = m_texts.text(declaration.prefix());
            for (auto at = m_mappings.crbegin(); at != m_mappings.crend() && at->depth == m_depth; ++at) {
                if (at->prefix == prefix)
                    return error(NSXMLParserNotWellFormedError,
                                 QStringLiteral("A namespace is declared twice."));
            }
            m_mappings.push_back({m_depth, prefix});
            if (m_parser.m_reportsPrefixes)
                m_delegate.parserDidStartMappingPrefix(m_parser, m_mappings.back().prefix,
                                                       m_texts.text(declaration.namespaceUri()));
        }
        if (m_mappings.size() > MaximumAttributes)
            return excess(QStringLiteral("Too many namespaces."));
    }
    QVariantMap attributes;
    if (NSError error = readAttributes(attributes))
        return error;
    const QString qualifiedName = m_texts.name(m_reader.qualifiedName());
    m_open.push_back({processesNamespaces ? m_texts.name(m_reader.name()) : qualifiedName,
                      m_texts.name(m_reader.namespaceUri()), qualifiedName});
    const Element &element = m_open.back();
    m_delegate.parserDidStartElement(m_parser, element.name, element.namespaceURI, element.qualifiedName,
                                     attributes);
    return {};
}

NSError NSXMLParser::Run::readAttributes(QVariantMap &attributes) {
    const QXmlStreamAttributes given = m_reader.attributes();
    std::map<QString, QVariant> entries;
    for (const QXmlStreamAttribute &attribute : given) {
        m_allowance -= attribute.qualifiedName().size() + attribute.value().size();
        if (m_allowance < 0)
            return excess(QStringLiteral("Attributes make the document too large."));
        const QString name = m_texts.name(attribute.qualifiedName());
        const QString value = m_texts.text(attribute.value());
        if (given.size() == 1)
            attributes = m_texts.dictionary(name, value);
        else
            entries.emplace_hint(entries.cend(), name, value);
    }
    if (!entries.empty())
        attributes = QVariantMap(std::move(entries));
    return {};
}

void NSXMLParser::Run::endElement() {
    const Element element = std::move(m_open.back());
    m_open.pop_back();
    m_delegate.parserDidEndElement(m_parser, element.name, element.namespaceURI, element.qualifiedName);
    for (; !m_mappings.empty() && m_mappings.back().depth == m_depth; m_mappings.pop_back()) {
        if (m_parser.m_reportsPrefixes)
            m_delegate.parserDidEndMappingPrefix(m_parser, m_mappings.back().prefix);
    }
    --m_depth;
}

NSError NSXMLParser::Run::characters() {
    const QStringView text = m_reader.text();
    m_allowance -= text.size();
    if (m_allowance < 0)
        return excess(QStringLiteral("Entities make the document too large."));
    if (m_depth > 0 && !text.isEmpty())
        m_delegate.parserFoundCharacters(m_parser, m_texts.text(text));
    return {};
}

NSError NSXMLParser::Run::documentType() {
    // The reader takes it anywhere.
    if (!std::exchange(m_mayDeclareType, false))
        return error(NSXMLParserNotWellFormedError, QStringLiteral("A document type is out of its place."));
    const QXmlStreamEntityDeclarations declarations = m_reader.entityDeclarations();
    if (declarations.isEmpty())
        return {};
    // The reader takes an external entity for an empty one, and puts a whole run of references into one text.
    const auto replacements = m_scan->replacements(declarations, m_allowance);
    if (replacements.isExternal)
        return error(NSXMLParserEntityIsExternalError, QStringLiteral("An entity is external."));
    return replacements.size < m_allowance ? NSError()
                                           : excess(QStringLiteral("Entities make the document too large."));
}

NSError NSXMLParser::Run::failure() const {
    return error(m_reader.error() == QXmlStreamReader::PrematureEndOfDocumentError
                     ? NSXMLParserPrematureDocumentEndError
                     : NSXMLParserNotWellFormedError,
                 m_reader.errorString());
}

NSError NSXMLParser::Run::error(NSXMLParserError code, const QString &text) const {
    return {NSXMLParserErrorDomain,
            code,
            {{NSLocalizedDescriptionKey, QStringLiteral("Line %1, column %2: %3")
                                             .arg(m_reader.lineNumber())
                                             .arg(m_reader.columnNumber() + 1)
                                             .arg(text)}}};
}

bool NSXMLParser::parse() {
    NSXMLParserDelegate none;
    if (!m_delegate)
        m_delegate = &none;
    m_aborted = false;
    m_error = Run(*this).error();
    if (m_delegate == &none)
        m_delegate = nullptr;
    return m_error.isNil();
}

void NSXMLParserDelegate::parserDidStartElement(NSXMLParser &, const QString &, const QString &,
                                                const QString &, const QVariantMap &) {
}

void NSXMLParserDelegate::parserDidEndElement(NSXMLParser &, const QString &, const QString &,
                                              const QString &) {
}

void NSXMLParserDelegate::parserFoundCharacters(NSXMLParser &, const QString &) {
}

void NSXMLParserDelegate::parserDidStartMappingPrefix(NSXMLParser &, const QString &, const QString &) {
}

void NSXMLParserDelegate::parserDidEndMappingPrefix(NSXMLParser &, const QString &) {
}
