// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Interface/NSView+ZRLocalize.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/NSResponder.h"
#include "platform/interface/NSViewController.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr double borderHeight = 1;
constexpr float borderWhite = 0.83F;

/// Sends a message without arguments, if the object responds to it.
void tell(QObject *object, const char *message) {
    NSObjectRuntime::answer(QVariant::fromValue(object), message);
}

/// Of a hexadecimal digit; std::nullopt for any other character.
std::optional<int> digitValue(QChar character) {
    const char16_t unit = character.unicode();
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    if (unit >= u'A' && unit <= u'F')
        return unit - u'A' + 10;
    if (unit >= u'a' && unit <= u'f')
        return unit - u'a' + 10;
    return std::nullopt;
}

} // namespace

ZRView::ZRView(QWidget *superview) : NSView(superview) {
}

ZRView::ZRView(const QRectF &frame, QWidget *superview) : NSView(frame, superview) {
}

ZRView::~ZRView() {
    m_blockDrawRect = nullptr;
    if (!m_viewController)
        return;
    // Subviews that others have put in go with this one, the controller's own stays with the controller.
    QWidget *const hosted = m_viewController->isViewLoaded() ? m_viewController->view() : nullptr;
    QList<QPointer<QWidget>> others;
    for (QWidget *subview : subviews())
        if (subview != hosted)
            others.append(subview);
    try {
        exchangeViewController(nullptr);
    } catch (...) {
        NSLog("Exception while a view controller was released: %@", NSException::currentDescription());
    }
    for (const QPointer<QWidget> &other : others)
        if (other && !other->parent())
            delete other;
}

QString ZRView::normalizeColorHexString(const ZRKit::AnyText &text) {
    QString digits = ZRKit::strip(text);
    if (digits.startsWith(QLatin1Char('#')))
        digits.remove(0, 1);
    if (digits.size() == 3)
        for (qsizetype i = 3; i-- > 0;)
            digits.insert(i, digits[i]);
    return digits.size() == 6 ? digits : QString();
}

QColor ZRView::colorFromHexString(const ZRKit::AnyText &text, double alpha) {
    const QString digits = normalizeColorHexString(text);
    if (digits.isNull())
        return {};
    std::array<float, 3> channels{};
    for (qsizetype i = 0; i < 3; ++i) {
        const auto high = digitValue(digits[2 * i]);
        const auto low = digitValue(digits[2 * i + 1]);
        if (!high || !low)
            return {};
        channels[size_t(i)] = float((*high * 16 + *low) / 255.0);
    }
    return QColor::fromRgbF(channels[0], channels[1], channels[2], std::clamp(float(alpha), 0.0F, 1.0F));
}

void ZRView::changeOpaque(bool flag) {
    NSKeyValueObserving::willChangeValueForKey(this, QStringLiteral("opaque"));
    m_opaque = flag;
    NSKeyValueObserving::didChangeValueForKey(this, QStringLiteral("opaque"));
}

void ZRView::setBlockDrawRect(DrawBlock block) {
    m_blockDrawRect = std::move(block);
    setNeedsDisplay(true);
}

void ZRView::setViewController(const std::shared_ptr<NSViewController> &controller) {
    if (NSObjectRuntime::isEqual(QVariant::fromValue<QObject *>(m_viewController.get()),
                                 QVariant::fromValue<QObject *>(controller.get())))
        return;
    exchangeViewController(controller);
    if (!controller)
        NSViewRecalculateKeyViewLoop(this);
}

void ZRView::exchangeViewController(const std::shared_ptr<NSViewController> &controller) {
    const std::shared_ptr<NSViewController> old = m_viewController;
    tell(old.get(), "viewWillDisappear");
    tell(old.get(), "clearRepresentedObject");
    ZRKit::removeAllSubviews(this);
    tell(old.get(), "viewWDidDisappear");
    m_viewController = controller;
    if (!controller)
        return;
    tell(controller.get(), "viewWillAppear");
    QWidget *const hosted = controller->view();
    NSViewSetFrame(hosted, bounds());
    NSViewSetAutoresizingMask(hosted, NSViewWidthSizable | NSViewHeightSizable);
    addSubview(hosted);
    NSViewRecalculateKeyViewLoop(this);
    NSResponderSetNext(hosted, controller.get());
    NSResponderSetNext(controller.get(), superview());
    tell(controller.get(), "viewDidAppear");
}

