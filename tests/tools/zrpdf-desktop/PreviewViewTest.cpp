// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PreviewView.h"
#include "platform/pdf/PDFDocument.h"

#include <QBuffer>
#include <QFile>
#include <QPainter>
#include <QPdfWriter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 60'000;

class PreviewViewTest : public testing::Test {
protected:
    PreviewViewTest() {
        view.resize(640, 480);
        view.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&view, patience));
    }

    /// A page 800 points wide: red at its top, blue at its end.
    QString page(int height) {
        QByteArray bytes;
        {
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::WriteOnly);
            QPdfWriter writer(&buffer);
            writer.setResolution(72);
            writer.setPageSize(
                QPageSize(QSizeF(80, height / 10.0), QPageSize::Point, QString(), QPageSize::ExactMatch));
            writer.setPageMargins(QMarginsF(0, 0, 0, 0));
            QPainter painter(&writer);
            painter.fillRect(0, 0, 80, 10, Qt::red);
            painter.fillRect(0, height / 10 - 10, 80, 10, Qt::blue);
        }
        PDFDocument document(bytes);
        EXPECT_TRUE(document.setPageBox(0, QSizeF(800, height), 10));
        QFile file(folder.filePath(QString::number(height) + u".pdf"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(document.dataRepresentation());
        return file.fileName();
    }
    bool isComplete() {
        return QTest::qWaitFor([this] { return view.isComplete(); }, patience);
    }
    QColor colourAt(int x, int y) { return view.viewport()->grab().toImage().pixelColor(x, y); }

    QTemporaryDir folder;
    PreviewView view;
};

TEST_F(PreviewViewTest, AHundredThousandPointsAreShownFromTheTopToTheEnd) {
    view.setPath(page(100'000));
    ASSERT_TRUE(isComplete());
    EXPECT_EQ(view.pageSize(), QSizeF(800, 100'000));
    EXPECT_TRUE(view.fitsWidth());
    EXPECT_EQ(view.horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(colourAt(300, 30), QColor(Qt::red));
    QTest::keyClick(&view, Qt::Key_End);
    ASSERT_TRUE(isComplete());
    EXPECT_EQ(colourAt(300, view.viewport()->height() - 40), QColor(Qt::blue));
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(view.verticalScrollBar()->value(), 0);
    EXPECT_EQ(colourAt(300, 30), QColor(Qt::red));
}

TEST_F(PreviewViewTest, KeysAndWheelScrollAndZoom) {
    view.setPath(page(5000));
    ASSERT_TRUE(isComplete());
    QTest::keyClick(&view, Qt::Key_PageDown);
    const int one = view.verticalScrollBar()->value();
    EXPECT_GT(one, 200);
    QTest::keyClick(&view, Qt::Key_Space);
    EXPECT_EQ(view.verticalScrollBar()->value(), 2 * one);
    QTest::keyClick(&view, Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_EQ(view.verticalScrollBar()->value(), one);
    view.setActualSize();
    EXPECT_EQ(view.zoom(), 1);
    EXPECT_FALSE(view.fitsWidth());
    EXPECT_GT(view.horizontalScrollBar()->maximum(), 0);
    const auto wheel = [&](int delta) {
        QWheelEvent event(QPointF(50, 50), view.mapToGlobal(QPointF(50, 50)), QPoint(), QPoint(0, delta),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.viewport(), &event);
    };
    wheel(120);
    EXPECT_EQ(view.zoom(), 1.25);
    wheel(-120);
    wheel(-120);
    EXPECT_EQ(view.zoom(), 0.75);
    ASSERT_TRUE(isComplete());
}

TEST_F(PreviewViewTest, ZoomingKeepsWhatStandsAtTheTop) {
    view.setPath(page(20'000));
    ASSERT_TRUE(isComplete());
    view.setActualSize();
    view.verticalScrollBar()->setValue(10'000);
    view.zoomIn();
    EXPECT_NEAR(view.verticalScrollBar()->value(), 12'500, 1);
    view.setFitsWidth();
    EXPECT_NEAR(view.verticalScrollBar()->value() / view.zoom(), 10'000, 20);
    for (int i = 0; i < 30; ++i)
        view.zoomIn();
    EXPECT_EQ(view.zoom(), 8);
    for (int i = 0; i < 30; ++i)
        view.zoomOut();
    EXPECT_EQ(view.zoom(), 0.05);
}

TEST_F(PreviewViewTest, AnotherFileIsShownFromItsTopAndNoneIsAMessage) {
    view.setPath(page(20'000));
    ASSERT_TRUE(isComplete());
    QTest::keyClick(&view, Qt::Key_End);
    view.setPath(page(3000));
    ASSERT_TRUE(isComplete());
    EXPECT_EQ(view.verticalScrollBar()->value(), 0);
    EXPECT_EQ(colourAt(300, 30), QColor(Qt::red));
    view.setMessage(u"Nothing to see"_s);
    view.setPath(QString());
    EXPECT_TRUE(view.pageSize().isEmpty());
    EXPECT_EQ(view.verticalScrollBar()->maximum(), 0);
    EXPECT_NE(colourAt(300, 30), QColor(Qt::red));
    EXPECT_EQ(view.viewport()->accessibleName(), u"Nothing to see"_s);
}

TEST_F(PreviewViewTest, AWiderWindowShowsAWiderPage) {
    view.setPath(page(3000));
    ASSERT_TRUE(isComplete());
    const double narrow = view.zoom();
    view.resize(760, 480);
    EXPECT_GT(view.zoom(), narrow);
    ASSERT_TRUE(isComplete());
    view.resize(1300, 480);
    EXPECT_EQ(view.zoom(), 1);
}

TEST_F(PreviewViewTest, OnlyADragFromThePageIsWanted) {
    view.setPath(page(3000));
    ASSERT_TRUE(isComplete());
    QSignalSpy wanted(&view, &PreviewView::dragWanted);
    const auto drag = [&](const QPoint &from, const QPoint &to) {
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, from);
        QMouseEvent move(QEvent::MouseMove, to, view.viewport()->mapToGlobal(to), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &move);
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, to);
    };
    drag(QPoint(2, 2), QPoint(60, 60));
    drag(QPoint(100, 100), QPoint(101, 101));
    EXPECT_EQ(wanted.size(), 0);
    drag(QPoint(100, 100), QPoint(160, 160));
    EXPECT_EQ(wanted.size(), 1);
}

} // namespace
