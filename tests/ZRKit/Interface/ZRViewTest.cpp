// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/NSNib.h"
#include "platform/interface/NSResponder.h"
#include "platform/interface/NSViewController.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ObserverLog.h"
#include "tests/support/Rendered.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QTranslator>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

const QColor grey(212, 212, 212); // 0.83 of white

template <typename Flag>
concept IsAFlag = requires(ZRView &view, Flag flag) {
    view.setBorderTop(flag);
    view.setOpaque(flag);
    view.setLocalize(flag);
};
static_assert(IsAFlag<bool> && !IsAFlag<int> && !IsAFlag<QString> && !IsAFlag<const char *>);

/// Whether the view was marked for being drawn anew.
template <typename Change>
bool isRedrawnAfter(ZRView &view, Change change) {
    int drawn = 0;
    view.setBlockDrawRect([&](ZRView *) { ++drawn; });
    view.show();
    const auto settle = [&] {
        for (int before = -1; before != drawn;) {
            before = drawn;
            QApplication::processEvents();
            QApplication::sendPostedEvents();
        }
    };
    settle();
    const int before = drawn;
    change();
    settle();
    return drawn != before;
}

/// A view out of an interface file with these properties.
std::unique_ptr<ZRView> loaded(const QString &properties, const QString &children = {}) {
    const QString file =
        u"<?xml version=\"1.0\" encoding=\"UTF-8\"?><ui version=\"4.0\"><class>Form</class>"
        "<widget class=\"ZRView\" name=\"Form\"><property name=\"geometry\"><rect><x>0</x>"
        "<y>0</y><width>40</width><height>30</height></rect></property>%1%2</widget>"
        "<customwidgets><customwidget><class>ZRView</class><extends>QWidget</extends>"
        "<header>ZRView.h</header></customwidget></customwidgets></ui>"_s.arg(properties, children);
    NSError error;
    std::unique_ptr<QWidget> view = NSNib(file.toUtf8()).instantiateWithOwner(nullptr, &error);
    EXPECT_TRUE(view) << error.localizedDescription().toStdString();
    EXPECT_TRUE(qobject_cast<ZRView *>(view.get()));
    return std::unique_ptr<ZRView>(static_cast<ZRView *>(view.release()));
}

QString text(const QString &name, const QString &value) {
    return u"<property name=\"%1\" stdset=\"0\"><string>%2</string></property>"_s.arg(name, value);
}

QString property(const QString &name, const QString &xml) {
    return u"<property name=\"%1\" stdset=\"0\">%2</property>"_s.arg(name, xml);
}

} // namespace

TEST(ZRView, ColourTextsAreNormalized) {
    for (const QString &given : {u"#fff"_s, u"FFF"_s, u"  ffffff \n"_s, u" #FfF"_s})
        EXPECT_EQ(ZRView::normalizeColorHexString(given).toLower(), u"ffffff"_s) << given.toStdString();
    EXPECT_EQ(ZRView::normalizeColorHexString("a1B"), u"aa11BB"_s);
    EXPECT_EQ(ZRView::normalizeColorHexString("xyz"), u"xxyyzz"_s); // the characters aren't looked at
    EXPECT_EQ(ZRView::normalizeColorHexString("##12345"), u"#12345"_s);
    for (const QString &given : {u"#ffff"_s, u"fffffff"_s, u""_s, u"#"_s, u"##fff"_s, u"# fff"_s, QString()})
        EXPECT_TRUE(ZRView::normalizeColorHexString(given).isNull()) << given.toStdString();
}

TEST(ZRView, ColoursAreReadFromHexadecimalTexts) {
    const QColor color = ZRView::colorFromHexString("00ff80", 0.5);
    EXPECT_EQ(color.redF(), 0);
    EXPECT_EQ(color.greenF(), 1);
    EXPECT_FLOAT_EQ(color.blueF(), 128 / 255.0F);
    EXPECT_NEAR(color.alphaF(), 0.5, 1.0 / 65535);
    EXPECT_EQ(color.spec(), QColor::Rgb);
    EXPECT_EQ(ZRView::colorFromHexString("#aBc", 1), QColor(0xAA, 0xBB, 0xCC));
    for (const QString &given : {u"zz0000"_s, u"00000g"_s, u"-00000"_s, u"０００"_s, u"#ffff"_s, QString()})
        EXPECT_FALSE(ZRView::colorFromHexString(given, 1).isValid()) << given.toStdString();
    for (int value = 0; value < 256; ++value) {
        const QString digits = QString::number(value, 16).rightJustified(2, u'0');
        EXPECT_EQ(ZRView::colorFromHexString(digits + u"0000"_s, 1), QColor(value, 0, 0)) << value;
        EXPECT_EQ(ZRView::colorFromHexString(u"0000"_s + digits.toUpper(), 1), QColor(0, 0, value)) << value;
    }
}

