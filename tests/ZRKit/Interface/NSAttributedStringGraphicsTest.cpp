// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSAttributedString+ZRGraphics.h"

#include "platform/base/NSException.h"
#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/NSImage.h"
#include "platform/images/NSImageFocus.h"
#include "platform/interface/NSView.h"

#include <QFontMetricsF>
#include <QPainter>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;
using namespace ZRKit;

namespace {

QFont sans(int pixels = 20) {
    QFont font(u"Liberation Sans"_s);
    font.setPixelSize(pixels);
    return font;
}

NSMutableAttributedString styled(const QString &text, const QFont &font = sans()) {
    NSMutableAttributedString made(text);
    setFont(made, font);
    return made;
}

NSMutableAttributedString aligned(const QString &text, NSTextAlignment alignment) {
    NSMutableAttributedString made = styled(text);
    setParagraphStyleWithBlock(made, [&](NSMutableParagraphStyle &style) { style.setAlignment(alignment); });
    return made;
}

/// The text in a rectangle of a white area.
QImage drawn(const NSAttributedString &text, const QRectF &rect, const QSize &area = QSize(300, 200),
             double scale = 1) {
    QImage image(area * scale, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.scale(scale, scale);
    const NSGraphicsContext context(painter, area);
    drawWithRect(text, rect, &context);
    return image;
}

const QRectF Everywhere(0, 0, 300, 200);

/// The smallest rectangle around what isn't white in a part of the picture, from the top left.
QRect ink(const QImage &image, QRect part = {}) {
    part = part.isNull() ? image.rect() : part;
    QRect box;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            if (qGray(image.pixel(x, y)) < 200)
                box |= QRect(x, y, 1, 1);
    return box;
}

/// The boxes of the lines: rows of ink between rows without.
QList<QRect> lines(const QImage &image) {
    QList<QRect> boxes;
    int start = -1;
    for (int y = 0; y <= image.height(); ++y) {
        const bool isInked = y < image.height() && !ink(image, QRect(0, y, image.width(), 1)).isNull();
        if (isInked && start < 0)
            start = y;
        if (!isInked && start >= 0)
            boxes.append(ink(image, QRect(0, start, image.width(), y - start))), start = -1;
    }
    return boxes;
}

bool hasColour(const QImage &image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.saturation() > 100 && pixel.value() > 100)
                return true;
        }
    return false;
}

const QString Long =
    u"The quick brown fox jumps over the lazy dog and runs on through the wood until night falls"_s;

} // namespace

TEST(NSAttributedStringGraphics, AFontIsSetOverTheWholeText) {
    NSMutableAttributedString text(u"a😀b"_s);
    text.addAttribute(u"other"_s, 1, {0, 1});
    text.addAttribute(NSFontAttributeName, sans(5), {1, 2});
    setFont(text, sans());
    NSRange range;
    EXPECT_EQ(text.attributeAtIndex(NSFontAttributeName, 0, &range), QVariant(sans()));
    EXPECT_EQ(range, (NSRange{0, 4}));
    EXPECT_EQ(text.attributeAtIndex(u"other"_s, 0), QVariant(1));
    EXPECT_EQ(text.attributesAtIndex(3).size(), 1);
}

TEST(NSAttributedStringGraphics, AColourIsSetOverTheWholeText) {
    NSMutableAttributedString text = styled(u"abc"_s);
    setColor(text, Qt::red);
    setColor(text, Qt::blue);
    ASSERT_EQ(text.runs().size(), 1);
    EXPECT_EQ(text.attributesAtIndex(0), (QVariantMap{{NSFontAttributeName, sans()},
                                                      {NSForegroundColorAttributeName, QColor(Qt::blue)}}));
    EXPECT_THROW(setColor(text, QColor()), NSException);
}

