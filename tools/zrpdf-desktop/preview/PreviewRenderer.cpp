// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PreviewRenderer.h"

#include <QFile>
#include <QMetaObject>

PreviewRenderer::PreviewRenderer() : m_thread([this](const std::stop_token &stop) { work(stop); }) {
}

PreviewRenderer::~PreviewRenderer() {
    m_thread.request_stop();
    m_thread.join();
}

void PreviewRenderer::load(const QString &path) {
    const std::lock_guard lock(m_mutex);
    m_path = path;
    m_wanted.clear();
    ++m_file;
    m_changed.notify_all();
}

void PreviewRenderer::want(const QList<QRect> &parts, double scale) {
    const std::lock_guard lock(m_mutex);
    m_wanted = parts;
    // The one that is being drawn isn't begun again.
    if (scale != m_scale || m_wanted.removeAll(m_drawn) == 0)
        m_drawn = QRect();
    m_scale = scale;
    m_changed.notify_all();
}

void PreviewRenderer::work(const std::stop_token &stop) {
    std::unique_ptr<PDFPage> page;
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [&] { return m_path || (page && !m_wanted.isEmpty()); })) {
        if (!m_path) {
            draw(*page, lock, stop);
            continue;
        }
        const QString path = *std::exchange(m_path, std::nullopt);
        const quint64 number = m_file;
        lock.unlock();
        QFile file(path);
        page = !path.isNull() && file.open(QIODevice::ReadOnly) ? PDFPage::open(file.readAll()) : nullptr;
        const QSizeF size = page ? page->size() : QSizeF(0, 0);
        const auto tell = [this, number, size] {
            // One that came too late is not the one that was named last.
            if (number == m_file)
                Q_EMIT loaded(size);
        };
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
        lock.lock();
    }
}

/// Draws the part that is wanted most, without the lock.
void PreviewRenderer::draw(const PDFPage &page, std::unique_lock<std::mutex> &lock,
                           const std::stop_token &stop) {
    const QRect part = m_wanted.takeFirst();
    const double scale = m_scale;
    const quint64 number = m_file;
    m_drawn = part;
    lock.unlock();
    const QImage image = page.render(part, scale, [&] {
        const std::lock_guard inner(m_mutex);
        return stop.stop_requested() || number != m_file || m_drawn != part || scale != m_scale;
    });
    lock.lock();
    // What was given up is told of as little as what was wanted of another file.
    const bool isWanted = number == m_file && m_drawn == part && scale == m_scale && !stop.stop_requested();
    m_drawn = QRect();
    if (isWanted)
        QMetaObject::invokeMethod(
            this,
            [this, number, part, scale, image] {
                if (number == m_file)
                    Q_EMIT rendered(part, scale, image);
            },
            Qt::QueuedConnection);
}
