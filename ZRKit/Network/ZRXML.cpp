// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRXML.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <utility>

using namespace zr;

namespace {

const QString &contentKey() {
    static const QString key = QStringLiteral("_content");
    return key;
}

/// What the variant holds, to be changed in place.
template <typename T>
T &heldForChange(QVariant &value) {
    return *static_cast<T *>(value.data());
}

void appendContent(QVariantMap &node, const QString &text) {
    QVariant &content = node[contentKey()];
    if (NSIsNil(content) || NSIsNull(content))
        content = text;
    else if (content.metaType() == QMetaType::fromType<QString>())
        heldForChange<QString>(content) += text;
    else
        content = NSFormat("%@%@", {content, text});
}

} // namespace

std::optional<QVariantMap> ZRXML::parseData(const QByteArray &data) {
    m_root.reset();
    m_currentText = QString();
    m_open.clear();
    m_isOrphaned = false;
    NSXMLParser parser(data);
    parser.setDelegate(this);
    parser.setShouldProcessNamespaces(true);
    parser.setShouldReportNamespacePrefixes(true);
    const bool parsed = parser.parse();
    if (!parsed) {
        m_open.clear();
        m_root.reset();
        return {};
    }
    ZRKit::dumpToLog(*m_root);
    return root();
}

std::optional<QVariantMap> ZRXML::parseString(const ZRKit::AnyText &string) {
    return parseData(ZRKit::data(string));
}

std::optional<QVariantMap> ZRXML::parse(const ZRKit::AnyObject &object) {
    const QVariant &stringOrData = object.value();
    switch (kindOf(stringOrData)) {
    case ValueKind::String:
        return parseString(held<QString>(stringOrData));
    case ValueKind::Data:
        return parseData(held<QByteArray>(stringOrData));
    default:
        throw NSException(
            NSFormat("%@%@Exception",
                     {NSObjectRuntime::className(QVariant::fromValue<QObject *>(this)), "Argument"}),
            QStringLiteral("Parameter needs to be of type NSData or NSString"));
    }
}

std::optional<QVariantMap> ZRXML::root() const {
    m_isShared = true;
    return m_root;
}

QVariantList ZRXML::currentNodes() const {
    m_isShared = true;
    QVariantList nodes;
    for (const OpenNode &open : m_open)
        nodes.append(*open.node);
    return nodes;
}

QVariantMap *ZRXML::innermost() {
    if (std::exchange(m_isShared, false) && !m_open.empty()) {
        m_open.front().node = m_isOrphaned ? &m_orphan : &*m_root;
        for (size_t i = 1; i < m_open.size(); ++i) {
            QVariant &siblings = (*m_open[i - 1].node)[m_open[i].key];
            m_open[i].node = &heldForChange<QVariantMap>(heldForChange<QVariantList>(siblings).last());
        }
    }
    return m_open.empty() ? nullptr : m_open.back().node;
}

QVariantMap *ZRXML::appendChild(QVariantMap &parent, const QString &key, const QVariantMap &attributes) {
    QVariant &siblings = parent[key];
    if (NSIsNil(siblings) || NSIsNull(siblings))
        siblings = QVariantList();
    if (siblings.metaType() != QMetaType::fromType<QVariantList>())
        NSObjectRuntime::raiseUnrecognized(siblings, NSSelector("addObject:"));
    auto &list = heldForChange<QVariantList>(siblings);
    list.append(attributes);
    return &heldForChange<QVariantMap>(list.last());
}

void ZRXML::parserDidStartElement(NSXMLParser &, const QString &elementName, const QString &, const QString &,
                                  const QVariantMap &attributes) {
    if (!m_root) {
        m_root = attributes;
        m_open.push_back({&*m_root, {}});
        addTextToNode(&*m_root);
        return;
    }
    const QString key = u'$' + elementName;
    QVariantMap *const parent = innermost();
    QVariantMap *node = &m_orphan;
    if (parent) {
        node = appendChild(*parent, key, attributes);
    } else {
        m_orphan = attributes;
        m_isOrphaned = true;
    }
    addTextToNode(parent);
    m_open.push_back({node, key});
}

void ZRXML::parserDidEndElement(NSXMLParser &, const QString &, const QString &, const QString &) {
    addTextToNode(innermost());
    if (!m_open.empty())
        m_open.pop_back();
}

void ZRXML::parserFoundCharacters(NSXMLParser &, const QString &string) {
    m_currentText = m_currentText.isNull() ? string : string + string;
}

void ZRXML::addTextToNode(QVariantMap *node) {
    if (m_currentText.isEmpty())
        return;
    const QString text = std::exchange(m_currentText, QString());
    if (node)
        appendContent(*node, text);
}

#include "moc_ZRXML.cpp"