TEST(NSAttributedStringGraphics, ABlockSetsUpAParagraphStyleOverTheWholeText) {
    NSMutableAttributedString text(u"one\ntwo"_s);
    int calls = 0;
    setParagraphStyleWithBlock(text, [&](NSMutableParagraphStyle &style) {
        ++calls;
        EXPECT_EQ(style, NSParagraphStyle());
        style.setAlignment(NSTextAlignmentCenter);
        style.setHeadIndent(4);
    });
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(text.runs().size(), 1);
    const auto style =
        text.attributesAtIndex(6).value(NSParagraphStyleAttributeName).value<NSParagraphStyle>();
    EXPECT_EQ(style.alignment(), NSTextAlignmentCenter);
    EXPECT_EQ(style.headIndent(), 4);
    setParagraphStyleWithBlock(text, nullptr);
    EXPECT_EQ(text.attributesAtIndex(0).value(NSParagraphStyleAttributeName).value<NSParagraphStyle>(),
              NSParagraphStyle());
}

TEST(NSAttributedStringGraphics, AnEmptyTextStaysAsItIs) {
    NSMutableAttributedString text;
    setFont(text, sans());
    setColor(text, Qt::red);
    setParagraphStyleWithBlock(text, [](NSMutableParagraphStyle &style) { style.setHeadIndent(1); });
    EXPECT_EQ(text, NSMutableAttributedString());
    EXPECT_TRUE(ink(drawn(text, Everywhere)).isNull());
}

TEST(NSAttributedStringGraphics, TheFirstLineIsAtTheRectanglesTopAndUpright) {
    const QFontMetricsF metrics(sans());
    // An L: its bar is at its bottom.
    const QImage image = drawn(styled(u"L"_s), {50, 30, 100, 100});
    const QRect box = ink(image);
    // The rectangle's top is 70 below that of the area.
    EXPECT_NEAR(box.bottom() + 1, 70 + metrics.ascent(), 1);
    EXPECT_NEAR(box.top(), 70 + metrics.ascent() - metrics.capHeight(), 1.5);
    EXPECT_NEAR(box.left(), 50, 3);
    EXPECT_GT(ink(image, QRect(box.left(), box.bottom(), box.width(), 1)).width(),
              ink(image, QRect(box.left(), box.top(), box.width(), 1)).width() * 2);
}

TEST(NSAttributedStringGraphics, OnlyTheLinesThatFitAreDrawn) {
    const QFontMetricsF metrics(sans());
    const double height = metrics.ascent() + metrics.descent(), step = height + metrics.leading();
    const auto count = [&](double room) {
        return lines(drawn(styled(u"Hg Hg Hg Hg Hg Hg Hg Hg"_s), {0, 200 - room, 40, room})).size();
    };
    EXPECT_EQ(count(height - 1), 0);
    EXPECT_EQ(count(height), 1);
    EXPECT_EQ(count(step + height - 1), 1);
    EXPECT_EQ(count(step + height), 2);
    EXPECT_EQ(count(3 * step + height), 4);
    // None is cut: the last line that is drawn ends within the rectangle.
    EXPECT_LT(ink(drawn(styled(Long), {0, 100, 120, 100})).bottom(), 100);
}

TEST(NSAttributedStringGraphics, LinesAreBrokenBetweenWordsWithinTheWidth) {
    const QImage image = drawn(styled(Long), {20, 0, 150, 200});
    EXPECT_GE(ink(image).left(), 20);
    EXPECT_LE(ink(image).right(), 170);
    EXPECT_GT(lines(image).size(), 4);
    // A word that is too long goes on all the same.
    const QImage word = drawn(styled(u"Donaudampfschifffahrtsgesellschaft"_s), {20, 0, 100, 200});
    EXPECT_LE(ink(word).right(), 120);
    EXPECT_GT(lines(word).size(), 2);
}

