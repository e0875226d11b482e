// SPDX-License-Identifier: MIT
#pragma once

#include "platform/text/NSJSONSerialization.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

/// Writes one value as JSON text, in one pass; for one use. See NSJSONSerialization for what it takes and
/// gives.
class JSONWriter {
public:
    explicit JSONWriter(NSJSONWritingOptions options) : m_options(options) {}
    virtual ~JSONWriter() = default;
    JSONWriter(const JSONWriter &) = delete;
    JSONWriter &operator=(const JSONWriter &) = delete;

    /// \throws NSException for what JSON cannot hold
    QByteArray write(const QVariant &value);

protected:
    /// Is asked of values of rare types first. A subclass that knows one as a dictionary, in an order of its
    /// own say, writes it with the operations below and says true.
    virtual bool writeDictionary(const QVariant &) { return false; }
    void beginObject() { enter('{'); }
    void writeMember(const QString &key, const QVariant &value, bool first);
    void endObject(bool empty) { leave('}', empty); }

private:
    void value(const QVariant &value);
    void array(const QVariantList &list);
    template <typename Iterator>
    void object(Iterator begin, Iterator end);
    void string(const QString &text);
    template <typename Number>
    void number(Number number);
    void other(const QVariant &value);
    void enter(char bracket);
    void leave(char bracket, bool empty);
    void newLine();
    /// Makes room for so many bytes behind m_at.
    void ensure(qsizetype size) {
        if (m_end - m_at < size)
            grow(size);
    }
    void grow(qsizetype size);
    void append(char c) {
        ensure(1);
        *m_at++ = c;
    }
    void append(QByteArrayView bytes);

    const NSJSONWritingOptions m_options;
    QByteArray m_text;
    char *m_at = nullptr;
    char *m_end = nullptr;
    int m_depth = 0;
};
