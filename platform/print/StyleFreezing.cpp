// SPDX-License-Identifier: MIT
#include "platform/print/StyleFreezing.h"

#include "platform/base/ASCII.h"

#include <algorithm>
#include <array>

using namespace zr;

namespace {

bool isNameStart(char16_t c) {
    return isASCIILetter(c) || c == u'_' || c == u'\\' || c >= 0x80;
}
bool isName(char16_t c) {
    return isNameStart(c) || isASCIIDigit(c) || c == u'-';
}
bool is(QStringView text, QStringView name) {
    return text.compare(name, Qt::CaseInsensitive) == 0;
}

/// What follows the v of a viewport unit, large, small or dynamic; empty for other units.
QStringView viewportSide(QStringView unit) {
    if (unit.size() < 2 || unit.size() > 5)
        return {};
    const QChar first = unit[0].toLower();
    if (unit.size() > 2 && (first == u's' || first == u'l' || first == u'd') && unit[1].toLower() == u'v')
        unit = unit.sliced(1);
    return unit[0].toLower() == u'v' ? unit.sliced(1) : QStringView();
}

bool isLogical(QStringView unit) {
    const QStringView side = viewportSide(unit);
    return is(side, u"i") || is(side, u"b");
}

/// Pixels to one of a unit; 0 for units that the paper does not change.
double pixelsOf(QStringView unit, const StyleViewport &viewport) {
    const QStringView side = viewportSide(unit);
    if (side.isEmpty())
        return 0;
    const double width = viewport.widthChanges ? viewport.width / 100 : 0;
    const double height = viewport.heightChanges ? viewport.height / 100 : 0;
    const bool changes = viewport.widthChanges || viewport.heightChanges;
    if (is(side, u"h"))
        return height;
    if (is(side, u"w"))
        return width;
    if (is(side, u"b"))
        return viewport.isVertical ? width : height;
    if (is(side, u"i"))
        return viewport.isVertical ? height : width;
    if (is(side, u"min") && changes)
        return std::min(viewport.width, viewport.height) / 100;
    if (is(side, u"max") && changes)
        return std::max(viewport.width, viewport.height) / 100;
    return 0;
}

bool isContainerUnit(QStringView unit) {
    static constexpr std::array units = {u"cqw", u"cqh", u"cqi", u"cqb", u"cqmin", u"cqmax"};
    return std::any_of(units.begin(), units.end(), [&](const char16_t *name) { return is(unit, name); });
}

/// Reads a sheet's tokens, notes what matters of them and writes the sheet anew.
class Reader {
public:
    Reader(QStringView css, const StyleViewport &viewport, const QHash<QString, bool> &outcomes = {})
        : m_css(css), m_viewport(viewport), m_outcomes(outcomes) {
        while (m_at < m_css.size())
            step();
        frozen += text(m_copied, css.size());
    }
    StyleScan scan;
    QString frozen;

private:
    QStringView text(qsizetype from, qsizetype to) const { return m_css.sliced(from, to - from); }
    char16_t at(qsizetype i) const { return i < m_css.size() ? m_css[i].unicode() : u'\0'; }

    void step() {
        const char16_t c = at(m_at);
        if (skipped())
            return;
        if (c == u'@' && (isNameStart(at(m_at + 1)) || at(m_at + 1) == u'-'))
            atRule();
        else if (c == u'#' && isName(at(m_at + 1)))
            m_at = nameEnd(m_at + 1);
        else if (startsNumber())
            number();
        else if (isNameStart(c) || (c == u'-' && (isNameStart(at(m_at + 1)) || at(m_at + 1) == u'-')))
            identifier();
        else
            ++m_at;
    }

    /// Moves past a comment or a string.
    bool skipped() {
        const char16_t c = at(m_at);
        if (c == u'/' && at(m_at + 1) == u'*') {
            const qsizetype end = m_css.indexOf(u"*/", m_at + 2);
            m_at = end < 0 ? m_css.size() : end + 2;
            return true;
        }
        if (c != u'"' && c != u'\'')
            return false;
        for (++m_at; m_at < m_css.size(); ++m_at) {
            if (at(m_at) == u'\\')
                ++m_at;
            else if (at(m_at) == c || at(m_at) == u'\n')
                break;
        }
        m_at = std::min(m_at + 1, m_css.size());
        return true;
    }