TEST(ZRView, AnAlphaOutsideOfItsRangeIsTheNearestOne) {
    EXPECT_EQ(ZRView::colorFromHexString("fff", 7).alphaF(), 1);
    EXPECT_EQ(ZRView::colorFromHexString("fff", -7).alphaF(), 0);
}

TEST(ZRView, HasNothingSetAtFirst) {
    const ZRView view;
    EXPECT_FALSE(view.borderTop() || view.borderBottom() || view.borderLeft() || view.borderRight());
    EXPECT_EQ(view.cornerRadius(), 0);
    EXPECT_FALSE(view.opaque());
    EXPECT_FALSE(view.localize());
    EXPECT_FALSE(view.backgroundColor().isValid());
    EXPECT_FALSE(view.blockDrawRect());
    EXPECT_TRUE(view.localizationPrefix().isNull());
    EXPECT_EQ(view.viewController(), nullptr);
    EXPECT_EQ(view.menuDelegate(), nullptr);
}

TEST(ZRView, TakesABackgroundUnderEachOfItsNames) {
    for (const QString &key : {u"color"_s, u"bgcolor"_s, u"background"_s, u"bg"_s, u"backgroundcolor"_s,
                               u"IBbgcolor"_s, u"IB$bgcolor"_s, u"$BG"_s, u"backgroundColor"_s, u"Color"_s}) {
        ZRView view;
        view.setValue(u"#f00"_s, key);
        EXPECT_EQ(view.backgroundColor(), QColor(255, 0, 0)) << key.toStdString();
        view.setValue(QColor(1, 2, 3, 4), key);
        EXPECT_EQ(view.backgroundColor(), QColor(1, 2, 3, 4)) << key.toStdString();
    }
}

TEST(ZRView, ABackgroundTextHasTheAlphaOfTheMoment) {
    ZRView view;
    view.setValue(u"0.5"_s, u"alpha"_s);
    view.setValue(u"#f00"_s, u"bg"_s);
    EXPECT_NEAR(view.backgroundColor().alphaF(), 0.5, 1.0 / 65535);
    view.setValue(1, u"alpha"_s);
    EXPECT_NEAR(view.backgroundColor().alphaF(), 0.5, 1.0 / 65535);
}

TEST(ZRView, WhatIsNoColourLeavesTheBackground) {
    ZRView view;
    view.setValue(u"#f00"_s, u"bg"_s);
    for (const QVariant &value :
         {QVariant(), NSNull(), QVariant(7), QVariant(u"zz0000"_s), QVariant(u""_s), QVariant(true),
          QVariant(QByteArray("#fff")), QVariant(QVariantList{u"#fff"_s})})
        view.setValue(value, u"bg"_s);
    EXPECT_EQ(view.backgroundColor(), QColor(255, 0, 0));
}

