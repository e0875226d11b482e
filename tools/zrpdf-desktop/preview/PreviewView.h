// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-desktop/preview/PreviewRenderer.h"

#include <QAbstractScrollArea>
#include <QCache>
#include <QPixmap>
#include <memory>

/// Shows a PDF's page, which may be as tall as it likes: only what is seen is drawn, in tiles, elsewhere. A point is a
/// pixel of the window system at 100 %. Main thread.
class PreviewView : public QAbstractScrollArea {
    Q_OBJECT

public:
    explicit PreviewView(QWidget *parent = nullptr);
    ~PreviewView() override;

    /// Shows a file, nil for none.
    void setPath(const QString &path);
    const QString &path() const { return m_path; }
    /// What stands there if there is no page.
    void setMessage(const QString &message);

    bool fitsWidth() const { return m_fitsWidth; }
    /// Pixels a point; 1 without a page.
    double zoom() const { return m_zoom; }
    /// The page's size in points; empty without a page.
    QSizeF pageSize() const { return m_size; }
    /// Whether all that is seen has been drawn.
    bool isComplete() const;

public Q_SLOTS:
    void zoomIn();
    void zoomOut();
    void setFitsWidth();
    void setActualSize();

Q_SIGNALS:
    /// Another page, zoom or size; whether there is a page.
    void changed();
    /// The user drags the page elsewhere.
    void dragWanted();
    /// All that is seen has been drawn.
    void completed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    void pageLoaded(const QSizeF &size);
    void tileRendered(const QRect &part, double scale, const QImage &image);
    void setZoom(double zoom);
    void layOut();
    void request();
    double scale() const { return m_zoom * viewport()->devicePixelRatioF(); }
    QSize pagePixels() const;
    QRect pageRect() const;
    QList<QRect> tilesIn(const QRect &visible) const;
    QRect visiblePart() const;

    std::unique_ptr<PreviewRenderer> m_renderer;
    QString m_path, m_message;
    QSizeF m_size;
    double m_zoom = 1;
    bool m_fitsWidth = true;
    /// By the tile's place, for the present scale.
    QCache<QPoint, QPixmap> m_tiles;
    double m_tileScale = 0;
    QPoint m_pressed;
};
