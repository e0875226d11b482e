// SPDX-License-Identifier: MIT
#include "tools/designer/KitWidget.h"

#include "tools/designer/WidgetIcon.h"

#include <QXmlStreamWriter>

using namespace zr;

namespace {

void writeValue(QXmlStreamWriter &xml, const std::variant<bool, double, const char *> &value) {
    if (const bool *const flag = std::get_if<bool>(&value)) {
        xml.writeTextElement(QStringLiteral("bool"),
                             *flag ? QStringLiteral("true") : QStringLiteral("false"));
    } else if (const double *const number = std::get_if<double>(&value)) {
        xml.writeTextElement(QStringLiteral("double"), QString::number(*number));
    } else {
        // An attribute is nothing to be read: Designer need not offer it to translators.
        xml.writeStartElement(QStringLiteral("string"));
        xml.writeAttribute(QStringLiteral("notr"), QStringLiteral("true"));
        xml.writeCharacters(QString::fromLatin1(std::get<const char *>(value)));
        xml.writeEndElement();
    }
}

} // namespace

QString KitWidget::whatsThis() const {
    QStringList names;
    for (const KitAttribute &attribute : m_description.attributes)
        names << QString::fromLatin1(attribute.name);
    return names.isEmpty()
               ? toolTip()
               : QStringLiteral("%1 Attributes: %2.").arg(toolTip(), names.join(QStringLiteral(", ")));
}

QIcon KitWidget::icon() const {
    return widgetIcon(name());
}

QString KitWidget::domXml() const {
    QString text;
    QXmlStreamWriter xml(&text);
    xml.writeStartElement(QStringLiteral("ui"));
    xml.writeAttribute(QStringLiteral("language"), QStringLiteral("c++"));
    xml.writeStartElement(QStringLiteral("widget"));
    xml.writeAttribute(QStringLiteral("class"), name());
    const QString shortName = name().sliced(2);
    xml.writeAttribute(QStringLiteral("name"), shortName.first(1).toLower() + shortName.sliced(1));
    xml.writeStartElement(QStringLiteral("property"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("geometry"));
    xml.writeStartElement(QStringLiteral("rect"));
    xml.writeTextElement(QStringLiteral("x"), QStringLiteral("0"));
    xml.writeTextElement(QStringLiteral("y"), QStringLiteral("0"));
    xml.writeTextElement(QStringLiteral("width"), QString::number(m_description.size.width()));
    xml.writeTextElement(QStringLiteral("height"), QString::number(m_description.size.height()));
    xml.writeEndElement();
    xml.writeEndElement();
    for (const KitAttribute &attribute : m_description.attributes) {
        xml.writeStartElement(QStringLiteral("property"));
        xml.writeAttribute(QStringLiteral("name"), QString::fromLatin1(attribute.name));
        xml.writeAttribute(QStringLiteral("stdset"), QStringLiteral("0"));
        writeValue(xml, attribute.value);
        xml.writeEndElement();
    }
    // Written as it stands, once the start of the element is complete.
    xml.writeCharacters(QString());
    text += QString::fromLatin1(m_description.inside);
    xml.writeEndElement();
    xml.writeEndElement();
    return text;
}