TEST(ZRView, OnlyValuesThatCanBeColoursAreAReasonToDrawAnew) {
    ZRView view(QRectF(0, 0, 20, 20));
    EXPECT_TRUE(isRedrawnAfter(view, [&] { view.setValue(u"#f00"_s, u"bg"_s); }));
    EXPECT_TRUE(isRedrawnAfter(view, [&] { view.setValue(QColor(Qt::red), u"bg"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(7, u"bg"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(QVariant(), u"bg"_s); }));
    EXPECT_TRUE(isRedrawnAfter(view, [&] { view.setValue(0.5, u"alpha"_s); }));
    EXPECT_TRUE(isRedrawnAfter(view, [&] { view.setValue(u"top"_s, u"border"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(3, u"corner"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(true, u"opaque"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(true, u"localize"_s); }));
    EXPECT_FALSE(isRedrawnAfter(view, [&] { view.setValue(true, u"nonsense"_s); }));
    EXPECT_TRUE(isRedrawnAfter(view, [&] { view.setBlockDrawRect(view.blockDrawRect()); }));
}

TEST(ZRView, LocalizationIsSetByFlagAndPrefix) {
    for (const QString &key : {u"localizeprefix"_s, u"prefix"_s, u"IBLocalizePrefix"_s, u"PREFIX"_s}) {
        ZRView view;
        view.setValue(u"Prefs"_s, key);
        EXPECT_TRUE(view.localize()) << key.toStdString();
        EXPECT_EQ(view.localizationPrefix(), u"Prefs"_s) << key.toStdString();
    }
    ZRView view;
    view.setValue(u"YES"_s, u"localize"_s);
    EXPECT_TRUE(view.localize());
    EXPECT_TRUE(view.localizationPrefix().isNull());
    view.setValue(u"no"_s, u"localize"_s);
    EXPECT_FALSE(view.localize());
}

TEST(ZRView, ObserversHearOfOpaqueOnce) {
    ZRView view;
    QVariantMap last;
    ObserverLog log([&](const QString &, const QVariantMap &change) { last = change; });
    NSKeyValueObserving::addObserver(&view, &log, u"opaque"_s,
                                     NSKeyValueObservingOptionOld | NSKeyValueObservingOptionNew);
    view.setValue(u"YES"_s, u"opaque"_s);
    EXPECT_TRUE(view.opaque());
    EXPECT_EQ(log.entries(), QStringList{u"opaque:did"_s});
    EXPECT_EQ(last[NSKeyValueChangeOldKey], QVariant(false));
    EXPECT_EQ(last[NSKeyValueChangeNewKey], QVariant(true));
    view.setOpaque(false);
    EXPECT_FALSE(view.opaque());
    NSKeyValueCoding::setValueForKey(&view, u"true"_s, u"opaque"_s);
    EXPECT_TRUE(view.opaque());
    EXPECT_EQ(log.entries().size(), 3);
    NSKeyValueObserving::removeObserver(&view, &log, u"opaque"_s);
}

TEST(ZRView, KeysReadAndWriteWhatAttributesSet) {
    ZRView view;
    NSKeyValueCoding::setValueForKey(&view, u"f00"_s, u"backgroundColor"_s);
    EXPECT_EQ(NSKeyValueCoding::valueForKey(&view, u"backgroundColor"_s).value<QColor>(), QColor(255, 0, 0));
    NSKeyValueCoding::setValueForKey(&view, u"8.5pt"_s, u"cornerRadius"_s);
    EXPECT_EQ(NSKeyValueCoding::valueForKey(&view, u"cornerRadius"_s), QVariant(8.5));
    NSKeyValueCoding::setValueForKey(&view, u"Prefs"_s, u"localizationPrefix"_s);
    EXPECT_EQ(view.localizationPrefix(), u"Prefs"_s);
}

TEST(ZRView, BordersAreOnlyEverTurnedOn) {
    ZRView view;
    view.setValue(u"top, left"_s, u"Border"_s);
    EXPECT_TRUE(view.borderTop() && view.borderLeft());
    EXPECT_FALSE(view.borderBottom() || view.borderRight());
    view.setValue(u" bottom ,,Right, middle,\tright\n"_s, u"border"_s);
    EXPECT_TRUE(view.borderTop() && view.borderLeft() && view.borderBottom() && view.borderRight());
    view.setValue(u""_s, u"border"_s);
    EXPECT_TRUE(view.borderTop());
    ZRView other;
    other.setValue(u"Top,BOTTOM"_s, u"border"_s); // the names have no capitals
    EXPECT_FALSE(other.borderTop() || other.borderBottom());
}

TEST(ZRView, TheCornerRadiusHasSinglePrecision) {
    for (const QString &key : {u"corner"_s, u"cornerradius"_s, u"cornerRadius"_s}) {
        ZRView view;
        view.setValue(u"8.1pt"_s, key);
        EXPECT_EQ(view.cornerRadius(), double(8.1F)) << key.toStdString();
        view.setValue(u"none"_s, key);
        EXPECT_EQ(view.cornerRadius(), 0) << key.toStdString();
    }
}

TEST(ZRView, UnknownAttributesAndOddValuesDoNothing) {
    ZRView view;
    for (const QString &key : {u"shadow"_s, u""_s, u"IB"_s, u"$"_s, QString(), u"col or"_s})
        view.setValue(u"#f00"_s, key);
    EXPECT_FALSE(view.backgroundColor().isValid());
    for (const QString &key :
         {u"localize"_s, u"prefix"_s, u"bg"_s, u"opaque"_s, u"alpha"_s, u"border"_s, u"corner"_s})
        for (const QVariant &value : {QVariant(), NSNull(), QVariant(QVariantMap()), QVariant(QPointF(1, 2))})
            EXPECT_NO_THROW(view.setValue(value, key)) << key.toStdString();
}

TEST(ZRView, TakesAllAttributesFromAnInterfaceFile) {
    const auto view =
        loaded(text(u"IBbgcolor"_s, u"#f00"_s) + text(u"Border"_s, u"top, left"_s) +
               text(u"corner"_s, u"8.5pt"_s) + text(u"opaque"_s, u"YES"_s) + text(u"prefix"_s, u"Prefs"_s));
    EXPECT_EQ(view->backgroundColor(), QColor(255, 0, 0));
    EXPECT_TRUE(view->borderTop() && view->borderLeft());
    EXPECT_EQ(view->cornerRadius(), 8.5);
    EXPECT_TRUE(view->opaque());
    EXPECT_TRUE(view->localize());
    EXPECT_EQ(view->localizationPrefix(), u"Prefs"_s);
    view->setCornerRadius(0);
    const QImage picture = rendered(*view);
    EXPECT_EQ(picture.pixelColor(0, 0), grey);
    EXPECT_EQ(picture.pixelColor(39, 0), grey);
    EXPECT_EQ(picture.pixelColor(0, 1), QColor(Qt::red)); // no line on the left
    EXPECT_EQ(picture.pixelColor(39, 29), QColor(Qt::red));
}

TEST(ZRView, ConvertsAttributesOfAnyTypeByItsOwnRules) {
    const auto odd =
        loaded(text(u"opaque"_s, u"no"_s) + text(u"localize"_s, u"false"_s) +
               text(u"alpha"_s, u"0.25 or so"_s) + property(u"corner"_s, u"<number>3</number>"_s));
    EXPECT_FALSE(odd->opaque());
    EXPECT_FALSE(odd->localize());
    EXPECT_EQ(odd->alphaValue(), 0.25);
    EXPECT_EQ(odd->cornerRadius(), 3);
    const auto typed = loaded(
        property(u"opaque"_s, u"<bool>true</bool>"_s) + property(u"alpha"_s, u"<double>0.5</double>"_s) +
        property(u"backgroundColor"_s,
                 u"<color alpha=\"128\"><red>1</red><green>2</green><blue>3</blue></color>"_s) +
        property(u"cornerRadius"_s, u"<double>2.5</double>"_s) +
        property(u"border"_s, u"<cstring>bottom</cstring>"_s));
    EXPECT_TRUE(typed->opaque());
    EXPECT_EQ(typed->alphaValue(), 0.5);
    EXPECT_EQ(typed->backgroundColor(), QColor(1, 2, 3, 128));
    EXPECT_EQ(typed->cornerRadius(), 2.5);
    EXPECT_TRUE(typed->borderBottom());
}

TEST(ZRView, AMaskComesFromAnInterfaceFileToo) {
    const auto view =
        loaded({}, u"<widget class=\"ZRView\" name=\"inside\"><property name=\"geometry\"><rect><x>5</x>"
                   "<y>5</y><width>30</width><height>20</height></rect></property>"
                   "<property name=\"autoresizingMask\"><UInt>18</UInt></property></widget>"_s);
    ZRKit::setSize(view.get(), QSizeF(140, 130));
    EXPECT_EQ(view->findChild<ZRView *>()->frame(), QRectF(5, 5, 130, 120));
}

TEST(ZRView, IsLocalizedWhenItIsLoadedWhateverTheFlag) {
    // A translation that exists for one context only.
    class Translator : public QTranslator {
    public:
        QString translate(const char *context, const char *source, const char *, int) const override {
            return QByteArray(context) == "Prefs" && QByteArray(source) == "Name" ? u"Nom"_s : QString();
        }
        bool isEmpty() const override { return false; }
    };
    Translator translator;
    QApplication::installTranslator(&translator);
    const QString label =
        u"<widget class=\"QLabel\" name=\"label\"><property name=\"text\"><string>Name</string>"
        "</property></widget>"_s;
    const auto prefixed = loaded(text(u"prefix"_s, u"Prefs"_s) + text(u"localize"_s, u"NO"_s), label);
    EXPECT_FALSE(prefixed->localize());
    EXPECT_EQ(prefixed->findChild<QLabel *>()->text(), u"Nom"_s);
    const auto plain = loaded({}, label);
    EXPECT_EQ(plain->findChild<QLabel *>()->text(), u"Name"_s);
    QApplication::removeTranslator(&translator);
}

TEST(ZRView, ABackgroundReplacesWhatIsBehindIt) {
    ZRView view(QRectF(0, 0, 20, 10));
    view.setBackgroundColor(QColor(255, 0, 0, 128));
    EXPECT_EQ(rendered(view).pixelColor(5, 5), QColor(255, 0, 0, 128));
    view.setBackgroundColor(QColor(0, 0, 0, 0));
    EXPECT_EQ(rendered(view).pixelColor(5, 5).alpha(), 0);
    view.setBackgroundColor(QColor());
    EXPECT_EQ(rendered(view).pixelColor(5, 5), QColor(Qt::white));
}

TEST(ZRView, BordersAreOnePointOfGreyAtTheTopAndAtTheBottom) {
    for (const int ratio : {1, 2}) {
        ZRView view(QRectF(0, 0, 20, 10));
        view.setBackgroundColor(Qt::red);
        view.setBorderTop(true);
        QImage picture = rendered(view, ratio);
        for (int x = 0; x < 20 * ratio; ++x)
            for (int y = 0; y < 10 * ratio; ++y)
                EXPECT_EQ(picture.pixelColor(x, y), y < ratio ? grey : QColor(Qt::red)) << x << " " << y;
        view.setBorderBottom(true);
        view.setBorderLeft(true);
        view.setBorderRight(true);
        picture = rendered(view, ratio);
        for (int x = 0; x < 20 * ratio; ++x)
            for (int y = 0; y < 10 * ratio; ++y)
                EXPECT_EQ(picture.pixelColor(x, y), y < ratio || y >= 9 * ratio ? grey : QColor(Qt::red))
                    << x << " " << y;
    }
}

TEST(ZRView, WithoutAContextNothingIsDrawn) {
    ZRView view(QRectF(0, 0, 20, 10));
    view.setBackgroundColor(Qt::red);
    view.setCornerRadius(3);
    view.setBlockDrawRect([](ZRView *) { ADD_FAILURE(); });
    view.drawRect(view.bounds());
}

TEST(ZRView, BordersNeedNoBackground) {
    ZRView view(QRectF(0, 0, 20, 10));
    view.setBorderBottom(true);
    const QImage picture = rendered(view);
    EXPECT_EQ(picture.pixelColor(3, 9), grey);
    EXPECT_EQ(picture.pixelColor(3, 8), QColor(Qt::white));
}

TEST(ZRView, ASmallViewIsAllBorder) {
    ZRView view(QRectF(0, 0, 20, 1));
    view.setBackgroundColor(Qt::red);
    view.setBorderTop(true);
    view.setBorderBottom(true);
    EXPECT_EQ(rendered(view).pixelColor(3, 0), grey);
}

TEST(ZRView, RoundCornersAreCutSmoothly) {
    for (const int ratio : {1, 2}) {
        ZRView view(QRectF(0, 0, 40, 30));
        view.setBackgroundColor(Qt::black);
        view.setCornerRadius(10);
        const QImage picture = rendered(view, ratio);
        const QPoint far(40 * ratio - 1, 30 * ratio - 1);
        for (const QPoint corner : {QPoint(0, 0), QPoint(far.x(), 0), QPoint(0, far.y()), far})
            EXPECT_EQ(picture.pixelColor(corner), QColor(Qt::white));
        EXPECT_EQ(picture.pixelColor(20 * ratio, 0), QColor(Qt::black));
        EXPECT_EQ(picture.pixelColor(0, 15 * ratio), QColor(Qt::black));
        std::set<int> levels;
        for (int y = 0; y < 10 * ratio; ++y)
            for (int x = 0; x < 10 * ratio; ++x)
                levels.insert(picture.pixelColor(x, y).red());
        EXPECT_GE(levels.size(), 8u) << ratio;
    }
}

TEST(ZRView, ABackgroundDoesNotShineThroughABorderAtRoundCorners) {
    ZRView view(QRectF(0, 0, 40, 30));
    view.setBackgroundColor(Qt::red);
    view.setBorderTop(true);
    view.setCornerRadius(10);
    const QImage picture = rendered(view);
    for (int x = 0; x < 40; ++x) { // only mixtures of grey and white
        const QColor pixel = picture.pixelColor(x, 0);
        EXPECT_EQ(pixel.red(), pixel.green()) << x;
    }
}

TEST(ZRView, DrawingAgainLeavesNoFringe) {
    NSView window(QRectF(0, 0, 60, 50));
    ZRView view(QRectF(10, 10, 40, 30), &window);
    view.setBackgroundColor(Qt::red);
    view.setCornerRadius(10);
    window.show();
    QApplication::processEvents();
    const QImage first = window.grab().toImage();
    for (int i = 0; i < 5; ++i) {
        view.setBackgroundColor(i % 2 ? Qt::red : Qt::green);
        view.setNeedsDisplay(true);
        QApplication::processEvents();
    }
    view.setBackgroundColor(Qt::red);
    view.repaint();
    EXPECT_EQ(window.grab().toImage(), first);
}

TEST(ZRView, ABlockDrawsInPlaceOfAllElseInsideTheCorners) {
    ZRView view(QRectF(0, 0, 40, 30));
    view.setBackgroundColor(Qt::red);
    view.setBorderTop(true);
    view.setCornerRadius(10);
    ZRView *drawn = nullptr;
    view.setBlockDrawRect([&](ZRView *self) {
        drawn = self;
        NSGraphicsContext::currentContext()->setFillColor(Qt::blue);
        NSRectFill(QRectF(0, 0, 40, 15));
    });
    const QImage picture = rendered(view);
    EXPECT_EQ(drawn, &view);
    EXPECT_EQ(picture.pixelColor(20, 0), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(20, 20), QColor(Qt::blue));
    EXPECT_EQ(picture.pixelColor(0, 29), QColor(Qt::white)); // outside of the corner
}

TEST(ZRView, ABlockIsACopyAndGoesWithTheView) {
    auto held = std::make_shared<int>(1);
    {
        ZRView view;
        view.setBlockDrawRect([held](ZRView *) {});
        EXPECT_EQ(held.use_count(), 2);
        view.setBlockDrawRect(nullptr);
        EXPECT_EQ(held.use_count(), 1);
        view.setBlockDrawRect([held](ZRView *) {});
    }
    EXPECT_EQ(held.use_count(), 1);
}

namespace {

/// Gives a menu for any view.
class MenuGiver : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE QMenu *menuForView(QWidget *view, QContextMenuEvent *event) {
        asked.append({view, event});
        return menu;
    }
    QList<std::pair<QWidget *, QContextMenuEvent *>> asked;
    QMenu *menu = nullptr;
};

} // namespace

TEST(ZRView, AsksItsDelegateForTheMenu) {
    ZRView view(QRectF(0, 0, 40, 30));
    QMenu own, given;
    MenuGiver delegate;
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(1, 1), QPoint(1, 1));
    view.setMenu(&own);
    EXPECT_EQ(view.menuForEvent(&event), &own);
    QObject silent;
    view.setMenuDelegate(&silent);
    EXPECT_EQ(view.menuForEvent(&event), &own);
    view.setMenuDelegate(&delegate);
    delegate.menu = &given;
    EXPECT_EQ(view.menuForEvent(&event), &given);
    EXPECT_EQ(view.menu(), &given);
    ASSERT_EQ(delegate.asked.size(), 1);
    EXPECT_EQ(delegate.asked[0].first, &view);
    EXPECT_EQ(delegate.asked[0].second, &event);
    delegate.menu = nullptr;
    EXPECT_EQ(view.menuForEvent(&event), nullptr);
    EXPECT_EQ(view.menu(), nullptr);
}

TEST(ZRView, TheDelegatesMenuComesUp) {
    ZRView view(QRectF(0, 0, 40, 30));
    view.show();
    QMenu menu;
    menu.addAction(u"Item"_s);
    MenuGiver delegate;
    delegate.menu = &menu;
    view.setMenuDelegate(&delegate);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), view.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&view, &event);
    EXPECT_TRUE(menu.isVisible());
}

TEST(ZRView, AMenuDelegateIsNotKeptAlive) {
    ZRView view;
    auto delegate = std::make_unique<MenuGiver>();
    view.setMenuDelegate(delegate.get());
    delegate.reset();
    EXPECT_EQ(view.menuDelegate(), nullptr);
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(1, 1), QPoint(1, 1));
    EXPECT_EQ(view.menuForEvent(&event), nullptr);
}

