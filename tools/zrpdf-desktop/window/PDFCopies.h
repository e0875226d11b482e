// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>

/// Copies of PDFs that other programs get: files with names for people, in the program's temporary folder, until the
/// program ends. Main thread.
class PDFCopies {
public:
    /// A copy of the file, the same one if there is one already; nil if it can't be made.
    QString copyOf(const QString &path, const QString &fileName);

private:
    QHash<QString, QString> m_copies;
};
