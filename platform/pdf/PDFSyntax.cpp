// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFSyntax.h"

#include "platform/pdf/PDFNumber.h"

#include <algorithm>
#include <array>

namespace {

constexpr int deepest = 64;

enum CharacterClass : unsigned char { Regular, Space, Delimiter };

constexpr std::array<CharacterClass, 256> classes = [] {
    std::array<CharacterClass, 256> table{};
    for (const char c : {'\0', '\t', '\n', '\f', '\r', ' '})
        table[static_cast<unsigned char>(c)] = Space;
    for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
        table[static_cast<unsigned char>(c)] = Delimiter;
    return table;
}();

bool isRegular(char c) {
    return classes[static_cast<unsigned char>(c)] == Regular;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

int PDFValue::object() const {
    if (kind != Reference)
        return 0;
    int number = 0;
    for (const char *c = begin; isDigit(*c); ++c)
        number = number * 10 + (*c - '0');
    return number;
}

const PDFValue *PDFDictionary::find(std::string_view key) const {
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const PDFEntry &entry) { return entry.key == key; });
    return found == entries.end() ? nullptr : &found->value;
}

bool PDFDictionary::hasOnly(std::initializer_list<std::string_view> keys) const {
    return std::all_of(entries.begin(), entries.end(), [&](const PDFEntry &entry) {
        return std::find(keys.begin(), keys.end(), entry.key) != keys.end();
    });
}

bool PDFSyntax::isSpace(char c) {
    return classes[static_cast<unsigned char>(c)] == Space;
}

bool PDFSyntax::isDelimiter(char c) {
    return classes[static_cast<unsigned char>(c)] == Delimiter;
}

void PDFSyntax::skipSpace() {
    while (m_at < m_end && isSpace(*m_at))
        ++m_at;
}

bool PDFSyntax::word(std::string_view word) {
    skipSpace();
    if (size_t(m_end - m_at) < word.size() || std::string_view(m_at, word.size()) != word)
        return false;
    const char *after = m_at + word.size();
    if (after < m_end && isRegular(*after) && isRegular(word.back()))
        return false;
    m_at = after;
    return true;
}

std::optional<qint64> PDFSyntax::integer() {
    skipSpace();
    const char *start = m_at;
    qint64 number = 0;
    for (; m_at < m_end && isDigit(*m_at); ++m_at) {
        if (m_at - start == 10)
            return std::nullopt;
        number = number * 10 + (*m_at - '0');
    }
    if (m_at == start || (m_at < m_end && isRegular(*m_at)))
        return std::nullopt;
    return number;
}

bool PDFSyntax::value(PDFValue &value, int depth) {
    skipSpace();
    if (m_at == m_end || depth > deepest)
        return false;
    value.begin = m_at;
    const char first = *m_at;
    if (first == '/') {
        ++m_at;
        while (m_at < m_end && isRegular(*m_at))
            ++m_at;
        value.kind = PDFValue::Name;
        value.end = m_at;
        return true;
    }
    if (first == '[')
        return arrayRest(value, depth);
    if (first == '<')
        return m_at + 1 < m_end && m_at[1] == '<' ? dictionaryRest(value, depth) : hexRest(value);
    if (first == '(')
        return stringRest(value);
    if (!isRegular(first))
        return false;
    while (m_at < m_end && isRegular(*m_at))
        ++m_at;
    value.end = m_at;
    const std::string_view text = value.text();
    if (text == "true" || text == "false")
        value.kind = PDFValue::Boolean;
    else if (text == "null")
        value.kind = PDFValue::Null;
    else if (PDFParseNumber(text)) {
        value.kind = PDFValue::Number;
        if (isDigit(first))
            referenceRest(value);
    } else
        return false;
    return true;
}

// Makes a reference of a number if " 0 R" follows.
void PDFSyntax::referenceRest(PDFValue &value) {
    const std::string_view text = value.text();
    if (text.size() > 8 || text == "0" || !std::all_of(text.begin(), text.end(), isDigit))
        return;
    const char *after = m_at;
    const auto generation = integer();
    if (generation == 0 && word("R")) {
        value.kind = PDFValue::Reference;
        value.end = m_at;
        if (m_visitor)
            m_visitor->reference(value.object());
    } else {
        m_at = after;
    }
}