namespace {

QStringList calls;

/// A view that notes when it comes and goes.
class Hosted : public NSView {
    Q_OBJECT

public:
    explicit Hosted(QString name) : m_name(std::move(name)) {}
    void viewWillMoveToSuperview(QWidget *superview) override {
        calls.append(m_name + (superview ? u" view added"_s : u" view removed"_s));
    }

private:
    const QString m_name;
};

/// Notes all that it is told.
class Noting : public NSViewController {
    Q_OBJECT

public:
    explicit Noting(const QString &name) {
        setObjectName(name);
        setView(new Hosted(name));
    }
    Q_INVOKABLE void viewWillAppear() { note(u"viewWillAppear"_s); }
    Q_INVOKABLE void viewDidAppear() { note(u"viewDidAppear"_s); }
    Q_INVOKABLE void viewWillDisappear() { note(u"viewWillDisappear"_s); }
    Q_INVOKABLE void viewDidDisappear() { note(u"viewDidDisappear"_s); }
    Q_INVOKABLE void viewWDidDisappear() { note(u"viewWDidDisappear"_s); }
    Q_INVOKABLE void clearRepresentedObject() { note(u"clearRepresentedObject"_s); }

protected:
    void note(const QString &message) { calls.append(objectName() + u' ' + message); }
};

/// Responds to nothing.
class Silent : public NSViewController {
    Q_OBJECT

public:
    Silent() { setView(new Hosted(u"silent"_s)); }
};

/// Doesn't want to go.
class Bad : public NSViewController {
    Q_OBJECT

public:
    Q_INVOKABLE void viewWillDisappear() { throw std::runtime_error("no"); }
};

/// Equal to each of its kind.
class Alike : public Noting {
    Q_OBJECT

public:
    using Noting::Noting;
    Q_INVOKABLE bool isEqual(QObject *other) const { return qobject_cast<Alike *>(other); }
    Q_INVOKABLE quint64 hash() const { return 1; }
};

} // namespace

