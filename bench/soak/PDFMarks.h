// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

/// The numbers that a PDF carries.
struct PDFMarks {
    QList<int> title, text;
    int pages = 0;

    /// For people.
    QString summary() const;

    /// Nothing if it is no PDF. Any thread.
    static std::optional<PDFMarks> of(const QByteArray &pdf);
};
