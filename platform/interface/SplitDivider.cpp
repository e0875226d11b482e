// SPDX-License-Identifier: MIT
#include "platform/interface/SplitDivider.h"

#include "platform/interface/NSSplitView.h"

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

using namespace zr;

namespace {

constexpr double keyStep = 10;

/// What a screen reader knows: a grip with a value, which is its position.
class AccessibleDivider : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleDivider(SplitDivider *divider)
        : QAccessibleWidget(divider, QAccessible::Grip), m_divider(divider) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return m_divider->position(); }
    void setCurrentValue(const QVariant &value) override {
        m_divider->view().setPosition(value.toDouble(), m_divider->index());
    }
    QVariant minimumValue() const override { return m_divider->view().minPosition(m_divider->index()); }
    QVariant maximumValue() const override { return m_divider->view().maxPosition(m_divider->index()); }
    QVariant minimumStepSize() const override { return 1.0; }

private:
    SplitDivider *const m_divider;
};

QAccessibleInterface *accessible(const QString &, QObject *object) {
    if (auto *const divider = qobject_cast<SplitDivider *>(object))
        return new AccessibleDivider(divider);
    if (auto *const view = qobject_cast<NSSplitView *>(object))
        return new QAccessibleWidget(view, QAccessible::Splitter);
    return nullptr;
}

} // namespace

SplitDivider::SplitDivider(NSSplitView &view, int index)
    : ViewDecoration(&view), m_view(view), m_index(index) {
    setCursor(Qt::SplitHCursor);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QCoreApplication::translate("NSSplitView", "Divider"));
}

void SplitDivider::introduceToScreenReaders() {
    QAccessible::installFactory(accessible);
}

double SplitDivider::position() const {
    return m_view.dividerRect(m_index).left();
}

void SplitDivider::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton)
        m_grip = mapToParent(event->position()).x() - position();
    else
        event->ignore();
}

void SplitDivider::mouseMoveEvent(QMouseEvent *event) {
    if (event->buttons() & Qt::LeftButton)
        m_view.setPosition(mapToParent(event->position()).x() - m_grip, m_index);
}

void SplitDivider::keyPressEvent(QKeyEvent *event) {
    m_isMarked = true;
    switch (event->key()) {
    case Qt::Key_Left:
        return m_view.setPosition(position() - keyStep, m_index);
    case Qt::Key_Right:
        return m_view.setPosition(position() + keyStep, m_index);
    case Qt::Key_Home:
        return m_view.setPosition(m_view.minPosition(m_index), m_index);
    case Qt::Key_End:
        return m_view.setPosition(m_view.maxPosition(m_index), m_index);
    default:
        ViewDecoration::keyPressEvent(event);
    }
}

void SplitDivider::focusInEvent(QFocusEvent *event) {
    // A window that becomes active gives the focus to anybody; who hasn't touched the keyboard needs no mark.
    m_isMarked = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    ViewDecoration::focusInEvent(event);
}

void SplitDivider::paintEvent(QPaintEvent *) {
    if (!hasFocus() || !m_isMarked)
        return;
    QPainter painter(this);
    QColor color = palette().color(QPalette::Highlight);
    color.setAlphaF(0.6F);
    painter.fillRect(rect(), color);
}

#include "moc_SplitDivider.cpp"