TEST(ZRView, HostsAControllerInItsExactOrder) {
    calls.clear();
    NSView superview(QRectF(0, 0, 200, 200));
    ZRView view(QRectF(10, 10, 100.5, 50), &superview);
    const auto first = std::make_shared<Noting>(u"first"_s);
    const auto second = std::make_shared<Noting>(u"second"_s);
    view.setViewController(first);
    EXPECT_EQ(calls,
              (QStringList{u"first viewWillAppear"_s, u"first view added"_s, u"first viewDidAppear"_s}));
    EXPECT_EQ(view.viewController(), first);
    EXPECT_EQ(view.subviews(), QList<QWidget *>{first->view()});
    EXPECT_EQ(NSViewFrame(first->view()), QRectF(0, 0, 100.5, 50));
    EXPECT_EQ(NSViewAutoresizingMask(first->view()), 18u);
    EXPECT_EQ(NSResponderNext(first->view()), first.get());
    EXPECT_EQ(NSResponderNext(first.get()), &superview);

    calls.clear();
    auto *const extra = new Hosted(u"extra"_s);
    view.addSubview(extra);
    view.setViewController(second);
    EXPECT_EQ(
        calls,
        (QStringList{u"extra view added"_s, u"first viewWillDisappear"_s, u"first clearRepresentedObject"_s,
                     u"extra view removed"_s, u"first view removed"_s, u"first viewWDidDisappear"_s,
                     u"second viewWillAppear"_s, u"second view added"_s, u"second viewDidAppear"_s}));
    delete extra;

    calls.clear();
    view.setViewController(nullptr);
    EXPECT_EQ(calls, (QStringList{u"second viewWillDisappear"_s, u"second clearRepresentedObject"_s,
                                  u"second view removed"_s, u"second viewWDidDisappear"_s}));
    EXPECT_TRUE(view.subviews().isEmpty());
}

