// SPDX-License-Identifier: MIT
#include "platform/text/XMLDocumentScan.h"

#include <algorithm>
#include <cctype>

namespace {

/// Entities within entities. Longer chains than this are found in attacks only.
constexpr int LongestChain = 32;

/// Calls the block with the name of each reference to an entity in the text.
template <typename Block>
void eachReference(std::string_view text, Block block) {
    for (size_t at = text.find('&'); at != text.npos; at = text.find('&', at)) {
        ++at;
        const size_t end = text.find_first_of("&;", at);
        if (end != text.npos && text[end] == ';' && text[at] != '#')
            block(QByteArrayView(text.data() + at, qsizetype(end - at)));
    }
}

struct Entity {
    QByteArray text;
    bool isExternal = false;
};

class Costs {
public:
    Costs(const QXmlStreamEntityDeclarations &declarations, qsizetype enough) : m_enough(enough) {
        // Of two declarations of one name the first counts; to take both together errs on the safe side.
        for (const QXmlStreamEntityDeclaration &declaration : declarations) {
            Entity &entity = m_entities[declaration.name().toUtf8()];
            entity.text += declaration.value().toUtf8();
            entity.isExternal |= !declaration.systemId().isEmpty();
        }
    }

    XMLDocumentScan::Replacements of(QByteArrayView name, int depth) {
        const QByteArray key = QByteArray::fromRawData(name.data(), name.size());
        if (const auto known = m_costs.constFind(key); known != m_costs.cend())
            return *known;
        const auto entity = m_entities.constFind(key);
        if (entity == m_entities.cend())
            return {};
        if (depth > LongestChain)
            return {m_enough, false};
        XMLDocumentScan::Replacements cost{entity->text.size(), entity->isExternal};
        eachReference({entity->text.constData(), size_t(entity->text.size())}, [&](QByteArrayView inner) {
            if (cost.size < m_enough) {
                const auto more = of(inner, depth + 1);
                cost = {cost.size + more.size, cost.isExternal || more.isExternal};
            }
        });
        return *m_costs.insert(entity.key(), cost);
    }

private:
    const qsizetype m_enough;
    QHash<QByteArray, Entity> m_entities;
    QHash<QByteArray, XMLDocumentScan::Replacements> m_costs;
};

} // namespace

XMLDocumentScan::XMLDocumentScan(QByteArrayView document, const Limits &limits)
    : m_text(document.data(), size_t(document.size())), m_limits(limits) {
    for (size_t at = 0; at < m_text.size() && m_isWithinLimits;) {
        const size_t markup = std::min(m_text.find('<', at), m_text.size());
        if (m_hasDocumentType)
            eachReference(m_text.substr(at, markup - at),
                          [this](QByteArrayView name) { ++m_references[name]; });
        at = markup < m_text.size() ? afterMarkup(markup) : markup;
    }
}

size_t XMLDocumentScan::after(std::string_view end, size_t from) const {
    const size_t found = m_text.find(end, from);
    return found == m_text.npos ? m_text.size() : found + end.size();
}

size_t XMLDocumentScan::afterMarkup(size_t at) {
    const std::string_view rest = m_text.substr(at);
    if (rest.starts_with("<!--"))
        return after("-->", at + 4);
    if (rest.starts_with("<![CDATA["))
        return after("]]>", at + 9);
    if (rest.starts_with("<?"))
        return after("?>", at + 2);
    return rest.starts_with("<!") ? afterDocumentType(at) : afterTag(at);
}

size_t XMLDocumentScan::afterTag(size_t at) {
    qsizetype attributes = 0;
    for (;;) {
        // Three searches at once, and most tags are short: faster by hand.
        while (at < m_text.size() && m_text[at] != '>' && m_text[at] != '"' && m_text[at] != '\'')
            ++at;
        if (at == m_text.size())
            return at;
        if (m_text[at] == '>')
            return at + 1;
        const size_t close = m_text.find(m_text[at], at + 1);
        if (close == m_text.npos)
            return m_text.size();
        if (m_hasDocumentType)
            eachReference(m_text.substr(at, close - at),
                          [this](QByteArrayView name) { ++m_references[name]; });
        if (++attributes > m_limits.attributes) {
            m_isWithinLimits = false;
            return m_text.size();
        }
        at = close + 1;
    }
}

size_t XMLDocumentScan::afterDocumentType(size_t at) {
    m_hasDocumentType = true;
    int open = 0;
    bool isAttributeList = false;
    qsizetype parameterReferences = 0;
    qsizetype defaults = 0;
    const auto countParameters = [&](std::string_view text) {
        for (size_t found = text.find('%'); found != text.npos; found = text.find('%', found + 1))
            parameterReferences += found + 1 < text.size() && !std::isspace(uchar(text[found + 1]));
    };
    while (m_isWithinLimits) {
        at = m_text.find_first_of("\"'<>%", at);
        if (at == m_text.npos)
            return m_text.size();
        const std::string_view rest = m_text.substr(at);
        if (rest.starts_with("<!--")) {
            at = after("-->", at + 4);
        } else if (rest.starts_with("<?")) {
            at = after("?>", at + 2);
        } else if (rest.front() == '<') {
            ++open;
            isAttributeList = rest.starts_with("<!ATTLIST");
            ++at;
        } else if (rest.front() == '>') {
            ++at;
            if (--open <= 0)
                return at;
        } else if (rest.front() == '%') {
            countParameters(rest.substr(0, 2));
            ++at;
        } else {
            const size_t close = m_text.find(rest.front(), at + 1);
            if (close == m_text.npos)
                return m_text.size();
            const std::string_view literal = m_text.substr(at, close - at);
            countParameters(literal);
            if (isAttributeList) {
                ++defaults;
                eachReference(literal, [&](QByteArrayView) { ++defaults; });
            }
            at = close + 1;
        }
        m_isWithinLimits =
            parameterReferences <= m_limits.parameterReferences && defaults <= m_limits.defaults;
    }
    return m_text.size();
}

XMLDocumentScan::Replacements XMLDocumentScan::replacements(const QXmlStreamEntityDeclarations &declarations,
                                                            qsizetype enough) const {
    Costs costs(declarations, enough);
    Replacements total;
    for (auto it = m_references.cbegin(); it != m_references.cend() && total.size < enough; ++it) {
        const Replacements one = costs.of(it.key(), 0);
        // Neither factor is more than the document's own size or `enough`, but their product may be.
        total.size =
            one.size > (enough - total.size) / it.value() ? enough : total.size + one.size * it.value();
        total.isExternal |= one.isExternal;
    }
    return total;
}
