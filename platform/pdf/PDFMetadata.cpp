// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFMetadata.h"

#include "platform/pdf/PDFDocument.h"

#include <QDateTime>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <algorithm>

namespace {

const QString rdf = QStringLiteral("http://www.w3.org/1999/02/22-rdf-syntax-ns#");
const QString dc = QStringLiteral("http://purl.org/dc/elements/1.1/");
const QString pdf = QStringLiteral("http://ns.adobe.com/pdf/1.3/");
const QString xmp = QStringLiteral("http://ns.adobe.com/xap/1.0/");

// How a property's value stands in RDF.
enum class Form { Text, Languages, Sequence };

struct Property {
    QString space;
    QString name;
    QString attribute;
    Form form;
};

const std::vector<Property> &properties() {
    static const std::vector<Property> list = {
        {dc, QStringLiteral("title"), PDFDocumentTitleAttribute, Form::Languages},
        {dc, QStringLiteral("creator"), PDFDocumentAuthorAttribute, Form::Sequence},
        {dc, QStringLiteral("description"), PDFDocumentSubjectAttribute, Form::Languages},
        {pdf, QStringLiteral("Keywords"), PDFDocumentKeywordsAttribute, Form::Text},
        {xmp, QStringLiteral("CreatorTool"), PDFDocumentCreatorAttribute, Form::Text},
        {pdf, QStringLiteral("Producer"), PDFDocumentProducerAttribute, Form::Text},
        {xmp, QStringLiteral("CreateDate"), PDFDocumentCreationDateAttribute, Form::Text},
        {xmp, QStringLiteral("ModifyDate"), PDFDocumentModificationDateAttribute, Form::Text},
    };
    return list;
}

template <typename Space, typename Name>
bool isManaged(const Space &space, const Name &name) {
    return std::any_of(properties().begin(), properties().end(),
                       [&](const Property &p) { return p.space == space && p.name == name; });
}

// Characters that XML 1.0 cannot hold are replaced.
QString xmlText(const QVariant &value) {
    QString text = value.typeId() == QMetaType::QDateTime
                       ? value.toDateTime().toString(u"yyyy-MM-ddTHH:mm:ssZ")
                       : value.toString();
    for (QChar &c : text)
        if ((c < u' ' && c != u'\t' && c != u'\n' && c != u'\r') || c == QChar(0xFFFE) || c == QChar(0xFFFF))
            c = QChar::ReplacementCharacter;
    return text;
}

void writeProperty(QXmlStreamWriter &writer, const Property &property, const QVariant &value) {
    writer.writeStartElement(property.space, property.name);
    if (property.form == Form::Text) {
        writer.writeCharacters(xmlText(value));
    } else {
        writer.writeStartElement(rdf, property.form == Form::Languages ? QStringLiteral("Alt")
                                                                       : QStringLiteral("Seq"));
        writer.writeStartElement(rdf, QStringLiteral("li"));
        if (property.form == Form::Languages)
            writer.writeAttribute(QStringLiteral("xml:lang"), QStringLiteral("x-default"));
        writer.writeCharacters(xmlText(value));
        writer.writeEndElement();
        writer.writeEndElement();
    }
    writer.writeEndElement();
}

// Attributes of their own, in a description of their own, so that nothing else needs to be understood.
void writeDescription(QXmlStreamWriter &writer, const QString &about, const QVariantMap &attributes) {
    writer.writeStartElement(rdf, QStringLiteral("Description"));
    writer.writeAttribute(rdf, QStringLiteral("about"), about);
    writer.writeNamespace(dc, QStringLiteral("dc"));
    writer.writeNamespace(pdf, QStringLiteral("pdf"));
    writer.writeNamespace(xmp, QStringLiteral("xmp"));
    for (const Property &property : properties()) {
        const auto value = attributes.constFind(property.attribute);
        if (value != attributes.constEnd())
            writeProperty(writer, property, *value);
    }
    writer.writeEndElement();
}

} // namespace

QByteArray PDFMetadataWith(const QByteArray &packet, const QVariantMap &attributes) {
    QXmlStreamReader reader(packet);
    QByteArray out;
    QXmlStreamWriter writer(&out);
    // Elements that enclose the present one: RDF itself, and descriptions right inside it.
    int depth = 0, rdfDepth = 0;
    bool written = false;
    QString about = QStringLiteral("");
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            const bool inDescription = rdfDepth > 0 && depth == rdfDepth + 1;
            if (inDescription && isManaged(reader.namespaceUri(), reader.name())) {
                reader.skipCurrentElement();
                break;
            }
            ++depth;
            const bool isDescription = rdfDepth > 0 && depth == rdfDepth + 1;
            if (rdfDepth == 0 && reader.namespaceUri() == rdf && reader.name() == u"RDF")
                rdfDepth = depth;
            if (isDescription && reader.attributes().hasAttribute(rdf, QStringLiteral("about")))
                about = reader.attributes().value(rdf, QStringLiteral("about")).toString();
            for (const QXmlStreamNamespaceDeclaration &declaration : reader.namespaceDeclarations()) {
                if (declaration.prefix().isEmpty())
                    writer.writeDefaultNamespace(declaration.namespaceUri().toString());
                else
                    writer.writeNamespace(declaration.namespaceUri().toString(),
                                          declaration.prefix().toString());
            }
            writer.writeStartElement(reader.namespaceUri().toString(), reader.name().toString());
            for (const QXmlStreamAttribute &attribute : reader.attributes())
                if (!isDescription || !isManaged(attribute.namespaceUri(), attribute.name()))
                    writer.writeAttribute(attribute);
            break;
        }
        case QXmlStreamReader::EndElement:
            if (depth == rdfDepth && rdfDepth > 0) {
                writeDescription(writer, about, attributes);
                written = true;
                rdfDepth = -1;
            }
            --depth;
            writer.writeEndElement();
            break;
        case QXmlStreamReader::Characters:
            writer.writeCharacters(reader.text().toString());
            break;
        case QXmlStreamReader::ProcessingInstruction:
            writer.writeProcessingInstruction(reader.processingInstructionTarget().toString(),
                                              reader.processingInstructionData().toString());
            break;
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
            // No XMP packet has them.
            return {};
        default:
            break;
        }
    }
    return reader.hasError() || !written ? QByteArray() : out;
}
