// SPDX-License-Identifier: MIT
#include "platform/text/NSXMLParser.h"

#include "platform/text/UTF8.h"

#define XML_DTD // for the limits to what entities come to
#include <QSet>
#include <QStringDecoder>
#include <exception>
#include <expat.h>
#include <utility>

namespace {

/// A document may come to this many times its size once entities and defaults are in, and to this much more in
/// any case.
constexpr qsizetype LargestGrowth = 5;
constexpr qsizetype FreeGrowth = 1'000'000;
/// Entities that refer to others: expat takes a chain of them by recursion.
constexpr qsizetype MaximumReferringEntities = 1000;
/// Parts an expanded name; no document can hold it.
constexpr char NamePart = '\f';
constexpr qsizetype LargestChunk = 1 << 30;

/// The encoding's name in an XML declaration, nothing if there is none.
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

/// How the document's bytes are read unless as UTF-8 (XML 1.0, appendix F).
QStringDecoder decoderOf(const QByteArray &data) {
    if (const auto unicode = QStringConverter::encodingForData(data, u'<'))
        return *unicode == QStringConverter::Utf8 ? QStringDecoder() : QStringDecoder(*unicode);
    const QByteArray name = declaredEncoding(data);
    if (name.isEmpty() || name.compare("UTF-8", Qt::CaseInsensitive) == 0)
        return {};
    return QStringDecoder(name.constData());
}

struct Name {
    QString local;
    QString namespaceURI = QStringLiteral("");
    QString qualified;
};

/// Takes "local", "URI local" or "URI local prefix" apart, as expat gives names.
Name nameOf(QByteArrayView expanded) {
    const qsizetype uriEnd = expanded.indexOf(NamePart);
    if (uriEnd < 0)
        return {NSStringFromUTF8(expanded), QStringLiteral(""), NSStringFromUTF8(expanded)};
    const qsizetype localEnd = expanded.indexOf(NamePart, uriEnd + 1);
    const qsizetype localSize = (localEnd < 0 ? expanded.size() : localEnd) - uriEnd - 1;
    Name name{NSStringFromUTF8(expanded.sliced(uriEnd + 1, localSize)),
              NSStringFromUTF8(expanded.first(uriEnd)),
              {}};
    name.qualified =
        localEnd < 0 ? name.local : NSStringFromUTF8(expanded.sliced(localEnd + 1)) + u':' + name.local;
    return name;
}

/// Calls the block with the name of each reference to an entity, until it says true.
template <typename Block>
bool anyReference(QByteArrayView text, Block block) {
    for (qsizetype at = text.indexOf('&'); at >= 0; at = text.indexOf('&', at + 1)) {
        const qsizetype end = text.indexOf(';', at);
        if (end > 0 && text[at + 1] != '#' && block(text.sliced(at + 1, end - at - 1)))
            return true;
    }
    return false;
}

NSXMLParserError codeOf(XML_Error error) {
    switch (error) {
    case XML_ERROR_NO_ELEMENTS:
    case XML_ERROR_UNCLOSED_TOKEN:
    case XML_ERROR_PARTIAL_CHAR:
    case XML_ERROR_UNCLOSED_CDATA_SECTION:
        return NSXMLParserPrematureDocumentEndError;
    case XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF:
        return NSXMLParserEntityIsExternalError;
    case XML_ERROR_AMPLIFICATION_LIMIT_BREACH:
        return NSXMLParserEntityBoundaryError;
    case XML_ERROR_NO_MEMORY:
        return NSXMLParserInternalError;
    default:
        return NSXMLParserNotWellFormedError;
    }
}

} // namespace

