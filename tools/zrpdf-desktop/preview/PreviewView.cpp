// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PreviewView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int margin = 12;
/// Of a tile's sides, in pixels of the screen.
constexpr int tileSide = 1024;
/// What the tiles that were drawn may take, in KiB.
constexpr int tileMemory = 96 * 1024;
constexpr double narrowest = 0.05;
constexpr std::array zooms = {0.05, 0.1, 0.25, 0.5, 0.75, 1.0, 1.25, 1.5, 2.0, 3.0, 4.0, 6.0, 8.0};

} // namespace

PreviewView::PreviewView(QWidget *parent) : QAbstractScrollArea(parent), m_tiles(tileMemory) {
    setFocusPolicy(Qt::StrongFocus);
    // A bar that comes and goes would change the width that is fitted.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
}

PreviewView::~PreviewView() = default;

void PreviewView::setPath(const QString &path) {
    if (path == m_path)
        return;
    m_path = path;
    m_size = {};
    m_tiles.clear();
    if (!m_renderer) {
        m_renderer = std::make_unique<PreviewRenderer>();
        connect(m_renderer.get(), &PreviewRenderer::loaded, this, &PreviewView::pageLoaded);
        connect(m_renderer.get(), &PreviewRenderer::rendered, this, &PreviewView::tileRendered);
    }
    m_renderer->load(path);
    layOut();
}

void PreviewView::setMessage(const QString &message) {
    m_message = message;
    viewport()->setAccessibleName(message);
    viewport()->update();
}

void PreviewView::pageLoaded(const QSizeF &size) {
    m_size = size;
    verticalScrollBar()->setValue(0);
    layOut();
}

void PreviewView::tileRendered(const QRect &part, double drawnScale, const QImage &image) {
    if (drawnScale != scale())
        return;
    // One that can't be drawn is as done as any other, and stays white.
    auto *const pixmap = new QPixmap(QPixmap::fromImage(image));
    m_tiles.insert(part.topLeft(), pixmap, std::max(1, part.width() * part.height() / 256));
    viewport()->update();
    if (isComplete())
        Q_EMIT completed();
}

bool PreviewView::isComplete() const {
    if (m_size.isEmpty())
        return false;
    const QList<QRect> tiles = tilesIn(visiblePart());
    return std::all_of(tiles.begin(), tiles.end(),
                       [this](const QRect &tile) { return m_tiles.contains(tile.topLeft()); });
}

void PreviewView::zoomIn() {
    const auto next = std::upper_bound(zooms.begin(), zooms.end(), m_zoom * 1.001);
    m_fitsWidth = false;
    setZoom(next == zooms.end() ? zooms.back() : *next);
}

void PreviewView::zoomOut() {
    const auto next = std::lower_bound(zooms.begin(), zooms.end(), m_zoom * 0.999);
    m_fitsWidth = false;
    setZoom(next == zooms.begin() ? zooms.front() : *std::prev(next));
}

void PreviewView::setFitsWidth() {
    m_fitsWidth = true;
    layOut();
}

void PreviewView::setActualSize() {
    m_fitsWidth = false;
    setZoom(1);
}

void PreviewView::setZoom(double zoom) {
    // What stands at the top stays there.
    const double top = verticalScrollBar()->value() / m_zoom;
    m_zoom = zoom;
    layOut();
    verticalScrollBar()->setValue(int(std::lround(top * m_zoom)));
}

/// Sets zoom and scroll bars as size and page need them.
void PreviewView::layOut() {
    if (m_fitsWidth && !m_size.isEmpty()) {
        const double top = verticalScrollBar()->value() / m_zoom;
        m_zoom = std::max(narrowest, std::min(1.0, (viewport()->width() - 2 * margin) / m_size.width()));
        verticalScrollBar()->setMaximum(int(m_size.height() * m_zoom) + 2 * margin);
        verticalScrollBar()->setValue(int(std::lround(top * m_zoom)));
    }
    const QSize whole =
        m_size.isEmpty() ? QSize() : (m_size * m_zoom).toSize() + QSize(2 * margin, 2 * margin);
    const QSize seen = viewport()->size();
    verticalScrollBar()->setPageStep(seen.height());
    verticalScrollBar()->setSingleStep(40);
    verticalScrollBar()->setRange(0, std::max(0, whole.height() - seen.height()));
    horizontalScrollBar()->setPageStep(seen.width());
    horizontalScrollBar()->setSingleStep(40);
    horizontalScrollBar()->setRange(0, std::max(0, whole.width() - seen.width()));
    request();
    viewport()->update();
    Q_EMIT changed();
}

/// The whole page, in pixels of the screen.
QSize PreviewView::pagePixels() const {
    return QSize(int(std::ceil(m_size.width() * scale() - 0.01)),
                 int(std::ceil(m_size.height() * scale() - 0.01)));
}

