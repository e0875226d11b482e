// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QtGlobal>

namespace zr {

/// While it lives, qpdf decodes at most so many bytes on this thread; more than that fails as damage does.
/// qpdf 11 has no limit of its own: a file of 1.2 KB, with two layers of Flate, takes it 830 MB to open.
///
/// The first one registers decoders of the filters that can enlarge (Flate, LZW and run lengths) with qpdf,
/// for the whole process. On threads without a budget they decode without limit, as qpdf's own do.
class PDFDecodeBudget {
public:
    explicit PDFDecodeBudget(qint64 bytes);
    ~PDFDecodeBudget();
    PDFDecodeBudget(const PDFDecodeBudget &) = delete;
    PDFDecodeBudget &operator=(const PDFDecodeBudget &) = delete;

private:
    qint64 m_outer;
};

} // namespace zr