void ZRView::drawRect(const QRectF &) {
    NSGraphicsContext *const context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    const QRectF area = bounds();
    if (m_cornerRadius != 0)
        context->clipToRoundedRect(area, m_cornerRadius, m_cornerRadius);
    if (m_blockDrawRect) {
        m_blockDrawRect(this);
        return;
    }
    // The borders cover the background. It is left out under them, or it would shine through where round corners cut pixels.
    const double below = m_borderBottom ? borderHeight : 0;
    const double above = m_borderTop ? borderHeight : 0;
    if (m_backgroundColor.isValid() && area.height() > below + above) {
        context->setFillColor(m_backgroundColor);
        NSRectFill({area.x(), area.y() + below, area.width(), area.height() - below - above});
    }
    context->setFillColor(QColor::fromRgbF(borderWhite, borderWhite, borderWhite));
    if (m_borderTop)
        NSRectFill({area.x(), area.height() - borderHeight, area.width(), borderHeight});
    if (m_borderBottom)
        NSRectFill({area.x(), area.y(), area.width(), borderHeight});
}

QMenu *ZRView::menuForEvent(QContextMenuEvent *event) {
    const QVariant delegate = QVariant::fromValue<QObject *>(m_menuDelegate);
    if (const NSSelector question("menuForView:withEvent:");
        m_menuDelegate && NSObjectRuntime::respondsTo(delegate, question)) {
        const QVariant answer = NSObjectRuntime::perform(
            delegate, question, {QVariant::fromValue(this), QVariant::fromValue(event)});
        setMenu(qobject_cast<QMenu *>(answer.value<QObject *>()));
    }
    return NSView::menuForEvent(event);
}

void ZRView::awakeFromNib() {
    ZRKit::localizeWithPrefix(this, m_localizationPrefix);
}

void ZRView::setBackground(const QVariant &value) {
    if (value.typeId() == QMetaType::QColor) {
        m_backgroundColor = value.value<QColor>();
    } else if (value.typeId() == QMetaType::QString) {
        if (const QColor color = colorFromHexString(value.toString(), alphaValue()); color.isValid())
            m_backgroundColor = color;
    } else {
        return;
    }
    setNeedsDisplay(true);
}

void ZRView::addBorders(const QString &names) {
    for (const QString &piece : names.split(QLatin1Char(','))) {
        const QString name = ZRKit::strip(piece);
        m_borderTop |= name == QLatin1String("top");
        m_borderBottom |= name == QLatin1String("bottom");
        m_borderLeft |= name == QLatin1String("left");
        m_borderRight |= name == QLatin1String("right");
    }
    setNeedsDisplay(true);
}

void ZRView::setValue(const QVariant &value, const QString &forUndefinedKey) {
    const ZRKit::IBKeyTable attributes = {
        {QStringLiteral("localize"), [&] { m_localize = ZRKit::toBool(value); }},
        {QStringList{QStringLiteral("localizeprefix"), QStringLiteral("prefix")},
         [&] {
             m_localize = true;
             m_localizationPrefix = ZRKit::toString(value);
         }},
        {QStringList{QStringLiteral("color"), QStringLiteral("bgcolor"), QStringLiteral("background"),
                     QStringLiteral("bg"), QStringLiteral("backgroundcolor")},
         [&] { setBackground(value); }},
        {QStringLiteral("opaque"), [&] { changeOpaque(ZRKit::toBool(value)); }},
        {QStringLiteral("alpha"),
         [&] {
             setAlphaValue(ZRKit::toDouble(value));
             setNeedsDisplay(true);
         }},
        {QStringLiteral("border"), [&] { addBorders(ZRKit::toString(value)); }},
        {QStringList{QStringLiteral("corner"), QStringLiteral("cornerradius")},
         [&] { m_cornerRadius = double(ZRKit::toFloat(value)); }},
    };
    ZRKit::handleIBKey(this, forUndefinedKey, attributes);
}

#include "moc_ZRView.cpp"