bool PDFSyntax::stringRest(PDFValue &value) {
    int open = 0;
    for (; m_at < m_end; ++m_at) {
        if (*m_at == '\\') {
            if (++m_at == m_end)
                return false;
        } else if (*m_at == '(') {
            ++open;
        } else if (*m_at == ')' && --open == 0) {
            value.kind = PDFValue::String;
            value.end = ++m_at;
            return true;
        }
    }
    return false;
}

bool PDFSyntax::hexRest(PDFValue &value) {
    for (++m_at; m_at < m_end; ++m_at) {
        if (*m_at == '>') {
            value.kind = PDFValue::String;
            value.end = ++m_at;
            return true;
        }
        const bool digit = isDigit(*m_at) || (*m_at >= 'a' && *m_at <= 'f') || (*m_at >= 'A' && *m_at <= 'F');
        if (!digit && !isSpace(*m_at))
            return false;
    }
    return false;
}

bool PDFSyntax::arrayRest(PDFValue &value, int depth) {
    const size_t base = m_elements.size();
    ++m_at;
    while (!word("]")) {
        PDFValue element;
        if (!this->value(element, depth + 1))
            return false;
        m_elements.push_back(element);
    }
    value.kind = PDFValue::Array;
    value.end = m_at;
    if (m_visitor)
        m_visitor->array(value, std::span(m_elements).subspan(base));
    m_elements.resize(base);
    return true;
}

bool PDFSyntax::dictionaryRest(PDFValue &value, int depth) {
    const size_t base = m_entries.size();
    m_at += 2;
    while (!word(">>")) {
        PDFValue key, content;
        if (!this->value(key, depth + 1) || key.kind != PDFValue::Name || !this->value(content, depth + 1))
            return false;
        m_entries.push_back({key.text(), content});
    }
    value.kind = PDFValue::Dictionary;
    value.end = m_at;
    if (m_visitor)
        m_visitor->dictionary(value, std::span(m_entries).subspan(base));
    m_entries.resize(base);
    return true;
}

namespace {

// Keeps what is on the outermost level, which comes last.
class Outermost : public PDFVisitor {
public:
    void array(const PDFValue &, std::span<const PDFValue> elements) override {
        lastElements.assign(elements.begin(), elements.end());
    }
    void dictionary(const PDFValue &, std::span<const PDFEntry> entries) override {
        lastEntries.assign(entries.begin(), entries.end());
    }
    void reference(int) override {}

    std::vector<PDFValue> lastElements;
    std::vector<PDFEntry> lastEntries;
};

} // namespace

std::optional<PDFDictionary> PDFSyntax::dictionary(const PDFValue &value) {
    Outermost outermost;
    PDFValue again;
    if (value.kind != PDFValue::Dictionary || !PDFSyntax(value.begin, value.end, &outermost).value(again))
        return std::nullopt;
    PDFDictionary dictionary{std::move(outermost.lastEntries)};
    std::vector<std::string_view> keys;
    for (const PDFEntry &entry : dictionary.entries) {
        if (entry.key.find('#') != std::string_view::npos)
            return std::nullopt;
        keys.push_back(entry.key);
    }
    std::sort(keys.begin(), keys.end());
    if (std::adjacent_find(keys.begin(), keys.end()) != keys.end())
        return std::nullopt;
    return dictionary;
}

std::optional<std::vector<PDFValue>> PDFSyntax::array(const PDFValue &value) {
    Outermost outermost;
    PDFValue again;
    if (value.kind != PDFValue::Array || !PDFSyntax(value.begin, value.end, &outermost).value(again))
        return std::nullopt;
    return std::move(outermost.lastElements);
}

std::optional<std::vector<double>> PDFSyntax::numbers(const PDFValue &value) {
    const auto elements = array(value);
    if (!elements)
        return std::nullopt;
    std::vector<double> numbers;
    for (const PDFValue &element : *elements) {
        if (element.kind != PDFValue::Number)
            return std::nullopt;
        numbers.push_back(*PDFParseNumber(element.text()));
    }
    return numbers;
}
