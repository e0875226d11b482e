// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "platform/text/NSXMLParser.h"

#include <QObject>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <concepts>
#include <optional>
#include <vector>

/// Makes a tree of dictionaries and arrays of an XML document, for reading with path() and key().
///
/// Each element is a dictionary: its attributes under their names; under "$" and the local name of child
/// elements an array of these, even of one; its character data under "_content", white space as it comes,
/// pieces parted by child elements put together. The document element's own name is not kept.
///
///     const auto feed = ZRXML::dictionaryByParsingXML(u"<feed><entry>first</entry></feed>");
///     ZRKit::path(*feed, QStringLiteral("$entry/0/_content")); // "first"
///
/// If nothing but a comment, a processing instruction or the border of a CDATA section parts an element's text, the
/// last of the pieces is kept, twice. References don't part a text.
///
/// NSXMLParser says what is well-formed, which encodings are read and which limits there are. An object may be used
/// again and again, by one thread at a time.
class ZRXML : public QObject, public NSXMLParserDelegate {
    Q_OBJECT
    Q_PROPERTY(QString currentText READ currentText WRITE setCurrentText)

public:
    /// The root node of the document; nil if it can't be parsed to its end.
    std::optional<QVariantMap> parseData(const QByteArray &data);
    /// The same of the string's UTF-8.
    std::optional<QVariantMap> parseString(const ZRKit::AnyText &string);
    /// parseString() of a string, parseData() of data.
    /// \throws NSException ZRXMLArgumentException for anything else; a subclass's name takes the place of
    /// ZRXML
    std::optional<QVariantMap> parse(const ZRKit::AnyObject &stringOrData);

    /// parse() of a new parser object.
    template <std::derived_from<ZRXML> Class = ZRXML>
    static std::optional<QVariantMap> dictionaryByParsingXML(const ZRKit::AnyObject &stringOrData) {
        Class parser;
        return parser.parse(stringOrData);
    }

    /// The text collected since it was last given to a node.
    QString currentText() const { return m_currentText; }
    void setCurrentText(const QString &text) { m_currentText = text; }
    /// nil before the first element and after a failed parse.
    std::optional<QVariantMap> root() const;
    /// The open nodes, innermost last, as they are at present.
    QVariantList currentNodes() const;

    /// Puts currentText() behind the node's "_content" and clears it; nullptr for no node.
    void addTextToNode(QVariantMap *node);

    void parserDidStartElement(NSXMLParser &parser, const QString &elementName, const QString &namespaceURI,
                               const QString &qualifiedName, const QVariantMap &attributes) override;
    void parserDidEndElement(NSXMLParser &parser, const QString &elementName, const QString &namespaceURI,
                             const QString &qualifiedName) override;
    /// Text that comes while there is some already takes its place, twice.
    void parserFoundCharacters(NSXMLParser &parser, const QString &string) override;

private:
    /// A node within the tree, and the key of the array that it ends.
    struct OpenNode {
        QVariantMap *node = nullptr;
        QString key;
    };
    /// nullptr if no node is open.
    QVariantMap *innermost();
    QVariantMap *appendChild(QVariantMap &parent, const QString &key, const QVariantMap &attributes);

    QString m_currentText;
    std::optional<QVariantMap> m_root;
    /// A node outside the tree: what begins after the root has ended.
    QVariantMap m_orphan;
    std::vector<OpenNode> m_open;
    bool m_isOrphaned = false;
    /// Somebody has a copy of the tree, so that its nodes have to be found again before they are changed.
    mutable bool m_isShared = false;
};
