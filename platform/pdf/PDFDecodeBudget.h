// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QtGlobal>

/// While it lives, qpdf decodes at most so many bytes on this thread; what is more fails as if it were
/// damaged. A file of 2 KB can otherwise unfold to any size, by filters upon filters, before anyone can look
/// at it.
///
/// The first one registers decoders of the filters that can enlarge (Flate, LZW and run lengths) with qpdf,
/// for the whole process; without a budget on the thread they decode without limit.
class PDFDecodeBudget {
public:
    explicit PDFDecodeBudget(qint64 bytes);
    ~PDFDecodeBudget();
    PDFDecodeBudget(const PDFDecodeBudget &) = delete;
    PDFDecodeBudget &operator=(const PDFDecodeBudget &) = delete;

private:
    qint64 m_outer;
};