/// Where the page is in the viewport.
QRect PreviewView::pageRect() const {
    const QSize size = (m_size * m_zoom).toSize();
    const int left = std::max(margin, (viewport()->width() - size.width()) / 2);
    return {QPoint(left - horizontalScrollBar()->value(), margin - verticalScrollBar()->value()), size};
}

/// What is seen of the page, in pixels of the screen.
QRect PreviewView::visiblePart() const {
    const QRect page = pageRect();
    const QRectF seen = QRectF(viewport()->rect().intersected(page).translated(-page.topLeft()));
    const double ratio = viewport()->devicePixelRatioF();
    return QRectF(seen.topLeft() * ratio, seen.size() * ratio).toAlignedRect();
}

QList<QRect> PreviewView::tilesIn(const QRect &visible) const {
    QList<QRect> tiles;
    const QRect page(QPoint(0, 0), pagePixels());
    const QRect seen = visible.intersected(page);
    if (seen.isEmpty())
        return tiles;
    for (int row = seen.top() / tileSide; row <= seen.bottom() / tileSide; ++row)
        for (int column = seen.left() / tileSide; column <= seen.right() / tileSide; ++column)
            tiles << QRect(column * tileSide, row * tileSide, tileSide, tileSide).intersected(page);
    return tiles;
}

/// Has drawn what is seen, and then what scrolling would show next.
void PreviewView::request() {
    if (!m_renderer || m_size.isEmpty())
        return;
    if (m_tileScale != scale()) {
        m_tiles.clear();
        m_tileScale = scale();
    }
    const QRect visible = visiblePart();
    QList<QRect> wanted = tilesIn(visible);
    for (const QRect &tile : tilesIn(visible.adjusted(0, -visible.height(), 0, visible.height())))
        if (!wanted.contains(tile))
            wanted << tile;
    wanted.removeIf([this](const QRect &tile) { return m_tiles.contains(tile.topLeft()); });
    m_renderer->want(wanted, scale());
}

void PreviewView::paintEvent(QPaintEvent *) {
    QPainter painter(viewport());
    if (m_size.isEmpty()) {
        painter.setPen(palette().color(QPalette::WindowText));
        const QRect area = viewport()->rect().adjusted(2 * margin, margin, -2 * margin, -margin);
        painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, m_message);
        return;
    }
    const QRect page = pageRect();
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(Qt::white);
    painter.drawRect(page.adjusted(-1, -1, 0, 0));
    // Paper stays white in the dark.
    painter.setClipRect(page);
    const double ratio = viewport()->devicePixelRatioF();
    for (const QRect &tile : tilesIn(visiblePart())) {
        const QPixmap *const pixmap = m_tiles.object(tile.topLeft());
        if (pixmap && !pixmap->isNull())
            painter.drawPixmap(
                QRectF(page.topLeft() + QPointF(tile.topLeft()) / ratio, QSizeF(tile.size()) / ratio),
                *pixmap, QRectF(pixmap->rect()));
    }
}

void PreviewView::resizeEvent(QResizeEvent *) {
    layOut();
}

void PreviewView::scrollContentsBy(int, int) {
    request();
    viewport()->update();
}

void PreviewView::keyPressEvent(QKeyEvent *event) {
    if (event->matches(QKeySequence::MoveToStartOfLine) ||
        event->matches(QKeySequence::MoveToStartOfDocument))
        verticalScrollBar()->triggerAction(QScrollBar::SliderToMinimum);
    else if (event->matches(QKeySequence::MoveToEndOfLine) ||
             event->matches(QKeySequence::MoveToEndOfDocument))
        verticalScrollBar()->triggerAction(QScrollBar::SliderToMaximum);
    else if (event->key() == Qt::Key_Space)
        verticalScrollBar()->triggerAction(event->modifiers().testFlag(Qt::ShiftModifier)
                                               ? QScrollBar::SliderPageStepSub
                                               : QScrollBar::SliderPageStepAdd);
    else
        QAbstractScrollArea::keyPressEvent(event);
}

void PreviewView::wheelEvent(QWheelEvent *event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    if (event->angleDelta().y() > 0)
        zoomIn();
    else if (event->angleDelta().y() < 0)
        zoomOut();
    event->accept();
}

void PreviewView::mousePressEvent(QMouseEvent *event) {
    m_pressed = event->pos();
}

void PreviewView::mouseMoveEvent(QMouseEvent *event) {
    if (!m_size.isEmpty() && event->buttons().testFlag(Qt::LeftButton) && pageRect().contains(m_pressed) &&
        (event->pos() - m_pressed).manhattanLength() >= QApplication::startDragDistance())
        Q_EMIT dragWanted();
}

void PreviewView::changeEvent(QEvent *event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        viewport()->update();
}

bool PreviewView::viewportEvent(QEvent *event) {
    // The window was moved to a screen of another resolution.
    if (event->type() == QEvent::Paint && !m_size.isEmpty() && m_tileScale != scale())
        request();
    return QAbstractScrollArea::viewportEvent(event);
}