    qsizetype nameEnd(qsizetype i) const {
        while (i < m_css.size() && isName(at(i)))
            i = at(i) == u'\\' ? escapeEnd(i) : i + 1;
        return std::min(i, m_css.size());
    }

    /// An escape is a backslash and a character, or up to six hexadecimal digits and one space.
    qsizetype escapeEnd(qsizetype i) const {
        const qsizetype first = ++i;
        while (i < m_css.size() && i < first + 6 && hexDigitValue(at(i)) >= 0)
            ++i;
        return i == first ? i + 1 : i + (isASCIISpace(at(i)) ? 1 : 0);
    }

    bool startsNumber() const {
        qsizetype i = m_at + (at(m_at) == u'+' || at(m_at) == u'-' ? 1 : 0);
        i += at(i) == u'.' ? 1 : 0;
        return isASCIIDigit(at(i));
    }

    void number() {
        const qsizetype from = m_at;
        m_at += at(m_at) == u'+' || at(m_at) == u'-' ? 1 : 0;
        digits();
        if (at(m_at) == u'.' && isASCIIDigit(at(m_at + 1))) {
            ++m_at;
            digits();
        }
        if (at(m_at) == u'e' || at(m_at) == u'E') {
            const qsizetype sign = at(m_at + 1) == u'+' || at(m_at + 1) == u'-' ? 1 : 0;
            if (isASCIIDigit(at(m_at + 1 + sign))) {
                m_at += 1 + sign;
                digits();
            }
        }
        const qsizetype unitFrom = m_at;
        if (isNameStart(at(m_at)) || (at(m_at) == u'-' && isNameStart(at(m_at + 1)))) {
            m_at = nameEnd(m_at);
            unit(from, unitFrom, m_at);
        }
    }
    void digits() {
        while (isASCIIDigit(at(m_at)))
            ++m_at;
    }

    void identifier() {
        const qsizetype from = m_at;
        m_at = nameEnd(m_at);
        const QStringView word = text(from, m_at);
        if (at(m_at) != u'(') {
            name(word);
            return;
        }
        ++m_at;
        if (is(word, u"url")) {
            while (isASCIISpace(at(m_at)))
                ++m_at;
            if (at(m_at) == u'"' || at(m_at) == u'\'')
                return;
            while (m_at < m_css.size() && at(m_at) != u')')
                m_at += at(m_at) == u'\\' ? 2 : 1;
            m_at = std::min(m_at + 1, m_css.size());
        } else if (is(word, u"media")) {
            const qsizetype start = m_at;
            balance(u")");
            condition(start, m_at, true);
        }
    }

    /// Moves to the first of the characters outside of brackets, strings and comments.
    void balance(QStringView ends) {
        int depth = 0;
        while (m_at < m_css.size()) {
            const char16_t c = at(m_at);
            if (depth == 0 && ends.contains(c))
                return;
            if (skipped())
                continue;
            depth += c == u'(' || c == u'[' || c == u'{';
            depth -= (c == u')' || c == u']' || c == u'}') && depth > 0;
            m_at += c == u'\\' ? 2 : 1;
        }
        m_at = std::min(m_at, m_css.size());
    }

    void atRule() {
        const qsizetype from = m_at;
        m_at = nameEnd(m_at + 1);
        const QStringView rule = text(from + 1, m_at);
        if (is(rule, u"media")) {
            const qsizetype start = m_at;
            balance(u"{;}");
            condition(start, m_at, false);
        } else if (is(rule, u"import")) {
            scan.imports = true;
            importRule();
        } else if (is(rule, u"page")) {
            balance(u"{;}");
            if (at(m_at) == u'{') {
                ++m_at;
                balance(u"}");
                m_at = std::min(m_at + 1, m_css.size());
                pageRule(from, m_at);
            }
        }
    }

