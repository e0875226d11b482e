// SPDX-License-Identifier: MIT
#include "platform/interface/InterfaceFile.h"

#include "platform/base/NSException.h"

#include <QAction>
#include <QMetaObject>
#include <QSet>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

using namespace zr;

namespace {

[[noreturn]] void raise(qint64 line, const QString &reason) {
    throw NSException(NSGenericException, QStringLiteral("line %1: %2").arg(line).arg(reason));
}

/// A name that the file refers to, and from where.
struct Reference {
    QString name;
    qint64 line;
};

/// What the file says which class it means by the name of one that the program doesn't know.
QHash<QString, QString> extendedClasses(const QByteArray &contents) {
    QHash<QString, QString> extended;
    QXmlStreamReader xml(contents);
    QString name;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"customwidget")
            name.clear();
        else if (xml.name() == u"class")
            name = xml.readElementText();
        else if (xml.name() == u"extends" && !name.isEmpty())
            extended.insert(name, xml.readElementText());
    }
    if (xml.hasError())
        raise(xml.lineNumber(), xml.errorString());
    return extended;
}

} // namespace

/// One walk over the file, which copies it.
struct InterfaceFile::Reader {
    Reader(InterfaceFile &interfaceFile, const QByteArray &contents, const Classes &known)
        : file(interfaceFile), classes(known), extended(extendedClasses(contents)), xml(contents),
          writer(&interfaceFile.m_prepared) {}

    void read() {
        while (!xml.atEnd()) {
            switch (xml.readNext()) {
            case QXmlStreamReader::StartElement:
                begin();
                break;
            case QXmlStreamReader::EndElement:
                end();
                break;
            default:
                writer.writeCurrentToken(xml);
            }
        }
        for (const Reference &reference : references)
            if (!names.contains(reference.name))
                raise(reference.line, QStringLiteral("there is nothing named %1").arg(reference.name));
    }

private:
    void begin() {
        QString element = xml.name().toString();
        const QXmlStreamAttributes attributes = xml.attributes();
        const QString name = attributes.value(QLatin1String("name")).toString();
        const bool isInConnection = !elements.isEmpty() && elements.last().name == u"connection";
        // Only what stands right inside a widget or action has its properties: an item's are others.
        const QMetaObject *const around = elements.isEmpty() ? nullptr : elements.last().metaObject;
        const QMetaObject *metaObject = nullptr;
        if (element == u"widget") {
            metaObject = classFor(attributes.value(QLatin1String("class")).toString());
        } else if (element == u"action") {
            metaObject = &QAction::staticMetaObject;
        } else if (element == u"layout") {
            if (const QString layout = attributes.value(QLatin1String("class")).toString();
                !classes.layouts.contains(layout))
                raise(xml.lineNumber(), QStringLiteral("there is no layout of class %1").arg(layout));
        } else if (element == u"property") {
            if (around && around->indexOfProperty(name.toUtf8()) < 0)
                metaObject = around;
        } else if ((element == u"enum" || element == u"set") && around) {
            element = QStringLiteral("string");
        } else if (element == u"addaction" && name != u"separator") {
            references.append({name, xml.lineNumber()});
        }
        if (element != u"property" && element != u"addaction" &&
            attributes.hasAttribute(QLatin1String("name")))
            names.insert(name);
        writer.writeStartElement(element);
        for (const QXmlStreamAttribute &attribute : attributes)
            if (attribute.name() != u"notr")
                writer.writeAttribute(attribute);
        if (element == u"string" || element == u"stringlist")
            writer.writeAttribute(QStringLiteral("notr"), QStringLiteral("true"));
        if (isInConnection && (element == u"sender" || element == u"receiver")) {
            const qint64 line = xml.lineNumber();
            const QString object = xml.readElementText();
            references.append({object, line});
            writer.writeCharacters(object);
            writer.writeEndElement();
        } else {
            elements.append({element, metaObject});
        }
    }

    void end() {
        elements.removeLast();
        writer.writeEndElement();
    }

    const QMetaObject *classFor(const QString &name) {
        // A class may extend another one of the file, but not, by way of others, itself.
        QString known = name;
        for (qsizetype step = 0; step <= extended.size(); ++step) {
            if (const QMetaObject *const metaObject = classes.widgetNamed(known)) {
                file.m_knownClasses.insert(name, known);
                // Qt gives a line its orientation although the class declares none.
                return known == u"Line" ? nullptr : metaObject;
            }
            known = extended.value(known);
        }
        raise(xml.lineNumber(),
              QStringLiteral("the class %1 isn't registered, nor does it extend one that is").arg(name));
    }

    InterfaceFile &file;
    const Classes &classes;
    const QHash<QString, QString> extended;
    QXmlStreamReader xml;
    QXmlStreamWriter writer;

    struct Element {
        QString name;
        /// The class of a widget or action, also of a property that it doesn't declare.
        const QMetaObject *metaObject;
    };
    QList<Element> elements;
    QSet<QString> names;
    QList<Reference> references;
};

InterfaceFile::InterfaceFile(const QByteArray &contents, const Classes &classes) {
    Reader(*this, contents, classes).read();
}
