// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVariant>
#include <vector>

namespace zr {

/// Checked access to the objects of one binary property list, by their numbers.
///
/// The format: an eight-byte header, objects (a marker byte each, kind above, size below), a table of the
/// objects' offsets, and a 32-byte trailer. Nothing in it is trusted: a view that object() hands out lies
/// within the object area, references lie within the table, and objects may not overlap. Every fault raises
/// NSPropertyListReadCorruptError. Keeps a reference to the bytes; one thread.
class BinaryPropertyListReader {
public:
    using Ref = quint32;

    enum class Kind : quint8 {
        Null,
        Bool,
        Integer,
        Real,
        Date,
        Data,
        Ascii,
        Utf16,
        Uid,
        Array,
        Set,
        OrderedSet,
        Dictionary
    };

    /// One object: its payload where it lies in the document.
    struct Object {
        Kind kind;
        bool truth = false;
        /// Bytes of a scalar or of data, units of a string, elements of a container.
        quint64 count = 0;
        const uchar *payload = nullptr;

        bool isContainer() const { return kind >= Kind::Array; }
    };

    /// Checks header and trailer.
    explicit BinaryPropertyListReader(const QByteArray &data);

    static bool isBinaryPropertyList(const QByteArray &data);

    Ref count() const { return m_count; }
    Ref top() const { return m_top; }

    Object object(Ref ref);
    /// The index-th element of an array or set, or key of a dictionary.
    Ref element(const Object &container, quint64 index) const;
    /// The value that belongs to the index-th key.
    Ref value(const Object &dictionary, quint64 index) const;

    /// Whether a string object is this ASCII text.
    static bool isText(const Object &object, QByteArrayView ascii);
    static quint64 uid(const Object &object);
    /// The value of anything but a container.
    static QVariant scalar(const Object &object);

private:
    QByteArray m_data;
    const uchar *m_base = nullptr;
    const uchar *m_offsets = nullptr;
    quint64 m_objectsEnd = 0;
    quint64 m_unclaimed = 0;
    std::vector<bool> m_claimed;
    Ref m_count = 0;
    Ref m_top = 0;
    int m_offsetSize = 0;
    int m_refSize = 0;
};

} // namespace zr
