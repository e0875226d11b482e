// SPDX-License-Identifier: MIT
// A window of 1,000 kit views with borders and backgrounds, beside one of 1,000 plain widgets that draw the same and stand in a
// layout of their own: how long each takes to open, to get another size, and to be drawn anew. They take turns; medians.
#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Interface/ZRView.h"
#include "tests/support/OffscreenPlatform.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLayout>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int columns = 40;
constexpr int rows = 25;
constexpr QSize size(800, 500);
constexpr QSize otherSize(1000, 700);
constexpr int turns = 41;

QColor colorOf(int index) {
    return QColor::fromHsv(index * 359 / (columns * rows), 120, 240);
}

std::unique_ptr<QWidget> kitWindow() {
    auto window = std::make_unique<NSView>(QRectF(QPointF(), QSizeF(size)));
    const double width = double(size.width()) / columns;
    const double height = double(size.height()) / rows;
    for (int i = 0; i < columns * rows; ++i) {
        auto *const view =
            new ZRView(QRectF(i % columns * width, size.height() - (i / columns + 1) * height, width, height),
                       window.get());
        view->setAutoresizingMask(63);
        view->setBackgroundColor(colorOf(i));
        view->setBorderTop(true);
        view->setBorderBottom(true);
    }
    return window;
}

class PlainView : public QWidget {
public:
    explicit PlainView(const QColor &color) : m_color(color) {}

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.fillRect(rect(), m_color);
        painter.fillRect(QRect(0, 0, width(), 1), QColor(212, 212, 212));
        painter.fillRect(QRect(0, height() - 1, width(), 1), QColor(212, 212, 212));
    }

private:
    const QColor m_color;
};

/// Does no more than it has to.
class PlainLayout : public QLayout {
public:
    using QLayout::QLayout;
    ~PlainLayout() override { qDeleteAll(m_items); }
    void addItem(QLayoutItem *item) override { m_items.append(item); }
    int count() const override { return int(m_items.size()); }
    QLayoutItem *itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem *takeAt(int index) override { return m_items.takeAt(index); }
    QSize sizeHint() const override { return size; }
    void setGeometry(const QRect &rect) override {
        const auto column = [&](int i) { return i * rect.width() / columns; };
        const auto row = [&](int i) { return i * rect.height() / rows; };
        for (int i = 0; i < count(); ++i) {
            const int x = i % columns;
            const int y = i / columns;
            m_items[i]->setGeometry({column(x), row(y), column(x + 1) - column(x), row(y + 1) - row(y)});
        }
    }

private:
    QList<QLayoutItem *> m_items;
};

std::unique_ptr<QWidget> plainWindow() {
    auto window = std::make_unique<QWidget>();
    auto *const layout = new PlainLayout(window.get());
    for (int i = 0; i < columns * rows; ++i)
        layout->addWidget(new PlainView(colorOf(i)));
    window->resize(size);
    return window;
}

double milliseconds(const std::function<void()> &work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> times) {
    std::ranges::nth_element(times, times.begin() + qsizetype(times.size() / 2));
    return times[times.size() / 2];
}

struct Times {
    std::vector<double> opening, resizing, repainting;
};

void measure(const std::function<std::unique_ptr<QWidget>()> &make, Times &times) {
    std::unique_ptr<QWidget> window;
    times.opening.push_back(milliseconds([&] {
        window = make();
        window->show();
        QApplication::processEvents();
        window->repaint();
    }));
    times.resizing.push_back(milliseconds([&] {
        window->resize(otherSize);
        QApplication::processEvents();
        window->repaint();
    }));
    times.repainting.push_back(milliseconds([&] { window->repaint(); }));
}

} // namespace

int main(int argc, char **argv) {
    const OffscreenPlatform platform;
    const QApplication application(argc, argv);
    Times kit, plain;
    for (int i = 0; i < turns; ++i) {
        measure(kitWindow, kit);
        measure(plainWindow, plain);
    }
    std::printf("1,000 views    kit, ms  plain, ms  ratio\n");
    const auto report = [&](const char *what, std::vector<double> Times::*list) {
        const double ours = median(kit.*list);
        const double theirs = median(plain.*list);
        std::printf("%-14s %7.2f  %9.2f  %5.2f\n", what, ours, theirs, ours / theirs);
    };
    report("open", &Times::opening);
    report("resize", &Times::resizing);
    report("repaint", &Times::repainting);
    return 0;
}