TEST(NSAttributedStringGraphics, EveryParagraphIsCentred) {
    const QList<QRect> boxes = lines(
        drawn(aligned(u"one\nthree and more\r\nfour\u2029five"_s, NSTextAlignmentCenter), {40, 0, 200, 200}));
    ASSERT_EQ(boxes.size(), 4);
    for (const QRect &box : boxes)
        EXPECT_NEAR(box.center().x(), 140, 3);
}

TEST(NSAttributedStringGraphics, LeftRightAndNaturalAlignment) {
    const auto box = [](const QString &text, NSTextAlignment alignment) {
        return ink(drawn(aligned(text, alignment), {40, 0, 200, 200}));
    };
    const QString hebrew = u"שלום"_s;
    EXPECT_NEAR(box(u"HHH"_s, NSTextAlignmentLeft).left(), 40, 3);
    EXPECT_NEAR(box(u"HHH"_s, NSTextAlignmentRight).right(), 240, 4);
    EXPECT_NEAR(box(u"HHH"_s, NSTextAlignmentNatural).left(), 40, 3);
    EXPECT_NEAR(box(hebrew, NSTextAlignmentNatural).right(), 240, 4);
    EXPECT_NEAR(box(hebrew, NSTextAlignmentLeft).left(), 40, 3);
    EXPECT_NEAR(box(hebrew, NSTextAlignmentRight).right(), 240, 4);
    // A number has no direction, the letter behind it has.
    EXPECT_NEAR(box(u"12 "_s + hebrew, NSTextAlignmentNatural).right(), 240, 4);
}

TEST(NSAttributedStringGraphics, TheWritingDirectionCanBeSet) {
    NSMutableAttributedString text = styled(u"HHH!"_s);
    setParagraphStyleWithBlock(text, [](NSMutableParagraphStyle &style) {
        style.setBaseWritingDirection(NSWritingDirectionRightToLeft);
    });
    // The exclamation mark, which ends the sentence, is on the left.
    EXPECT_EQ(drawn(text, {40, 0, 200, 200}),
              drawn(aligned(u"!HHH"_s, NSTextAlignmentRight), {40, 0, 200, 200}));
}

TEST(NSAttributedStringGraphics, JustifiedLinesReachBothMarginsButTheLast) {
    const QList<QRect> boxes = lines(drawn(aligned(Long, NSTextAlignmentJustified), {40, 0, 200, 200}));
    ASSERT_GT(boxes.size(), 3);
    for (const QRect &box : boxes.first(boxes.size() - 1)) {
        EXPECT_NEAR(box.left(), 41, 3);
        EXPECT_NEAR(box.right(), 238, 3);
    }
    EXPECT_LT(boxes.last().right(), 225);
    // The last line of a paragraph that is written to the left is on the right.
    const QList<QRect> hebrew = lines(
        drawn(aligned(u"בראשית ברא אלהים את השמים ואת הארץ והארץ היתה תהו ובהו"_s, NSTextAlignmentJustified),
              {40, 0, 200, 200}));
    ASSERT_GT(hebrew.size(), 1);
    EXPECT_NEAR(hebrew.first().left(), 41, 3);
    EXPECT_GT(hebrew.last().left(), 50);
    EXPECT_NEAR(hebrew.last().right(), 238, 4);
}

