// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/PDFReader.h"

#include <QSizeF>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Gives a conversion up that takes longer than only a broken program would.
class ConversionLimit {
public:
    std::stop_token token() const { return m_source.get_token(); }

private:
    std::stop_source m_source;
    std::jthread m_timer{[source = m_source](const std::stop_token &ended) mutable {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any change;
        if (!change.wait_for(lock, ended, std::chrono::minutes(1), [&] { return ended.stop_requested(); }))
            source.request_stop();
    }};
};

/// One conversion and what came of it.
struct Conversion {
    explicit Conversion(const QVariant &data, const QString &type = {}, bool tagged = false)
        : pdf(ZRConvertHTML(data, type, tagged, ConversionLimit().token()).pdfData()), reader(pdf) {}

    bool failed() const { return pdf.isNull(); }
    QSizeF size() const { return PDFDocument(pdf).pageBox(0).size(); }
    int pages() const { return PDFDocument(pdf).pageCount(); }

    const QByteArray pdf;
    const PDFReader reader;
};

/// HTML as a string document, with a doctype before it.
inline QVariant html(const QString &body) {
    return QString(QStringLiteral("<!doctype html>") + body);
}
