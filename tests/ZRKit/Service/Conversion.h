// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/PDFReader.h"

#include <QSizeF>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Gives a conversion up that takes longer than only a broken program would.
class ConversionLimit {
public:
    ConversionLimit() : m_timer([this] { run(); }) {}
    ~ConversionLimit() {
        {
            const std::lock_guard lock(m_mutex);
            m_hasEnded = true;
        }
        m_ended.notify_one();
        m_timer.join();
    }
    ConversionLimit(const ConversionLimit &) = delete;
    ConversionLimit &operator=(const ConversionLimit &) = delete;
    std::stop_token token() const { return m_source.get_token(); }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        // By the wall clock: the thread sanitizer doesn't know how to wait by the other one.
        const auto end = std::chrono::system_clock::now() + std::chrono::minutes(1);
        if (!m_ended.wait_until(lock, end, [this] { return m_hasEnded; }))
            m_source.request_stop();
    }

    std::stop_source m_source;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_timer;
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
