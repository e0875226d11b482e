// SPDX-License-Identifier: MIT
#include "platform/interface/NSEvent.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <array>

namespace {

unsigned flagsOf(Qt::KeyboardModifiers modifiers) {
    unsigned flags = 0;
    if (modifiers & Qt::ShiftModifier)
        flags |= NSEventModifierFlagShift;
    if (modifiers & Qt::ControlModifier)
        flags |= NSEventModifierFlagControl;
    if (modifiers & Qt::AltModifier)
        flags |= NSEventModifierFlagOption;
    if (modifiers & Qt::MetaModifier)
        flags |= NSEventModifierFlagCommand;
    return flags;
}

/// The three types that a button has, for down, up and dragged.
using ButtonTypes = std::array<NSEventType, 3>;
constexpr ButtonTypes left{NSEventTypeLeftMouseDown, NSEventTypeLeftMouseUp, NSEventTypeLeftMouseDragged};
constexpr ButtonTypes right{NSEventTypeRightMouseDown, NSEventTypeRightMouseUp, NSEventTypeRightMouseDragged};
constexpr ButtonTypes other{NSEventTypeOtherMouseDown, NSEventTypeOtherMouseUp, NSEventTypeOtherMouseDragged};

const ButtonTypes &typesOf(Qt::MouseButton button) {
    return button == Qt::LeftButton ? left : button == Qt::RightButton ? right : other;
}

NSEventType mouseMove(Qt::MouseButtons held) {
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton})
        if (held & button)
            return typesOf(button)[2];
    return held ? other[2] : NSEventTypeMouseMoved;
}

bool isModifier(int key) {
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_CapsLock:
        return true;
    default:
        return false;
    }
}

NSEventType typeOf(const QEvent &event) {
    switch (event.type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        return typesOf(static_cast<const QMouseEvent &>(event).button())[0];
    case QEvent::MouseButtonRelease:
        return typesOf(static_cast<const QMouseEvent &>(event).button())[1];
    case QEvent::MouseMove:
        return mouseMove(static_cast<const QMouseEvent &>(event).buttons());
    case QEvent::ContextMenu:
        return NSEventTypeRightMouseDown;
    case QEvent::Wheel:
        return NSEventTypeScrollWheel;
    // A key that is a shortcut arrives in no other form.
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        if (isModifier(static_cast<const QKeyEvent &>(event).key()))
            return NSEventTypeFlagsChanged;
        return event.type() == QEvent::KeyRelease ? NSEventTypeKeyUp : NSEventTypeKeyDown;
    default:
        return NSEventTypeNone;
    }
}

} // namespace

NSEvent::NSEvent(const QEvent &event, QWidget *window) : m_type(typeOf(event)) {
    if (isNil())
        return;
    m_window = window;
    std::optional<QPointF> globalPosition;
    switch (m_type) {
    case NSEventTypeKeyDown:
    case NSEventTypeKeyUp:
    case NSEventTypeFlagsChanged: {
        const auto &key = static_cast<const QKeyEvent &>(event);
        m_modifierFlags = flagsOf(key.modifiers());
        m_characters = key.text();
        m_keyCode = key.key();
        break;
    }
    default:
        m_modifierFlags = flagsOf(static_cast<const QInputEvent &>(event).modifiers());
        if (event.type() == QEvent::ContextMenu)
            globalPosition = static_cast<const QContextMenuEvent &>(event).globalPos();
        else
            globalPosition = static_cast<const QSinglePointEvent &>(event).globalPosition();
    }
    if (window && globalPosition) {
        const QPointF fromTopLeft = window->mapFromGlobal(*globalPosition);
        m_locationInWindow = QPointF(fromTopLeft.x(), window->height() - fromTopLeft.y());
    }
}