TEST(ZRView, TheSameControllerAgainDoesNothing) {
    ZRView view(QRectF(0, 0, 100, 50));
    const auto controller = std::make_shared<Noting>(u"c"_s);
    view.setViewController(controller);
    calls.clear();
    view.setViewController(controller);
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(view.subviews().size(), 1);
    ZRView empty;
    auto *const subview = new NSView(&empty);
    empty.setViewController(nullptr);
    EXPECT_EQ(empty.subviews(), QList<QWidget *>{subview});
}

TEST(ZRView, AnEqualControllerDoesNothing) {
    ZRView view(QRectF(0, 0, 100, 50));
    const auto first = std::make_shared<Alike>(u"first"_s);
    const auto equal = std::make_shared<Alike>(u"equal"_s);
    view.setViewController(first);
    calls.clear();
    view.setViewController(equal);
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(view.viewController(), first);
}

TEST(ZRView, AControllerNeedNotRespond) {
    ZRView view(QRectF(0, 0, 100, 50));
    calls.clear();
    view.setViewController(std::make_shared<Silent>());
    view.setViewController(nullptr);
    EXPECT_EQ(calls, (QStringList{u"silent view added"_s, u"silent view removed"_s}));
}

TEST(ZRView, AControllerIsKeptUntilItIsReplaced) {
    ZRView view(QRectF(0, 0, 100, 50));
    auto controller = std::make_shared<Noting>(u"c"_s);
    const std::weak_ptr<Noting> watched = controller;
    view.setViewController(controller);
    controller.reset();
    EXPECT_FALSE(watched.expired());
    view.setViewController(nullptr);
    EXPECT_TRUE(watched.expired());
}

