// SPDX-License-Identifier: MIT
#include "platform/text/JSONKeys.h"
#include "platform/text/NSJSONSerialization.h"
#include "platform/text/RapidJSON.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSLog.h"
#include "platform/values/ValueKind.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace zr {

namespace {

[[noreturn]] void refuse(const QString &why) {
    throw NSException(NSInvalidArgumentException, why);
}

/// Where the library writes to. A slash stands in strings only, so that it can be escaped here.
class Output {
public:
    using Ch = char;

    explicit Output(bool escapesSlashes) : m_escapesSlashes(escapesSlashes) {}
    void Put(char c) {
        if (c == '/' && m_escapesSlashes)
            m_text.push_back('\\');
        m_text.push_back(c);
    }
    void Flush() {}
    const std::string &text() const { return m_text; }

private:
    const bool m_escapesSlashes;
    // Its push_back() is inline: this runs for each character.
    std::string m_text;
};

bool isUnsigned(const QVariant &number) {
    switch (number.typeId()) {
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

/// Writes values through a writer of the library.
template <typename Writer>
class ValueWriter {
public:
    ValueWriter(Output &output, NSJSONWritingOptions options)
        : m_output(output), m_options(options), m_writer(output) {
        if constexpr (requires { m_writer.SetIndent(' ', 2); })
            m_writer.SetIndent(' ', 2);
    }

    void value(const QVariant &given) {
        QVariant made;
        const QVariant &value = plain(given, made);
        switch (kindOf(value)) {
        case ValueKind::Nil:
            refuse(QStringLiteral("Invalid value in JSON write: nil"));
        case ValueKind::Null:
            m_writer.Null();
            return;
        case ValueKind::Number:
            return number(value);
        case ValueKind::Decimal:
            return decimal(held<NSDecimalNumber>(value));
        case ValueKind::String:
            return string(value.toString());
        case ValueKind::Array:
            return array(arrayOf(value));
        case ValueKind::Dictionary:
            return object(value);
        default:
            refuse(NSFormat("Invalid type in JSON write (%s)", {value.metaType().name()}));
        }
    }

private:
    void number(const QVariant &value) {
        if (value.typeId() == QMetaType::Bool)
            m_writer.Bool(value.toBool());
        else if (value.typeId() == QMetaType::Double)
            floatingPoint(value.toDouble());
        else if (value.typeId() == QMetaType::Float)
            floatingPoint(value.toFloat());
        else if (isUnsigned(value))
            m_writer.Uint64(value.toULongLong());
        else
            m_writer.Int64(value.toLongLong());
    }
    /// The shortest text that reads back the same; without an exponent as far as whole numbers are exact.
    template <typename Number>
    void floatingPoint(Number number) {
        if (!std::isfinite(number))
            refuse(NSFormat("Invalid number value (%s) in JSON write",
                            {std::isnan(number) ? "NaN" : "infinite"}));
        constexpr auto lastExact = Number(quint64(1) << std::numeric_limits<Number>::digits);
        const bool isExact = std::abs(number) <= lastExact && std::trunc(number) == number;
        std::array<char, 32> text;
        char *const end = text.data() + text.size();
        raw(QByteArrayView(text.data(),
                           isExact ? std::to_chars(text.data(), end, number, std::chars_format::fixed).ptr
                                   : std::to_chars(text.data(), end, number).ptr));
    }
    void decimal(const NSDecimalNumber &number) {
        if (number.isNaN())
            refuse(QStringLiteral("Invalid number value (NaN) in JSON write"));
        raw(number.stringValue().toLatin1());
    }
    void raw(QByteArrayView text) {
        m_writer.RawValue(text.data(), size_t(text.size()), rapidjson::kNumberType);
    }
    QByteArray encoded(const QString &text) {
        if (text.isNull())
            refuse(QStringLiteral("Invalid value in JSON write: a nil string"));
        if (!text.isValidUtf16())
            refuse(QStringLiteral("Invalid string in JSON write: half a surrogate pair"));
        return text.toUtf8();
    }
    void string(const QString &text) {
        const QByteArray bytes = encoded(text);
        m_writer.String(bytes.constData(), rapidjson::SizeType(bytes.size()));
    }
    void array(const QVariantList &elements) {
        enter();
        m_writer.StartArray();
        for (const QVariant &element : elements)
            value(element);
        m_writer.EndArray();
        --m_depth;
    }
    void object(const QVariant &dictionary) {
        requireTextKeys(dictionary);
        DictionaryEntries entries = entriesOf(dictionary);
        if (m_options & NSJSONWritingSortedKeys)
            std::sort(entries.begin(), entries.end(),
                      [](const auto &a, const auto &b) { return a.first < b.first; });
        enter();
        m_writer.StartObject();
        for (const auto &[key, member] : entries) {
            const QByteArray bytes = encoded(key);
            m_writer.Key(bytes.constData(), rapidjson::SizeType(bytes.size()));
            if (m_options & NSJSONWritingPrettyPrinted)
                m_output.Put(' ');
            value(member);
        }
        m_writer.EndObject();
        --m_depth;
    }
    void enter() {
        if (++m_depth > NSJSONSerialization::MaximumDepth)
            refuse(QStringLiteral("Too many nested arrays or dictionaries in JSON write"));
    }

    Output &m_output;
    const NSJSONWritingOptions m_options;
    Writer m_writer;
    int m_depth = 0;
};

} // namespace

} // namespace zr

QByteArray NSJSONSerialization::dataWithJSONObject(const QVariant &object, NSJSONWritingOptions options) {
    zr::Output output(!(options & NSJSONWritingWithoutEscapingSlashes));
    if (options & NSJSONWritingPrettyPrinted)
        zr::ValueWriter<rapidjson::PrettyWriter<zr::Output>>(output, options).value(object);
    else
        zr::ValueWriter<rapidjson::Writer<zr::Output>>(output, options).value(object);
    const bool isContainer = output.text().starts_with('{') || output.text().starts_with('[');
    if (!isContainer && !(options & NSJSONWritingFragmentsAllowed))
        zr::refuse(QStringLiteral("Invalid top-level type in JSON write: neither an array nor a dictionary"));
    return QByteArray::fromStdString(output.text());
}

bool NSJSONSerialization::isValidJSONObject(const QVariant &object) {
    try {
        dataWithJSONObject(object);
        return true;
    } catch (const NSException &) {
        return false;
    }
}