    /// `@import` URL, layer and supports, of which the rest is the media condition.
    void importRule() {
        while (isASCIISpace(at(m_at)))
            ++m_at;
        if (!skipped() && nameEnd(m_at) > m_at)
            identifierOrFunction();
        for (;;) {
            while (isASCIISpace(at(m_at)) || (at(m_at) == u'/' && at(m_at + 1) == u'*')) {
                if (!skipped())
                    ++m_at;
            }
            const QStringView word = text(m_at, nameEnd(m_at));
            if (!is(word, u"layer") && !is(word, u"supports"))
                break;
            identifierOrFunction();
        }
        const qsizetype start = m_at;
        balance(u";}");
        if (m_at > start)
            condition(start, m_at, false);
    }
    void identifierOrFunction() {
        m_at = nameEnd(m_at);
        if (at(m_at) == u'(') {
            ++m_at;
            balance(u")");
            m_at = std::min(m_at + 1, m_css.size());
        }
    }

    void unit(qsizetype from, qsizetype unitFrom, qsizetype to) {
        const QStringView name = text(unitFrom, to);
        const double pixels = pixelsOf(name, m_viewport);
        scan.dependsOnViewport |= pixels != 0;
        scan.hasContainerUnits |= isContainerUnit(name);
        scan.hasLogicalUnits |= isLogical(name);
        // Which way an element's lines run is its own affair: units of a container know it.
        if (m_viewport.isContainer && isLogical(name)) {
            replace(unitFrom, to,
                    is(viewportSide(name), u"i") ? QStringLiteral("cqi") : QStringLiteral("cqb"));
        } else if (pixels != 0) {
            const QStringView number = text(from, unitFrom);
            // The sign is also what keeps two numbers apart.
            const bool isSigned = number.front() == u'+';
            const double value = number.sliced(isSigned ? 1 : 0).toDouble() * pixels;
            replace(from, to,
                    (isSigned ? QStringLiteral("+") : QString()) + QString::number(value, 'g', 12) +
                        QStringLiteral("px"));
        }
    }
    void name(QStringView word) {
        scan.hidesSkippedContent |= is(word, u"content-visibility");
        scan.hasContainers |= is(word, u"container") || is(word, u"container-type");
    }
    /// A media rule's or media function's condition.
    void condition(qsizetype from, qsizetype to, bool inFunction) {
        const QString condition = text(from, to).trimmed().toString();
        if (dependsOnViewport(condition)) {
            scan.dependsOnViewport = true;
            scan.conditions << condition;
        }
        const auto outcome = m_outcomes.constFind(condition);
        if (outcome == m_outcomes.cend())
            return;
        if (inFunction)
            replace(from, to, *outcome ? QStringLiteral("min-width: 0px") : QStringLiteral("max-width: 0px"));
        else
            replace(from, to, *outcome ? QStringLiteral(" all ") : QStringLiteral(" not all "));
    }
    bool dependsOnViewport(const QString &condition) const {
        const auto names = [&](QLatin1StringView feature) {
            return condition.contains(feature, Qt::CaseInsensitive);
        };
        return (m_viewport.heightChanges && names(QLatin1StringView("height"))) ||
               (m_viewport.widthChanges && names(QLatin1StringView("width"))) ||
               names(QLatin1StringView("orientation")) || names(QLatin1StringView("aspect-ratio")) ||
               Reader(condition, m_viewport).scan.dependsOnViewport;
    }
    /// A whole page rule.
    void pageRule(qsizetype from, qsizetype to) {
        scan.hasImportantPageRule |= text(from, to).contains(u"important", Qt::CaseInsensitive);
        replace(from, to, QStringLiteral(" "));
    }

    void replace(qsizetype from, qsizetype to, const QString &with) {
        frozen += text(m_copied, from);
        frozen += with;
        m_copied = to;
    }

    const QStringView m_css;
    const StyleViewport &m_viewport;
    const QHash<QString, bool> m_outcomes;
    qsizetype m_at = 0;
    qsizetype m_copied = 0;
};

} // namespace

StyleScan zr::scanStyle(const QString &css, const StyleViewport &viewport) {
    return Reader(css, viewport).scan;
}

QString zr::frozenStyle(const QString &css, const StyleViewport &viewport,
                        const QHash<QString, bool> &outcomes) {
    return Reader(css, viewport, outcomes).frozen;
}
