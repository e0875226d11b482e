// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include "platform/pdf/PDFFile.h"
#include "platform/pdf/PDFSyntax.h"

#include <vector>

/// A file as the engine writes it: one page, one section of a classical cross-reference table, no encryption,
/// no earlier revisions. It is never parsed whole or compressed anew: the few objects that change get new
/// bytes, everything else is copied, and the table is shifted. Whatever is not fully understood is refused,
/// on opening or on writing.
class PDFPlainFile : public PDFFile {
public:
    /// Null where the file is of another form.
    static std::unique_ptr<PDFPlainFile> open(const QByteArray &data);

    QVariantMap attributes() const override { return m_attributes; }
    int pageCount() const override { return 1; }
    QRectF pageBox(int page) const override;
    QByteArray written(const PDFChanges &changes) const override;

private:
    /// Bytes that take the place of `length` others.
    struct Splice {
        qint64 offset;
        qint64 length;
        std::string bytes;
    };
    class Mover;

    explicit PDFPlainFile(const QByteArray &data) : m_data(data) {}

    bool readFrame();
    bool readTable(PDFSyntax &syntax);
    bool readTrailer(PDFSyntax &syntax);
    bool readInfo();
    bool readPage();
    struct Object {
        PDFValue value;
        bool isStream = false;
    };
    std::optional<Object> object(int number, PDFVisitor *visitor = nullptr) const;
    std::optional<PDFDictionary> dictionaryObject(int number) const;

    Splice replacement(const PDFValue &value, std::string bytes) const {
        return {value.begin - m_data.constData(), value.end - value.begin, std::move(bytes)};
    }
    bool writeAttributes(const QVariantMap &attributes, std::vector<Splice> &splices,
                         std::vector<std::string> &added, int &info) const;
    bool writeBox(const PDFPageCut &cut, std::vector<Splice> &splices, std::vector<std::string> &added) const;
    QByteArray spliced(std::vector<Splice> splices, const std::vector<std::string> &added, int info) const;

    const QByteArray m_data;
    /// Where each object's number stands; 0 for object 0, which is none.
    std::vector<qint64> m_offsets;
    qint64 m_table = 0;
    int m_root = 0;
    int m_info = 0;
    int m_page = 0;
    PDFDictionary m_rootEntries;
    PDFDictionary m_infoEntries;
    PDFDictionary m_pageEntries;
    PDFValue m_pageValue;
    QVariantMap m_attributes;
    QRectF m_box;
    double m_userUnit = 1;
};
