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

/// Walks over a sheet's tokens, tells what it finds, and knows nothing of what they mean.
class Walker {
public:
    explicit Walker(QStringView css) : m_css(css) {}
    virtual ~Walker() = default;

    void walk() {
        while (m_at < m_css.size())
            step();
    }

protected:
    virtual void unit(qsizetype from, qsizetype unitFrom, qsizetype to) = 0;
    virtual void name(QStringView) {}
    /// A media rule's or media function's condition.
    virtual void condition(qsizetype from, qsizetype to, bool inFunction) = 0;
    virtual void importRuleSeen() {}
    /// A whole page rule.
    virtual void pageRule(qsizetype from, qsizetype to) = 0;

    QStringView text(qsizetype from, qsizetype to) const { return m_css.sliced(from, to - from); }

private:
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
            importRuleSeen();
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

    QStringView m_css;
    qsizetype m_at = 0;
};

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

class UnitFinder final : public Walker {
public:
    UnitFinder(QStringView css, const StyleViewport &viewport) : Walker(css), m_viewport(viewport) { walk(); }
    bool found() const { return m_found; }

private:
    void unit(qsizetype, qsizetype unitFrom, qsizetype to) override {
        m_found |= pixelsOf(text(unitFrom, to), m_viewport) != 0;
    }
    void condition(qsizetype, qsizetype, bool) override {}
    void pageRule(qsizetype, qsizetype) override {}
    const StyleViewport &m_viewport;
    bool m_found = false;
};

bool conditionDepends(QStringView condition, const StyleViewport &viewport) {
    const auto names = [&](const char16_t *feature) {
        return condition.contains(feature, Qt::CaseInsensitive);
    };
    return (viewport.heightChanges && names(u"height")) || (viewport.widthChanges && names(u"width")) ||
           names(u"orientation") || names(u"aspect-ratio") || UnitFinder(condition, viewport).found();
}

class Scanner final : public Walker {
public:
    Scanner(QStringView css, const StyleViewport &viewport) : Walker(css), m_viewport(viewport) { walk(); }
    StyleScan result;

private:
    void unit(qsizetype, qsizetype unitFrom, qsizetype to) override {
        const QStringView unit = text(unitFrom, to);
        result.dependsOnViewport |= pixelsOf(unit, m_viewport) != 0;
        result.hasContainerUnits |= isContainerUnit(unit);
        result.hasLogicalUnits |= isLogical(unit);
    }
    void name(QStringView word) override {
        result.hidesSkippedContent |= is(word, u"content-visibility");
        result.hasContainers |= is(word, u"container") || is(word, u"container-type");
    }
    void condition(qsizetype from, qsizetype to, bool) override {
        const QStringView condition = text(from, to).trimmed();
        if (!conditionDepends(condition, m_viewport))
            return;
        result.dependsOnViewport = true;
        result.conditions << condition.toString();
    }
    void importRuleSeen() override { result.imports = true; }
    void pageRule(qsizetype from, qsizetype to) override {
        result.hasImportantPageRule |= text(from, to).contains(u"important", Qt::CaseInsensitive);
    }
    const StyleViewport &m_viewport;
};

class Freezer final : public Walker {
public:
    Freezer(QStringView css, const StyleViewport &viewport, const QHash<QString, bool> &outcomes)
        : Walker(css), m_viewport(viewport), m_outcomes(outcomes) {
        m_result.reserve(css.size() + css.size() / 16);
        walk();
        m_result += text(m_copied, css.size());
    }
    QString take() { return std::move(m_result); }

private:
    void unit(qsizetype from, qsizetype unitFrom, qsizetype to) override {
        const QStringView name = text(unitFrom, to);
        const double pixels = pixelsOf(name, m_viewport);
        // Which way an element's lines run is its own affair: units of a container know it.
        if (m_viewport.isContainer && isLogical(name)) {
            replace(unitFrom, to,
                    viewportSide(name).compare(u"i", Qt::CaseInsensitive) ? QStringLiteral("cqb")
                                                                          : QStringLiteral("cqi"));
            return;
        }
        if (pixels == 0)
            return;
        const QStringView number = text(from, unitFrom);
        // The sign is also what keeps two numbers apart.
        const bool isSigned = number.front() == u'+';
        const double value = number.sliced(isSigned ? 1 : 0).toDouble() * pixels;
        replace(from, to,
                (isSigned ? QStringLiteral("+") : QString()) + QString::number(value, 'g', 12) +
                    QStringLiteral("px"));
    }
    void condition(qsizetype from, qsizetype to, bool inFunction) override {
        const auto outcome = m_outcomes.constFind(text(from, to).trimmed().toString());
        if (outcome == m_outcomes.cend())
            return;
        if (inFunction)
            replace(from, to, *outcome ? QStringLiteral("min-width: 0px") : QStringLiteral("max-width: 0px"));
        else
            replace(from, to, *outcome ? QStringLiteral(" all ") : QStringLiteral(" not all "));
    }
    void pageRule(qsizetype from, qsizetype to) override { replace(from, to, QStringLiteral(" ")); }

    void replace(qsizetype from, qsizetype to, const QString &with) {
        m_result += text(m_copied, from);
        m_result += with;
        m_copied = to;
    }

    const StyleViewport &m_viewport;
    const QHash<QString, bool> &m_outcomes;
    QString m_result;
    qsizetype m_copied = 0;
};

} // namespace

StyleScan zr::scanStyle(const QString &css, const StyleViewport &viewport) {
    return Scanner(css, viewport).result;
}

QString zr::frozenStyle(const QString &css, const StyleViewport &viewport,
                        const QHash<QString, bool> &outcomes) {
    return Freezer(css, viewport, outcomes).take();
}
