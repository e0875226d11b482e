// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"
#include "platform/interface/NSView.h"

#include <QColor>
#include <QString>
#include <QVariant>
#include <concepts>
#include <functional>
#include <memory>

class NSViewController;

/// A plain view with a background, borders and round corners, which an interface file can set as attributes. It can draw itself
/// by a block, show the view of a controller, and ask a delegate for its context menu. Main thread only.
///
/// | attribute                                       | sets                                                             |
/// |-------------------------------------------------|------------------------------------------------------------------|
/// | localize                                        | the flag                                                         |
/// | localizeprefix, prefix                          | the prefix, and the flag to true                                 |
/// | color, bgcolor, background, bg, backgroundcolor | the background: a colour, or a text for colorFromHexString(),    |
/// |                                                 | with the view's present alpha value; anything else does nothing  |
/// | opaque                                          | the flag                                                         |
/// | alpha                                           | the alpha value                                                  |
/// | border                                          | the flags of the borders that are named: "top, left"             |
/// | corner, cornerradius                            | the radius, in single precision                                  |
///
/// Upper and lower case are the same, and a leading "IB", and then "$", is left out. Flags are read by toBool(), numbers by
/// toDouble() or toFloat(). Unknown attributes do nothing, and a text that is no colour leaves the background as it is.
class ZRView : public NSView {
    Q_OBJECT
    Q_PROPERTY(QString localizationPrefix READ localizationPrefix WRITE setLocalizationPrefix)

public:
    explicit ZRView(QWidget *superview = nullptr);
    explicit ZRView(const QRectF &frame, QWidget *superview = nullptr);
    /// Takes back the drawing block, and the view controller as setViewController(nullptr) does.
    ~ZRView() override;

    /// The text without white space around it and without one leading "#", three characters doubled to six; nil if that doesn't
    /// make six. What characters they are isn't looked at. Any thread.
    static QString normalizeColorHexString(const ZRKit::AnyText &text);
    /// The colour of six hexadecimal digits for red, green and blue, as normalizeColorHexString() gives them; invalid if
    /// there are other characters, or no six. Any thread.
    /// \param alpha  from 0, invisible, to 1
    static QColor colorFromHexString(const ZRKit::AnyText &text, double alpha);

    // What was set; nothing but the block draws the view anew. There are lines at the top and at the bottom only: the flags of
    // the others are kept, but not drawn.
    Q_INVOKABLE bool borderTop() const { return m_borderTop; }
    Q_INVOKABLE bool borderBottom() const { return m_borderBottom; }
    Q_INVOKABLE bool borderLeft() const { return m_borderLeft; }
    Q_INVOKABLE bool borderRight() const { return m_borderRight; }
    void setBorderTop(std::same_as<bool> auto flag) { m_borderTop = flag; }
    void setBorderBottom(std::same_as<bool> auto flag) { m_borderBottom = flag; }
    void setBorderLeft(std::same_as<bool> auto flag) { m_borderLeft = flag; }
    void setBorderRight(std::same_as<bool> auto flag) { m_borderRight = flag; }
    /// Of the corners, in points; 0, the initial value, leaves the view unclipped.
    Q_INVOKABLE double cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(double radius) { m_cornerRadius = radius; }
    /// A flag that observers of "opaque" are told of. It makes no difference to what is drawn.
    Q_INVOKABLE bool opaque() const { return m_opaque; }
    void setOpaque(std::same_as<bool> auto flag) { changeOpaque(flag); }
    /// What fills the view in place of all that is behind it, transparency included; invalid for nothing, as at first.
    Q_INVOKABLE QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor &color) { m_backgroundColor = color; }
    Q_INVOKABLE bool localize() const { return m_localize; }
    void setLocalize(std::same_as<bool> auto flag) { m_localize = flag; }
    /// The context of the view's translations; nil for the empty one.
    QString localizationPrefix() const { return m_localizationPrefix; }
    void setLocalizationPrefix(const QString &prefix) { m_localizationPrefix = prefix; }

    /// Draws the view in place of background and borders, inside the round corners; nullptr for none. See drawRect().
    using DrawBlock = std::function<void(ZRView *view)>;
    const DrawBlock &blockDrawRect() const { return m_blockDrawRect; }
    void setBlockDrawRect(DrawBlock block);

    /// The controller whose view fills this one; nullptr for none.
    const std::shared_ptr<NSViewController> &viewController() const { return m_viewController; }
    /// Shows a controller's view in place of all subviews, which belong to the caller then. The controllers hear of it, as
    /// far as they respond: the old one viewWillDisappear, clearRepresentedObject and, when the subviews are gone,
    /// viewWDidDisappear; the new one viewWillAppear and, when its view is there, viewDidAppear. It then comes behind its
    /// view and before this one's superview among the responders. Nothing happens for the controller that is there, or one
    /// that is equal to it.
    void setViewController(const std::shared_ptr<NSViewController> &controller);

    /// Is asked for the context menu if its meta-object declares `QMenu *menuForView(view, event)`, with a `QWidget *` or
    /// `ZRView *` and a `QContextMenuEvent *`; nullptr is no menu. Neither delegate nor menu is kept alive.
    QObject *menuDelegate() const { return m_menuDelegate; }
    void setMenuDelegate(QObject *delegate) { m_menuDelegate = delegate; }

    void drawRect(const QRectF &rect) override;
    QMenu *menuForEvent(QContextMenuEvent *event) override;
    /// Localises the view with its prefix, whatever the flag.
    void awakeFromNib() override;
    /// Takes an attribute, see above.
    Q_INVOKABLE void setValue(const QVariant &value, const QString &forUndefinedKey);

private:
    void changeOpaque(bool flag);
    void setBackground(const QVariant &value);
    void addBorders(const QString &names);
    void exchangeViewController(const std::shared_ptr<NSViewController> &controller);

    bool m_borderTop = false;
    bool m_borderBottom = false;
    bool m_borderLeft = false;
    bool m_borderRight = false;
    double m_cornerRadius = 0;
    bool m_opaque = false;
    QColor m_backgroundColor;
    bool m_localize = false;
    DrawBlock m_blockDrawRect;
    QString m_localizationPrefix;
    std::shared_ptr<NSViewController> m_viewController;
    QPointer<QObject> m_menuDelegate;
};
