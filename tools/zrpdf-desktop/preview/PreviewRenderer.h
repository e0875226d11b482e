// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-desktop/preview/PDFPage.h"

#include <QList>
#include <QObject>
#include <QString>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

/// Draws a PDF's page in parts, on a thread of its own, which reads the file too. Main thread.
class PreviewRenderer : public QObject {
    Q_OBJECT

public:
    PreviewRenderer();
    /// Gives up what is being drawn.
    ~PreviewRenderer() override;

    /// Shows another file, nil for none. What was wanted of the one before is forgotten.
    void load(const QString &path);
    /// Draws these parts, in this order, see PDFPage::render(); what was wanted before and isn't any more is given up.
    void want(const QList<QRect> &parts, double scale);

Q_SIGNALS:
    /// The page of the file that was named last, in points; empty if it can't be shown.
    void loaded(const QSizeF &size);
    /// A part that was wanted; null if it can't be drawn.
    void rendered(const QRect &part, double scale, const QImage &image);

private:
    void work(const std::stop_token &stop);
    void draw(const PDFPage &page, std::unique_lock<std::mutex> &lock, const std::stop_token &stop);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::optional<QString> m_path;
    QList<QRect> m_wanted;
    double m_scale = 1;
    /// The part that is being drawn; empty if none is, or if it isn't wanted any more.
    QRect m_drawn;
    /// Counts the files; written by the main thread only.
    quint64 m_file = 0;
    std::jthread m_thread;
};
