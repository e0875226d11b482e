// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRXML.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/text/SharedTexts.h"
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

ZRXML::ZRXML() = default;

ZRXML::~ZRXML() = default;

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
    m_childKeys.clear();
    m_gathered.clear();
    m_shared.reset();
    if (!parsed) {
        m_open.clear();
        m_root.reset();
        return {};
    }
    ZRKit::dumpToLog(*m_root);
    return root();
}

std::optional<QVariantMap> ZRXML::parseString(const QString &string) {
    return parseData(ZRKit::data(string));
}

std::optional<QVariantMap> ZRXML::parse(const QVariant &stringOrData) {
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
    settleAll();
    m_isShared = true;
    return m_root;
}

QVariantList ZRXML::currentNodes() const {
    settleAll();
    m_isShared = true;
    QVariantList nodes;
    for (const OpenNode &open : m_open)
        nodes.append(*open.node);
    return nodes;
}

ZRXML::OpenNode *ZRXML::innermost() {
    if (std::exchange(m_isShared, false) && !m_open.empty()) {
        m_open.front().node = m_isOrphaned ? &m_orphan : &*m_root;
        for (size_t i = 1; i < m_open.size(); ++i) {
            QVariant &siblings = (*m_open[i - 1].node)[m_open[i].key];
            m_open[i].node = &heldForChange<QVariantMap>(heldForChange<QVariantList>(siblings).last());
        }
    }
    return m_open.empty() ? nullptr : &m_open.back();
}

const QString &ZRXML::childKey(const QString &name) {
    QString &key = m_childKeys[name];
    if (key.isNull())
        key = u'$' + name;
    return key;
}

QVariantMap *ZRXML::appendChild(QVariantMap &parent, const QString &key, const QVariantMap &attributes) {
    QVariant &siblings = parent[key];
    const bool isFirst = NSIsNil(siblings) || NSIsNull(siblings);
    if (isFirst)
        siblings = QVariant(QMetaType::fromType<QVariantList>());
    if (siblings.metaType() != QMetaType::fromType<QVariantList>())
        NSObjectRuntime::raiseUnrecognized(siblings, NSSelector("addObject:"));
    auto &list = heldForChange<QVariantList>(siblings);
    // Most children have their name for themselves.
    if (isFirst)
        list.reserve(1);
    list.append(attributes);
    return &heldForChange<QVariantMap>(list.last());
}

void ZRXML::parserDidStartElement(NSXMLParser &, const QString &elementName, const QString &, const QString &,
                                  const QVariantMap &attributes) {
    if (!m_root) {
        m_root = attributes;
        m_open.push_back({&*m_root});
        addTextTo(m_open.back());
        return;
    }
    OpenNode *const parent = innermost();
    if (!parent) {
        addTextToNode(nullptr);
        m_orphan = attributes;
        m_isOrphaned = true;
        m_open.push_back({&m_orphan});
        return;
    }
    const QString &key = childKey(elementName);
    QVariantMap *const node = appendChild(*parent->node, key, attributes);
    addTextTo(*parent);
    m_open.push_back({node, key});
}

void ZRXML::parserDidEndElement(NSXMLParser &, const QString &, const QString &, const QString &) {
    OpenNode *const open = innermost();
    if (!open) {
        addTextToNode(nullptr);
        return;
    }
    addTextTo(*open);
    settle(*open);
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

void ZRXML::addTextTo(OpenNode &open) {
    if (m_currentText.isEmpty())
        return;
    QString text = std::exchange(m_currentText, QString());
    if (open.gatheredFrom < 0 && open.piece.isNull()) {
        open.piece = std::move(text);
        return;
    }
    // Only the innermost node gets text, so what nodes have gathered lies in one text, one after the other.
    if (open.gatheredFrom < 0) {
        open.gatheredFrom = m_gathered.size();
        m_gathered += std::exchange(open.piece, QString());
    }
    m_gathered += text;
}

SharedTexts &ZRXML::shared() const {
    if (!m_shared)
        m_shared = std::make_unique<SharedTexts>();
    return *m_shared;
}

void ZRXML::settle(OpenNode &open) const {
    QString text = std::exchange(open.piece, QString());
    if (open.gatheredFrom >= 0) {
        text = shared().text(QStringView(m_gathered).sliced(open.gatheredFrom));
        m_gathered.truncate(std::exchange(open.gatheredFrom, -1));
    }
    if (text.isNull())
        return;
    if (open.node->isEmpty())
        *open.node = shared().dictionary(contentKey(), text);
    else
        appendContent(*open.node, text);
}

void ZRXML::settleAll() const {
    for (auto open = m_open.rbegin(); open != m_open.rend(); ++open)
        settle(*open);
}

#include "moc_ZRXML.cpp"