TEST(ZRView, TheHostedViewFillsTheViewWhenThatIsResized) {
    ZRView view(QRectF(0, 0, 100, 50));
    const auto controller = std::make_shared<Noting>(u"c"_s);
    view.setViewController(controller);
    ZRKit::setSize(&view, QSizeF(300, 200));
    EXPECT_EQ(NSViewFrame(controller->view()), QRectF(0, 0, 300, 200));
}

TEST(ZRView, ReleasedItLetsItsControllerGo) {
    const auto controller = std::make_shared<Noting>(u"c"_s);
    QPointer<QWidget> placeholder;
    {
        NSView window(QRectF(0, 0, 100, 100));
        auto *const view = new ZRView(QRectF(0, 0, 100, 50), &window);
        view->setViewController(controller);
        placeholder = new NSView(view);
        calls.clear();
    }
    EXPECT_EQ(calls, (QStringList{u"c viewWillDisappear"_s, u"c clearRepresentedObject"_s,
                                  u"c view removed"_s, u"c viewWDidDisappear"_s}));
    EXPECT_TRUE(controller->isViewLoaded());
    EXPECT_EQ(NSViewSuperview(controller->view()), nullptr);
    EXPECT_FALSE(placeholder);
}

TEST(ZRView, AControllerThatRaisesAtTheEndIsLogged) {
    const LogCapture log;
    {
        ZRView view(QRectF(0, 0, 100, 50));
        view.setViewController(std::make_shared<Bad>());
    }
    EXPECT_EQ(log.count(u"Exception while a view controller was released: "_s), 1);
}

TEST(ZRView, HostingRecomputesTheKeyViewLoop) {
    NSView window(QRectF(0, 0, 300, 100));
    auto *const below = new QLineEdit(&window);
    NSViewSetFrame(below, QRectF(0, 0, 50, 20));
    ZRView view(QRectF(0, 50, 300, 50), &window);
    const auto controller = std::make_shared<Silent>();
    auto *const hosted = new QLineEdit(controller->view());
    view.setViewController(controller);
    QWidget *next = hosted->nextInFocusChain();
    while (next->focusPolicy() == Qt::NoFocus)
        next = next->nextInFocusChain();
    EXPECT_EQ(next, below); // what stands higher comes first
    view.setViewController(nullptr);
}

#include "ZRViewTest.moc"