TEST(NSAttributedStringGraphics, SpacingAndIndents) {
    const auto boxes = [](const QString &text, const std::function<void(NSMutableParagraphStyle &)> &block) {
        NSMutableAttributedString made = styled(text);
        setParagraphStyleWithBlock(made, block);
        return lines(drawn(made, {40, 0, 200, 200}));
    };
    const auto step = [](const QList<QRect> &all, int line) {
        return all.at(line + 1).top() - all.at(line).top();
    };
    const QString text = u"HHHHHHHHHHHH HHHHH\nHHH"_s;
    const QList<QRect> plain = boxes(text, nullptr);
    ASSERT_EQ(plain.size(), 3);
    const QList<QRect> spaced = boxes(text, [](NSMutableParagraphStyle &style) {
        style.setLineSpacing(7);
        style.setParagraphSpacing(11);
        style.setParagraphSpacingBefore(13);
    });
    EXPECT_EQ(spaced.first().top(), plain.first().top());
    EXPECT_EQ(step(spaced, 0), step(plain, 0) + 7);
    EXPECT_EQ(step(spaced, 1), step(plain, 1) + 24);
    const QList<QRect> indented = boxes(text, [](NSMutableParagraphStyle &style) {
        style.setFirstLineHeadIndent(20);
        style.setHeadIndent(10);
    });
    EXPECT_EQ(indented.at(0).left(), plain.at(0).left() + 20);
    EXPECT_EQ(indented.at(1).left(), plain.at(1).left() + 10);
    EXPECT_EQ(indented.at(2).left(), plain.at(2).left() + 20);
    for (const double tail : {-80.0, 120.0}) {
        const QList<QRect> narrow =
            boxes(Long, [&](NSMutableParagraphStyle &style) { style.setTailIndent(tail); });
        ASSERT_GT(narrow.size(), 4);
        for (const QRect &box : narrow)
            EXPECT_LE(box.right(), 160);
    }
    // What is written to the left is indented on the right.
    const QList<QRect> hebrew =
        boxes(u"שלום"_s, [](NSMutableParagraphStyle &style) { style.setFirstLineHeadIndent(30); });
    EXPECT_NEAR(hebrew.at(0).right(), 210, 4);
}

TEST(NSAttributedStringGraphics, LinesThatAreNotWrappedAreCutOrShortened) {
    const auto draw = [](const QString &text, NSLineBreakMode mode, const QRectF &rect = {40, 0, 120, 200}) {
        NSMutableAttributedString made = styled(text);
        setParagraphStyleWithBlock(made,
                                   [&](NSMutableParagraphStyle &style) { style.setLineBreakMode(mode); });
        return drawn(made, rect);
    };
    const QString text = u"WWWWWWWWWW||||||||||||"_s;
    for (const NSLineBreakMode mode : {NSLineBreakByClipping, NSLineBreakByTruncatingHead,
                                       NSLineBreakByTruncatingTail, NSLineBreakByTruncatingMiddle}) {
        const QImage image = draw(text + u"\nHH"_s, mode);
        EXPECT_EQ(lines(image).size(), 2) << mode;
        EXPECT_LE(ink(image).right(), 160) << mode;
        EXPECT_GT(ink(image).right(), 140) << mode;
        // A line that fits is left as it is.
        EXPECT_EQ(draw(u"HH"_s, mode), drawn(styled(u"HH"_s), {40, 0, 120, 200})) << mode;
    }
    // Where the ellipsis is, there is nothing but at the bottom.
    const auto heightAt = [](const QImage &image, bool atRight) {
        const QRect box = lines(image).first();
        return ink(image, QRect(atRight ? box.right() - 8 : box.left(), box.top(), 9, box.height())).height();
    };
    EXPECT_LE(heightAt(draw(text, NSLineBreakByTruncatingTail), true), 3);
    EXPECT_GT(heightAt(draw(text, NSLineBreakByTruncatingTail), false), 10);
    EXPECT_LE(heightAt(draw(text, NSLineBreakByTruncatingHead), false), 3);
    EXPECT_GT(heightAt(draw(text, NSLineBreakByTruncatingHead), true), 10);
    EXPECT_GT(heightAt(draw(text, NSLineBreakByTruncatingMiddle), true), 10);
    EXPECT_GT(heightAt(draw(text, NSLineBreakByTruncatingMiddle), false), 10);
    EXPECT_GT(lines(draw(text, NSLineBreakByCharWrapping)).size(), 1);
}

