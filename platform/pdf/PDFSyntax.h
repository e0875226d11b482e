// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QByteArrayView>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// One object of PDF syntax, as the place in a file where it stands.
struct PDFValue {
    enum Kind { Null, Boolean, Number, String, Name, Array, Dictionary, Reference };
    Kind kind = Null;
    const char *begin = nullptr;
    const char *end = nullptr;

    std::string_view text() const { return {begin, size_t(end - begin)}; }
    bool isName(std::string_view name) const { return kind == Name && text() == name; }
    /// The number of the object that a reference names; 0 for anything else. Generations other than 0 are not
    /// read as references.
    int object() const;
};

struct PDFEntry {
    std::string_view key;
    PDFValue value;
};

/// The entries of one dictionary, keys with their slash.
class PDFDictionary {
public:
    std::vector<PDFEntry> entries;

    /// The value of a key; null where there is none.
    const PDFValue *find(std::string_view key) const;
    /// True where every key is one of these.
    bool hasOnly(std::initializer_list<std::string_view> keys) const;
};

/// Is told of every array, dictionary and reference, inner ones first.
class PDFVisitor {
public:
    virtual ~PDFVisitor() = default;
    virtual void array(const PDFValue &value, std::span<const PDFValue> elements) = 0;
    virtual void dictionary(const PDFValue &value, std::span<const PDFEntry> entries) = 0;
    virtual void reference(int object) = 0;
};

/// A strict reader of the plain syntax that PDF producers write: anything unusual (comments inside objects,
/// escaped or repeated keys in a dictionary that is looked into, deep nesting, odd characters) is refused.
class PDFSyntax {
public:
    PDFSyntax(const char *begin, const char *end, PDFVisitor *visitor = nullptr)
        : m_at(begin), m_end(end), m_visitor(visitor) {}

    const char *at() const { return m_at; }
    void skipSpace();
    /// Takes `word` if it comes next (white space before it is skipped) and ends there.
    bool word(std::string_view word);
    /// Takes digits, at most 10.
    std::optional<qint64> integer();
    bool value(PDFValue &value) { return this->value(value, 0); }

    static bool isSpace(char c);
    static bool isDelimiter(char c);

    /// The entries of a dictionary value; nothing where it is none, or has escaped or repeated keys.
    static std::optional<PDFDictionary> dictionary(const PDFValue &value);
    /// The elements of an array value; nothing where it is none.
    static std::optional<std::vector<PDFValue>> array(const PDFValue &value);
    /// The elements of an array of numbers; nothing where it is something else.
    static std::optional<std::vector<double>> numbers(const PDFValue &value);

private:
    bool value(PDFValue &value, int depth);
    bool arrayRest(PDFValue &value, int depth);
    bool dictionaryRest(PDFValue &value, int depth);
    bool stringRest(PDFValue &value);
    bool hexRest(PDFValue &value);
    void referenceRest(PDFValue &value);

    const char *m_at;
    const char *m_end;
    PDFVisitor *m_visitor;
    std::vector<PDFValue> m_elements;
    std::vector<PDFEntry> m_entries;
};
