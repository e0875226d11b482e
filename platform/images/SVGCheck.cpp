// SPDX-License-Identifier: MIT
#include "platform/images/SVGCheck.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QHash>
#include <QImageReader>
#include <QXmlStreamReader>
#include <vector>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

constexpr int deepest = 200;
constexpr qint64 mostElements = 1000000; ///< with each reuse counted

bool isText(QStringView element) {
    return element == u"text" || element == u"tspan" || element == u"textArea" || element == u"tref";
}

/// The picture of a data URL, which Qt reads whatever its format.
bool isSmallPicture(const QString &url, qint64 &pixels) {
    // As Qt finds its data.
    const QString mark = u"base64,"_s;
    const qsizetype at = url.lastIndexOf(mark);
    if (!url.startsWith(u"data:") || at < 0)
        return false;
    QByteArray bytes = QByteArray::fromBase64(QStringView(url).sliced(at + mark.size()).toLatin1());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QSize size = QImageReader(&buffer).size();
    constexpr qint64 most = qint64(1) << 25;
    if (size.isEmpty())
        return false;
    pixels += qint64(size.width()) * size.height();
    return pixels <= most;
}

/// The elements of a document in their order, and what it costs to draw them.
class Elements {
public:
    void begin(const QXmlStreamAttributes &attributes, bool isReuse) {
        const int index = int(m_elements.size());
        m_open.push_back(index);
        if (const QStringView id = attributes.value("id"_L1); !id.isEmpty())
            m_named.insert(id.toString(), index);
        QString reused;
        for (const QXmlStreamAttribute &attribute : attributes)
            if (isReuse && attribute.name() == u"href" && attribute.value().startsWith(u'#'))
                reused = attribute.value().sliced(1).toString();
        m_elements.push_back({index + 1, reused, 0, false});
    }

    void end() {
        m_elements[std::size_t(m_open.back())].end = int(m_elements.size());
        m_open.pop_back();
    }

    std::size_t depth() const { return m_open.size(); }
    qint64 count() const { return qint64(m_elements.size()); }

    /// How many elements are drawn for one; more than all that are allowed if it contains itself.
    qint64 cost(int index, int nesting = 0) {
        Element &element = m_elements[std::size_t(index)];
        if (element.cost > 0)
            return element.cost;
        if (element.isBeingCounted || nesting > deepest)
            return mostElements + 1;
        element.isBeingCounted = true;
        qint64 cost = element.end - index;
        for (int inner = index; inner < element.end && cost <= mostElements; ++inner) {
            const QString &reused = m_elements[std::size_t(inner)].reused;
            // A name may be there twice: any of its elements may be meant.
            for (auto target = m_named.constFind(reused);
                 !reused.isNull() && target != m_named.constEnd() && target.key() == reused; ++target)
                cost += this->cost(*target, nesting + 1);
        }
        element.isBeingCounted = false;
        return element.cost = cost;
    }

private:
    struct Element {
        int end; ///< behind the last one within it
        QString reused;
        qint64 cost;
        bool isBeingCounted;
    };

    std::vector<Element> m_elements;
    std::vector<int> m_open;
    QMultiHash<QString, int> m_named;
};

} // namespace

bool zr::isHarmlessSVG(const QByteArray &data) {
    // The parser that Qt's reader uses too, so that both see the same document.
    QXmlStreamReader xml(data);
    Elements elements;
    qint64 pixels = 0;
    const bool canDrawText = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement: {
            const QStringView name = xml.name();
            if (elements.count() == 0 && name != u"svg")
                return false;
            elements.begin(xml.attributes(), name == u"use");
            if (elements.depth() > deepest || elements.count() > mostElements ||
                (isText(name) && !canDrawText))
                return false;
            if (name != u"image")
                break;
            for (const QXmlStreamAttribute &attribute : xml.attributes())
                if (attribute.name() == u"href" && !isSmallPicture(attribute.value().toString(), pixels))
                    return false;
            break;
        }
        case QXmlStreamReader::EndElement:
            elements.end();
            break;
        case QXmlStreamReader::ProcessingInstruction:
            if (xml.processingInstructionTarget() == u"xml-stylesheet")
                return false;
            break;
        default:
            break;
        }
    }
    return !xml.hasError() && elements.count() > 0 && elements.cost(0) <= mostElements;
}