TEST(NSAttributedStringGraphics, ColoursAndLinesOfRuns) {
    NSMutableAttributedString text = styled(u"HHHH"_s);
    text.addAttribute(NSForegroundColorAttributeName, QColor(Qt::red), {0, 2});
    text.addAttribute(NSBackgroundColorAttributeName, QColor(Qt::yellow), {2, 2});
    const QImage image = drawn(text, Everywhere);
    const QRect box = ink(image);
    const auto holds = [&](const QRect &part, const QColor &color) {
        for (int y = part.top(); y <= part.bottom(); ++y)
            for (int x = part.left(); x <= part.right(); ++x)
                if (image.pixelColor(x, y) == color)
                    return true;
        return false;
    };
    const QRect left(box.left(), box.top(), box.width() / 2 - 2, box.height());
    const QRect right(box.left() + box.width() / 2 + 2, box.top(), box.width() / 2 - 2, box.height());
    EXPECT_TRUE(holds(left, Qt::red));
    EXPECT_FALSE(holds(left, Qt::yellow));
    EXPECT_TRUE(holds(right, Qt::yellow));
    EXPECT_TRUE(holds(right, Qt::black));
    EXPECT_FALSE(holds(right, Qt::red));

    NSMutableAttributedString underlined = styled(u"HH"_s), struck = styled(u"H H"_s),
                              plain = styled(u"H H"_s);
    underlined.addAttribute(NSUnderlineStyleAttributeName, 1, {0, 2});
    EXPECT_GT(ink(drawn(underlined, Everywhere)).bottom(), ink(drawn(styled(u"HH"_s), Everywhere)).bottom());
    struck.addAttribute(NSStrikethroughStyleAttributeName, true, {0, 3});
    EXPECT_NE(drawn(struck, Everywhere), drawn(plain, Everywhere));
    EXPECT_EQ(ink(drawn(struck, Everywhere)).bottom(), ink(drawn(plain, Everywhere)).bottom());
    NSMutableAttributedString wide = styled(u"HHHH"_s);
    wide.addAttribute(NSKernAttributeName, u"10"_s, {0, 4});
    EXPECT_NEAR(ink(drawn(wide, Everywhere)).width(), box.width() + 30, 2);
}

TEST(NSAttributedStringGraphics, EmojiAreColouredEvenInAFontWithBlackOnes) {
    QFont dejavu(u"DejaVu Sans"_s);
    dejavu.setPixelSize(30);
    EXPECT_TRUE(hasColour(drawn(styled(u"😀"_s, dejavu), Everywhere)));
    EXPECT_TRUE(hasColour(drawn(styled(u"a❤️b"_s, dejavu), Everywhere)));
    EXPECT_FALSE(hasColour(drawn(styled(u"❤\uFE0E"_s, dejavu), Everywhere)));
    EXPECT_FALSE(hasColour(drawn(styled(u"123#*©"_s, dejavu), Everywhere)));
    // A family is one picture.
    const int one = ink(drawn(styled(u"👩"_s, dejavu), Everywhere)).width();
    EXPECT_NEAR(ink(drawn(styled(u"👩‍👩‍👧‍👦"_s, dejavu), Everywhere)).width(), one, one / 2);
}

TEST(NSAttributedStringGraphics, RunsThatPartACharacterDoNotBreakIt) {
    const QString texts[] = {u"a😀b"_s, u"e\u0301e"_s, u"👩‍👩‍👧"_s, u"क्षि"_s};
    for (const QString &text : texts) {
        const QImage whole = drawn(styled(text), Everywhere);
        for (qsizetype at = 1; at < text.size(); ++at) {
            NSMutableAttributedString parted = styled(text);
            parted.addAttribute(u"some other"_s, 1, {at, text.size() - at});
            EXPECT_EQ(drawn(parted, Everywhere), whole) << text.toStdString() << " at " << at;
        }
    }
}

