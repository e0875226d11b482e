// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace zr {

/// Collects the objects of one binary property list and writes them in one pass.
///
/// Strings and data are kept by reference until then, so a large one is copied once: into the document. Equal
/// numbers and short strings are stored once; so are long strings and data that share their bytes. One
/// thread.
class BinaryPropertyListWriter {
public:
    using Ref = quint32;

    /// A text, data, a boolean or a number; nothing for any other kind of value.
    std::optional<Ref> addPlain(const QVariant &value);
    Ref addNull() { return addUnique(Kind::Null, 0); }
    Ref addBool(bool value) { return addUnique(Kind::Bool, value); }
    Ref addInteger(qint64 value) { return addUnique(Kind::Integer, quint64(value)); }
    Ref addReal(double value);
    /// Seconds since 2001-01-01 00:00:00 UTC.
    Ref addDate(double seconds);
    Ref addUid(quint64 value) { return addUnique(Kind::Uid, value); }
    Ref addString(const QString &text);
    Ref addData(const QByteArray &data);

    /// A number for a container whose contents are added before it is set. The first object of all becomes
    /// the document's top object.
    Ref reserve();
    void setArray(Ref ref, const std::vector<Ref> &elements);
    void setSet(Ref ref, const std::vector<Ref> &elements);
    /// Keys and values in pairs of equal index.
    void setDictionary(Ref ref, const std::vector<Ref> &keys, const std::vector<Ref> &values);

    /// The whole document.
    QByteArray document() const;

private:
    enum class Kind : quint8 {
        Null,
        Bool,
        Integer,
        Unsigned,
        Real,
        ShortReal,
        Date,
        Uid,
        Ascii,
        Utf16,
        Data,
        Array,
        Set,
        Dictionary
    };

    struct Object {
        Kind kind;
        /// The scalar itself, or the index of the first piece in the pool of its kind.
        quint64 payload;
        quint64 count;
    };

    struct Scalar {
        Kind kind;
        quint64 bits;
        friend bool operator==(const Scalar &, const Scalar &) = default;
        friend size_t qHash(const Scalar &scalar, size_t seed) {
            return ::qHash(scalar.bits * Q_UINT64_C(0x9e3779b97f4a7c15) ^ quint64(scalar.kind), seed);
        }
    };

    Ref add(Kind kind, quint64 payload, quint64 count);
    Ref addUnique(Kind kind, quint64 bits);
    void setContainer(Ref ref, Kind kind, quint64 count,
                      std::initializer_list<const std::vector<Ref> *> parts);

    std::vector<Object> m_objects;
    quint64 m_contents = 0; ///< bytes that texts and data take at least
    std::vector<QString> m_strings;
    std::vector<QByteArray> m_data;
    std::vector<Ref> m_refs;
    QHash<Scalar, Ref> m_scalars;
    QHash<QString, Ref> m_shortStrings;
    QHash<const void *, Ref> m_sharedBytes;
};

} // namespace zr
