// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QWidget>

class QEvent;

enum NSEventType : unsigned {
    NSEventTypeNone = 0, ///< of nil
    NSEventTypeLeftMouseDown = 1,
    NSEventTypeLeftMouseUp = 2,
    NSEventTypeRightMouseDown = 3, ///< also what asks for a context menu, by mouse or by key
    NSEventTypeRightMouseUp = 4,
    NSEventTypeMouseMoved = 5,
    NSEventTypeLeftMouseDragged = 6,
    NSEventTypeRightMouseDragged = 7,
    NSEventTypeKeyDown = 10,
    NSEventTypeKeyUp = 11,
    NSEventTypeFlagsChanged = 12, ///< a modifier key went down or up
    NSEventTypeScrollWheel = 22,
    NSEventTypeOtherMouseDown = 25,
    NSEventTypeOtherMouseUp = 26,
    NSEventTypeOtherMouseDragged = 27,
};

/// Modifier keys as bits of a mask. On the keyboards that Qt knows, option is Alt and command is Meta.
enum NSEventModifierFlags : unsigned {
    NSEventModifierFlagCapsLock = 1U << 16,
    NSEventModifierFlagShift = 1U << 17,
    NSEventModifierFlagControl = 1U << 18,
    NSEventModifierFlagOption = 1U << 19,
    NSEventModifierFlagCommand = 1U << 20,
};

/// What the user did with keyboard or mouse: a value. Main thread only.
class NSEvent {
public:
    /// nil: no event.
    NSEvent() = default;
    /// One of Qt's events as its receiver, a widget of the window, got it; nil if it isn't one of keyboard or mouse.
    explicit NSEvent(const QEvent &event, QWidget *window = nullptr);

    bool isNil() const { return m_type == NSEventTypeNone; }
    explicit operator bool() const { return !isNil(); }

    NSEventType type() const { return m_type; }
    /// A mask of NSEventModifierFlags: the keys held down once the event had happened. Caps lock is on in an event that
    /// NSApplication::currentEvent() gives if it is on at that moment, and in no other.
    unsigned modifierFlags() const { return m_modifierFlags; }
    /// Where the mouse was, in points from the window's bottom left corner; (0, 0) for keys and without a window.
    QPointF locationInWindow() const { return m_locationInWindow; }
    /// nullptr if there is none, or no longer.
    QWidget *window() const { return m_window; }
    /// The text that a key stands for; nil for all other events.
    QString characters() const { return m_characters; }
    /// The number of a key in Qt::Key; 0 for all other events.
    int keyCode() const { return m_keyCode; }

private:
    friend class NSApplication;

    NSEventType m_type = NSEventTypeNone;
    unsigned m_modifierFlags = 0;
    QPointF m_locationInWindow;
    QPointer<QWidget> m_window;
    QString m_characters;
    int m_keyCode = 0;
};

Q_DECLARE_METATYPE(NSEvent)