TEST(NSAttributedStringGraphics, CombiningMarksStandOverTheirLetters) {
    const QFont font(u"DejaVu Sans"_s, 20);
    const QRect plain = ink(drawn(styled(u"e"_s, font), Everywhere));
    const QRect marked = ink(drawn(styled(u"e\u0301"_s, font), Everywhere));
    EXPECT_LT(marked.top(), plain.top());
    EXPECT_EQ(marked.bottom(), plain.bottom());
    EXPECT_NEAR(marked.width(), plain.width(), 2);
}

TEST(NSAttributedStringGraphics, EmptyParagraphsTakeALine) {
    const QList<QRect> plain = lines(drawn(styled(u"H\nH\nH"_s), Everywhere));
    const QList<QRect> gap = lines(drawn(styled(u"H\n\nH"_s), Everywhere));
    ASSERT_EQ(gap.size(), 2);
    EXPECT_EQ(gap.at(1), plain.at(2));
    EXPECT_EQ(drawn(styled(u"H\n"_s), Everywhere), drawn(styled(u"H"_s), Everywhere));
    EXPECT_EQ(lines(drawn(styled(u"H\u2028H"_s), Everywhere)).size(), 2);
}

TEST(NSAttributedStringGraphics, RectanglesWithoutRoomShowNothing) {
    for (const QRectF &rect : {QRectF(), QRectF(10, 10, 100, 0), QRectF(10, 10, 100, 3),
                               QRectF(0, 0, 100, std::numeric_limits<double>::quiet_NaN())})
        EXPECT_TRUE(ink(drawn(styled(Long), rect)).isNull());
    // A rectangle may be given by any two of its corners.
    EXPECT_EQ(drawn(styled(Long), QRectF(140, 150, -100, -100)),
              drawn(styled(Long), QRectF(40, 50, 100, 100)));
    drawWithRect(styled(Long), Everywhere, nullptr);
}

TEST(NSAttributedStringGraphics, AttributesOfAnotherTypeDoNotCount) {
    NSMutableAttributedString text(u"HHH"_s), plain(u"HHH"_s);
    for (const QString &name :
         {NSFontAttributeName, NSForegroundColorAttributeName, NSBackgroundColorAttributeName,
          NSParagraphStyleAttributeName, NSUnderlineColorAttributeName})
        text.addAttribute(name, u"nonsense"_s, {0, 3});
    text.addAttribute(NSKernAttributeName, QVariantList{1}, {0, 3});
    EXPECT_EQ(drawn(text, Everywhere), drawn(plain, Everywhere));
    NSMutableParagraphStyle style;
    style.setAlignment(NSTextAlignmentRight);
    NSMutableAttributedString kept(u"HHH"_s);
    kept.addAttribute(NSParagraphStyleAttributeName, QVariant::fromValue(style), {0, 3});
    EXPECT_GT(ink(drawn(kept, Everywhere)).left(), 200);
}

TEST(NSAttributedStringGraphics, AnImageAndAViewShowItUpright) {
    const QRect box = ink(drawn(styled(u"L"_s), {50, 30, 100, 100}));
    NSImage image(QSizeF(300, 200));
    {
        const NSImageFocus focus = image.lockFocus();
        NSGraphicsContext::currentContext()->setFillColor(Qt::white);
        NSRectFill(Everywhere);
        drawWithRect(styled(u"L"_s), {50, 30, 100, 100}, NSGraphicsContext::currentContext());
    }
    EXPECT_EQ(ink(image.CGImageForProposedRect().convertToFormat(QImage::Format_RGB32)), box);

    class TextView : public NSView {
    public:
        void drawRect(const QRectF &) override {
            drawWithRect(styled(u"L"_s), {50, 30, 100, 100}, NSGraphicsContext::currentContext());
        }
    };
    TextView view;
    view.setFrame({0, 0, 300, 200});
    view.setPalette(QPalette(Qt::white));
    EXPECT_EQ(ink(view.grab().toImage().convertToFormat(QImage::Format_RGB32)), box);
}

