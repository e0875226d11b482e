// SPDX-License-Identifier: MIT
#include "platform/text/NSJSONSerialization.h"
#include "platform/text/RapidJSON.h"
#include "platform/text/UTF8.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"

#include <QVariantList>
#include <QVariantMap>
#include <charconv>
#include <cmath>
#include <vector>

namespace zr {

namespace {

constexpr qint64 CorruptText = 3840;

template <typename Number>
bool reads(const QByteArray &digits, Number &number) {
    return std::from_chars(digits.cbegin(), digits.cend(), number).ec == std::errc();
}

/// Makes a value of the events of a JSON text.
class ValueMaker {
public:
    explicit ValueMaker(bool fragmentsAllowed) : m_fragmentsAllowed(fragmentsAllowed) {}

    const QVariant &value() const { return m_value; }
    /// Why an event was refused.
    const char *problem() const { return m_problem; }

    bool Null() { return scalar(NSNull()); }
    bool Bool(bool value) { return scalar(value); }
    bool String(const char *text, size_t size, bool) {
        QString string;
        return decoded(text, size, string) && scalar(string);
    }
    /// Numbers come as their text, which is a number's by its form.
    bool RawNumber(const char *text, size_t size, bool) {
        const QByteArray digits(text, qsizetype(size));
        qlonglong integer = 0;
        qulonglong natural = 0;
        if (digits.contains('.') || digits.contains('e') || digits.contains('E') || digits == "-0")
            return floatingPoint(digits);
        if (reads(digits, integer))
            return scalar(integer);
        return reads(digits, natural) ? scalar(natural) : floatingPoint(digits);
    }
    bool StartArray() { return begin({}); }
    bool EndArray(size_t) {
        const QVariantList array = std::move(m_open.back().array);
        m_open.pop_back();
        return put(array);
    }
    bool StartObject() { return begin({}); }
    bool Key(const char *text, size_t size, bool) {
        m_open.back().isObject = true;
        return decoded(text, size, m_open.back().key);
    }
    bool EndObject(size_t) {
        const QVariantMap object = std::move(m_open.back().object);
        m_open.pop_back();
        return put(object);
    }
    // Never called for texts whose numbers come as texts.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(qint64) { return false; }
    bool Uint64(quint64) { return false; }
    bool Double(double) { return false; }

private:
    struct Container {
        QVariantList array;
        QVariantMap object;
        QString key;
        bool isObject = false;
    };

    bool refuse(const char *problem) {
        m_problem = problem;
        return false;
    }
    bool begin(Container container) {
        if (m_open.size() == NSJSONSerialization::MaximumDepth)
            return refuse("too many arrays and objects within one another");
        m_open.push_back(std::move(container));
        return true;
    }
    /// The reader passes on any bytes, and writes an escaped half of a pair as bytes of its own.
    bool decoded(const char *text, size_t size, QString &string) {
        string = NSStringFromUTF8(QByteArrayView(text, qsizetype(size)));
        if (string.isNull())
            return refuse("a string that is not UTF-8, or half a surrogate pair");
        return true;
    }
    bool floatingPoint(const QByteArray &digits) {
        double number = 0;
        if (!reads(digits, number)) {
            // Out of range both ways: only strtod() tells which.
            number = std::strtod(digits.constData(), nullptr);
            if (std::isinf(number))
                return refuse("a number too large");
        }
        return scalar(number);
    }
    bool scalar(const QVariant &value) {
        if (m_open.empty() && !m_fragmentsAllowed)
            return refuse("the text does not begin with an array or an object");
        return put(value);
    }
    bool put(const QVariant &value) {
        if (m_open.empty())
            m_value = value;
        else if (m_open.back().isObject)
            m_open.back().object.insert(m_open.back().key, value);
        else
            m_open.back().array.append(value);
        return true;
    }

    const bool m_fragmentsAllowed;
    std::vector<Container> m_open;
    QVariant m_value;
    const char *m_problem = nullptr;
};

NSError readingError(QByteArrayView text, const char *problem, size_t position) {
    const QByteArrayView before = text.first(qMin(qsizetype(position), text.size()));
    const qsizetype line = before.count('\n') + 1;
    const qsizetype column = before.size() - (before.lastIndexOf('\n') + 1) + 1;
    return NSError(NSCocoaErrorDomain, CorruptText,
                   {{NSLocalizedDescriptionKey,
                     NSFormat("The text is not JSON: %s (line %d, byte %d)", {problem, line, column})}});
}

} // namespace

} // namespace zr

QVariant NSJSONSerialization::JSONObjectWithData(const QByteArray &data, NSJSONReadingOptions options,
                                                 NSError *error) {
    using namespace rapidjson;
    // Without recursion, whatever the depth; numbers as texts, since the reader's own are not always the nearest.
    constexpr unsigned flags = kParseIterativeFlag | kParseNumbersAsStringsFlag;
    const qsizetype mark = data.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    MemoryStream stream(data.constData() + mark, size_t(data.size() - mark));
    zr::ValueMaker maker(options & NSJSONReadingFragmentsAllowed);
    Reader reader;
    const ParseResult result = reader.Parse<flags>(stream, maker);
    // The reader takes a NUL for the end.
    const bool ended = stream.Tell() == stream.size_;
    if (!result.IsError() && ended)
        return maker.value();
    if (error) {
        const char *const problem = maker.problem()    ? maker.problem()
                                    : result.IsError() ? GetParseError_En(result.Code())
                                                       : "something follows the value";
        *error = zr::readingError(data, problem,
                                  size_t(mark) + (result.IsError() ? result.Offset() : stream.Tell()));
    }
    return {};
}