/// One parse.
class NSXMLParser::Run {
public:
    explicit Run(NSXMLParser &parser) : m_parser(parser), m_delegate(*parser.m_delegate) {}
    ~Run() { XML_ParserFree(m_expat); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    NSError error();

private:
    void setUp(bool isTranscoded);
    void declaration(const XML_Char *version, const XML_Char *, int);
    void startElement(const XML_Char *name, const XML_Char **attributes);
    void endElement(const XML_Char *name);
    void characters(const XML_Char *text, int size);
    /// Gives the text that was collected to the delegate: markup parts it.
    void flush();
    void comment(const XML_Char *) { flush(); }
    void instruction(const XML_Char *, const XML_Char *) { flush(); }
    void startNamespace(const XML_Char *prefix, const XML_Char *uri);
    void endNamespace(const XML_Char *prefix);
    void startDocumentType(const XML_Char *, const XML_Char *systemId, const XML_Char *publicId, int);
    void endDocumentType();
    void entity(const XML_Char *name, int isParameter, const XML_Char *value, int size, const XML_Char *,
                const XML_Char *, const XML_Char *, const XML_Char *);
    void attributeDeclaration(const XML_Char *, const XML_Char *, const XML_Char *, const XML_Char *value,
                              int);
    void skippedEntity(const XML_Char *name, int isParameter);
    static int externalEntity(XML_Parser expat, const XML_Char *context, const XML_Char *, const XML_Char *,
                              const XML_Char *);

    /// Makes a function for expat of an operation. After an error nothing is called any more, and exceptions
    /// wait until expat is done.
    template <auto Operation, typename... Arguments>
    static void call(void *data, Arguments... arguments) {
        Run &run = *static_cast<Run *>(data);
        if (run.m_isStopped)
            return;
        try {
            (run.*Operation)(arguments...);
        } catch (...) {
            run.m_thrown = std::current_exception();
            run.stop();
        }
        if (run.m_parser.m_aborted)
            run.refuse(NSXMLParserDelegateAbortedParseError, QStringLiteral("The parse was ended."));
    }
    void stop() {
        m_isStopped = true;
        XML_StopParser(m_expat, XML_FALSE);
    }
    void refuse(NSXMLParserError code, const QString &text) {
        if (!m_error)
            m_error = errorHere(code, text);
        stop();
    }
    void refuseExcess(const QString &what) { refuse(NSXMLParserEntityBoundaryError, what); }
    void refuseMissing() {
        refuse(NSXMLParserEntityIsExternalError,
               QStringLiteral("An entity is declared outside the document."));
    }
    NSError errorHere(NSXMLParserError code, const QString &text) const;
    bool refersToUndeclared(QByteArrayView text) const {
        return anyReference(text,
                            [this](QByteArrayView name) { return !m_entities.contains(name.toByteArray()); });
    }

    NSXMLParser &m_parser;
    NSXMLParserDelegate &m_delegate;
    QByteArray m_utf8;
    XML_Parser m_expat = nullptr;
    QByteArray m_text;
    qsizetype m_allowance = 0;
    int m_depth = 0;
    qsizetype m_namespaces = 0;
    qsizetype m_declaredAttributes = 0;
    /// Of the document type: names of entities, and texts of those that refer to others.
    QSet<QByteArray> m_entities{"lt", "gt", "amp", "quot", "apos"};
    QByteArrayList m_referring;
    /// There is a part of the document type that isn't read.
    bool m_isPartlyUnread = false;
    bool m_isStopped = false;
    NSError m_error;
    std::exception_ptr m_thrown;
};

NSError NSXMLParser::Run::error() {
    m_utf8 = m_parser.m_data;
    QStringDecoder decoder = decoderOf(m_utf8);
    if (decoder.isValid()) {
        const QString text = decoder.decode(m_utf8);
        if (decoder.hasError() || !text.isValidUtf16())
            return {NSXMLParserErrorDomain,
                    NSXMLParserNotWellFormedError,
                    {{NSLocalizedDescriptionKey, QStringLiteral("The document isn't in its encoding.")}}};
        m_utf8 = text.toUtf8();
    }
    setUp(decoder.isValid());
    XML_Status status = XML_STATUS_OK;
    qsizetype at = 0;
    do {
        const qsizetype size = qMin(m_utf8.size() - at, LargestChunk);
        status = XML_Parse(m_expat, m_utf8.constData() + at, int(size), at + size == m_utf8.size());
        at += size;
    } while (status == XML_STATUS_OK && at < m_utf8.size());
    if (m_thrown)
        std::rethrow_exception(m_thrown);
    if (m_error || status == XML_STATUS_OK)
        return m_error;
    const XML_Error code = XML_GetErrorCode(m_expat);
    return errorHere(codeOf(code), QString::fromLatin1(XML_ErrorString(code)));
}

void NSXMLParser::Run::setUp(bool isTranscoded) {
    const char *const encoding = isTranscoded ? "UTF-8" : nullptr;
    m_expat =
        m_parser.m_processesNamespaces ? XML_ParserCreateNS(encoding, NamePart) : XML_ParserCreate(encoding);
    if (!m_expat)
        throw std::bad_alloc();
    XML_SetUserData(m_expat, this);
    XML_SetReturnNSTriplet(m_expat, 1);
    m_allowance = FreeGrowth + LargestGrowth * m_utf8.size();
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(m_expat, float(LargestGrowth));
    XML_SetBillionLaughsAttackProtectionActivationThreshold(m_expat, quint64(m_allowance));
    XML_SetParamEntityParsing(m_expat, XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetXmlDeclHandler(m_expat, call<&Run::declaration>);
    XML_SetElementHandler(m_expat, call<&Run::startElement>, call<&Run::endElement>);
    XML_SetCharacterDataHandler(m_expat, call<&Run::characters>);
    XML_SetCdataSectionHandler(m_expat, call<&Run::flush>, call<&Run::flush>);
    XML_SetCommentHandler(m_expat, call<&Run::comment>);
    XML_SetProcessingInstructionHandler(m_expat, call<&Run::instruction>);
    XML_SetNamespaceDeclHandler(m_expat, call<&Run::startNamespace>, call<&Run::endNamespace>);
    XML_SetDoctypeDeclHandler(m_expat, call<&Run::startDocumentType>, call<&Run::endDocumentType>);
    XML_SetEntityDeclHandler(m_expat, call<&Run::entity>);
    XML_SetAttlistDeclHandler(m_expat, call<&Run::attributeDeclaration>);
    XML_SetSkippedEntityHandler(m_expat, call<&Run::skippedEntity>);
    XML_SetExternalEntityRefHandler(m_expat, externalEntity);
}

void NSXMLParser::Run::declaration(const XML_Char *version, const XML_Char *, int) {
    if (version && !QByteArrayView(version).startsWith("1."))
        refuse(NSXMLParserNotWellFormedError, QStringLiteral("An unknown version of XML."));
}

void NSXMLParser::Run::startElement(const XML_Char *name, const XML_Char **attributes) {
    flush();
    if (++m_depth > MaximumDepth)
        return refuseExcess(QStringLiteral("Elements are nested too deeply."));
    // Expat takes an entity that it doesn't know for an empty one in an attribute. Within an entity's text this
    // is the reference to the entity, whose text was looked at before.
    if (m_isPartlyUnread && refersToUndeclared(QByteArrayView(m_utf8).sliced(
                                XML_GetCurrentByteIndex(m_expat), XML_GetCurrentByteCount(m_expat))))
        return refuseMissing();
    QVariantMap entries;
    for (qsizetype count = 1; *attributes; attributes += 2, ++count) {
        if (count > MaximumAttributes)
            return refuseExcess(QStringLiteral("Too many attributes."));
        const QString attribute = nameOf(attributes[0]).qualified;
        const QString value = NSStringFromUTF8(attributes[1]);
        m_allowance -= attribute.size() + value.size();
        if (m_allowance < 0)
            return refuseExcess(QStringLiteral("Attributes make the document too large."));
        entries.insert(attribute, value);
    }
    const Name element = nameOf(name);
    m_delegate.parserDidStartElement(m_parser, element.local, element.namespaceURI, element.qualified,
                                     entries);
}

void NSXMLParser::Run::endElement(const XML_Char *name) {
    flush();
    --m_depth;
    const Name element = nameOf(name);
    m_delegate.parserDidEndElement(m_parser, element.local, element.namespaceURI, element.qualified);
}

void NSXMLParser::Run::characters(const XML_Char *text, int size) {
    m_allowance -= size;
    if (m_allowance < 0)
        return refuseExcess(QStringLiteral("Entities make the document too large."));
    m_text.append(text, size);
}

void NSXMLParser::Run::flush() {
    if (!m_text.isEmpty())
        m_delegate.parserFoundCharacters(m_parser, NSStringFromUTF8(std::exchange(m_text, {})));
}

void NSXMLParser::Run::startNamespace(const XML_Char *prefix, const XML_Char *uri) {
    flush();
    if (++m_namespaces > MaximumAttributes)
        return refuseExcess(QStringLiteral("Too many namespaces."));
    const QByteArrayView name(uri);
    if (name.size() > MaximumNamespaceLength)
        return refuseExcess(QStringLiteral("A namespace is too long."));
    if (m_parser.m_reportsPrefixes)
        m_delegate.parserDidStartMappingPrefix(m_parser, NSStringFromUTF8(prefix ? prefix : ""),
                                               NSStringFromUTF8(name));
}

void NSXMLParser::Run::endNamespace(const XML_Char *prefix) {
    --m_namespaces;
    if (m_parser.m_reportsPrefixes)
        m_delegate.parserDidEndMappingPrefix(m_parser, NSStringFromUTF8(prefix ? prefix : ""));
}

void NSXMLParser::Run::startDocumentType(const XML_Char *, const XML_Char *systemId, const XML_Char *publicId,
                                         int) {
    m_isPartlyUnread = systemId || publicId;
}

void NSXMLParser::Run::endDocumentType() {
    if (!m_isPartlyUnread)
        return;
    for (const QByteArray &text : std::as_const(m_referring)) {
        if (refersToUndeclared(text))
            return refuseMissing();
    }
}

void NSXMLParser::Run::entity(const XML_Char *name, int isParameter, const XML_Char *value, int size,
                              const XML_Char *, const XML_Char *, const XML_Char *, const XML_Char *) {
    if (!isParameter)
        m_entities.insert(name);
    const QByteArrayView text(value, value ? size : 0);
    if (!anyReference(text, [](QByteArrayView) { return true; }))
        return;
    m_referring.append(text.toByteArray());
    if (m_referring.size() > MaximumReferringEntities)
        refuseExcess(QStringLiteral("Too many entities refer to others."));
}

void NSXMLParser::Run::attributeDeclaration(const XML_Char *, const XML_Char *, const XML_Char *,
                                            const XML_Char *value, int) {
    // Expat goes through all of them at each element.
    if (++m_declaredAttributes > MaximumAttributes)
        return refuseExcess(QStringLiteral("Too many attributes are declared."));
    const QByteArrayView literal = QByteArrayView(m_utf8).sliced(XML_GetCurrentByteIndex(m_expat));
    const bool isInPlace = literal.startsWith('"') || literal.startsWith('\''); // not in a parameter entity
    if (m_isPartlyUnread && value && isInPlace &&
        refersToUndeclared(literal.first(literal.indexOf(literal[0], 1) + 1)))
        refuseMissing();
}

void NSXMLParser::Run::skippedEntity(const XML_Char *, int isParameter) {
    if (!isParameter)
        return refuseMissing();
    m_isPartlyUnread = true;
}

int NSXMLParser::Run::externalEntity(XML_Parser expat, const XML_Char *context, const XML_Char *,
                                     const XML_Char *, const XML_Char *) {
    Run &run = *static_cast<Run *>(XML_GetUserData(expat));
    // Parameter entities and the external subset have no context.
    if (!context)
        run.m_isPartlyUnread = true;
    else
        run.refuse(NSXMLParserEntityIsExternalError, QStringLiteral("An entity is external."));
    return context ? XML_STATUS_ERROR : XML_STATUS_OK;
}

NSError NSXMLParser::Run::errorHere(NSXMLParserError code, const QString &text) const {
    return {NSXMLParserErrorDomain,
            code,
            {{NSLocalizedDescriptionKey, QStringLiteral("Line %1, column %2: %3")
                                             .arg(XML_GetCurrentLineNumber(m_expat))
                                             .arg(XML_GetCurrentColumnNumber(m_expat) + 1)
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