TEST(NSAttributedStringGraphics, ALargerScaleShowsTheSameLines) {
    const QList<QRect> once = lines(drawn(styled(Long), {40, 0, 200, 200}));
    const QList<QRect> twice = lines(drawn(styled(Long), {40, 0, 200, 200}, QSize(300, 200), 2));
    ASSERT_EQ(once.size(), twice.size());
    for (qsizetype i = 0; i < once.size(); ++i)
        EXPECT_NEAR(twice.at(i).right(), once.at(i).right() * 2, 4);
}

TEST(NSAttributedStringGraphics, ThePainterIsLeftAsItWas) {
    QImage image(100, 100, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setPen(Qt::red);
    const QFont font = painter.font();
    const NSGraphicsContext context(painter, QSizeF(100, 100));
    NSMutableAttributedString text = styled(Long, sans(9));
    setParagraphStyleWithBlock(
        text, [](NSMutableParagraphStyle &style) { style.setLineBreakMode(NSLineBreakByClipping); });
    drawWithRect(text, {10, 10, 50, 50}, &context);
    EXPECT_EQ(painter.pen().color(), QColor(Qt::red));
    EXPECT_EQ(painter.font(), font);
    EXPECT_FALSE(painter.hasClipping());
}

TEST(NSAttributedStringGraphics, AnyRunsOfAnyTextAreDrawnWithinTheirLines) {
    const char *const seedText = std::getenv("ZR_TEST_SEED");
    const unsigned seed = seedText ? unsigned(std::atoi(seedText)) : 1;
    std::mt19937 random(seed);
    const auto upTo = [&](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
    const QStringList pieces{u"a"_s,
                             u"WW "_s,
                             u"\n"_s,
                             u"\r\n"_s,
                             u"\u2028"_s,
                             u"😀"_s,
                             u"👩‍👧"_s,
                             u"e\u0301"_s,
                             u"שלום "_s,
                             u"سلام "_s,
                             u"日本"_s,
                             u"\t"_s,
                             u"\u2029"_s,
                             QString(QChar(0xD800)),
                             QString(QChar(0xDC00)),
                             QString(QChar(0)),
                             u"\u202E"_s,
                             u"\u00AD"_s,
                             u"  "_s};
    for (int round = 0; round < 300; ++round) {
        QString string;
        for (int i = upTo(12); i > 0; --i)
            string += pieces.at(upTo(int(pieces.size()) - 1));
        NSMutableAttributedString text(string);
        for (int i = upTo(6); i > 0; --i) {
            const qsizetype from = upTo(int(string.size()));
            const NSRange range{from, upTo(int(string.size() - from))};
            NSMutableParagraphStyle style;
            style.setAlignment(NSTextAlignment(upTo(4)));
            style.setLineBreakMode(NSLineBreakMode(upTo(5)));
            style.setBaseWritingDirection(NSWritingDirection(upTo(2) - 1));
            style.setHeadIndent(upTo(400) - 100);
            style.setFirstLineHeadIndent(upTo(400) - 100);
            style.setTailIndent(upTo(400) - 200);
            style.setLineSpacing(upTo(10) - 3);
            style.setParagraphSpacing(upTo(10));
            const QVariantList values{sans(1 + upTo(40)), QColor(Qt::blue),
                                      QVariant::fromValue<NSParagraphStyle>(style), upTo(3), u"x"_s};
            const QStringList names{NSFontAttributeName, NSForegroundColorAttributeName,
                                    NSParagraphStyleAttributeName, NSUnderlineStyleAttributeName,
                                    NSKernAttributeName};
            const int which = upTo(4);
            text.addAttribute(names.at(which), values.at(which), range);
        }
        const double height = upTo(200);
        const QImage image = drawn(text, {0, 200 - height, double(upTo(300)), height});
        // Glyphs may stand out of their line a little.
        EXPECT_LE(ink(image).bottom(), height + 12) << "seed " << seed << ", round " << round;
    }
}
