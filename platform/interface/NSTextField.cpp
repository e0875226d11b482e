// SPDX-License-Identifier: MIT
#include "platform/interface/NSTextField.h"

#include "platform/interface/ActionSending.h"
#include "platform/interface/FieldEditor.h"
#include "platform/interface/FieldLabel.h"
#include "platform/observing/NSKeyValueBinding.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <QKeyEvent>
#include <QWindow>
#include <utility>

using namespace zr;

namespace {

struct KeyCommand {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    const char *selector;
};

/// What keys stand for. Qt's editors do it, but for Return.
const KeyCommand keyCommands[] = {
    {Qt::Key_Return, Qt::NoModifier, "insertNewline:"},
    {Qt::Key_Return, Qt::ShiftModifier, "insertNewline:"},
    {Qt::Key_Return, Qt::AltModifier, "insertNewlineIgnoringFieldEditor:"},
    {Qt::Key_Tab, Qt::NoModifier, "insertTab:"},
    {Qt::Key_Backtab, Qt::ShiftModifier, "insertBacktab:"},
    {Qt::Key_Escape, Qt::NoModifier, "cancelOperation:"},
    {Qt::Key_Backspace, Qt::NoModifier, "deleteBackward:"},
    {Qt::Key_Delete, Qt::NoModifier, "deleteForward:"},
    {Qt::Key_Left, Qt::NoModifier, "moveLeft:"},
    {Qt::Key_Right, Qt::NoModifier, "moveRight:"},
    {Qt::Key_Up, Qt::NoModifier, "moveUp:"},
    {Qt::Key_Down, Qt::NoModifier, "moveDown:"},
    {Qt::Key_Home, Qt::NoModifier, "moveToBeginningOfLine:"},
    {Qt::Key_End, Qt::NoModifier, "moveToEndOfLine:"},
    {Qt::Key_PageUp, Qt::NoModifier, "scrollPageUp:"},
    {Qt::Key_PageDown, Qt::NoModifier, "scrollPageDown:"},
};

NSSelector commandOf(const QKeyEvent &event) {
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const int key = event.key() == Qt::Key_Enter ? int(Qt::Key_Return) : event.key();
    for (const KeyCommand &command : keyCommands)
        if (command.key == key && command.modifiers == modifiers)
            return NSSelector(command.selector);
    return {};
}

QString shownText(const QVariant &value) {
    if (NSIsNil(value) || NSIsNull(value))
        return QStringLiteral("");
    return NSObjectRuntime::hasStringValue(value) ? NSObjectRuntime::stringValue(value)
                                                  : NSObjectRuntime::description(value);
}

} // namespace

/// The field's editor or label, and how far the user has come with it. Whatever is told to others may delete the field.
class NSTextField::Editing : public FieldEditorClient {
public:
    explicit Editing(NSTextField &owner) : field(owner) {}

    NSTextField &field;
    QPointer<QObject> delegate;
    QString placeholder;
    bool isEditable = true, isSelectable = false, isBezeled = true, isSingleLine = true;
    NSTextAlignment alignment = NSTextAlignmentNatural;

    /// One of them.
    FieldEditor *editor = nullptr;
    FieldLabel *label = nullptr;

    bool isUnderWay = false;
    bool hasBegun = false;
    bool hasTyped = false;

    QWidget *surface() const { return editor ? editor->view() : label; }
    QString string() const { return editor ? editor->string() : label->text(); }

    void setString(const QString &text) {
        const QString shown = text.isNull() ? QStringLiteral("") : text;
        m_known = shown;
        if (editor)
            editor->setString(shown);
        else
            label->setText(shown);
        arrange();
    }

    /// Takes an editor or a label, as the field's properties ask for it.
    void takeSurface() {
        const QString text = surface() ? string() : QStringLiteral("");
        end(NSOtherTextMovement);
        dropSurface();
        const bool isLabel = !isEditable && !isSelectable;
        editor = isLabel ? nullptr : FieldEditor::make(isSingleLine, &field, this);
        label = isLabel ? new FieldLabel(*field.cell(), &field) : nullptr;
        field.setFocusProxy(isLabel ? nullptr : surface());
        surface()->setGeometry(field.rect());
        surface()->setAccessibleName(field.accessibleName());
        surface()->setAccessibleDescription(field.accessibleDescription());
        surface()->setVisible(true);
        setString(text);
        field.updateGeometry();
    }

    void dropSurface() {
        field.setFocusProxy(nullptr);
        if (FieldEditor *const former = std::exchange(editor, nullptr))
            former->retire();
        delete std::exchange(label, nullptr);
    }

    /// Puts the field's properties to its editor or label.
    void arrange() {
        if (editor) {
            editor->setPlaceholder(placeholder);
            editor->setAlignment(alignment);
            editor->setReadOnly(!isEditable);
            editor->setFrame(isBezeled);
        } else {
            label->setAlignment(qtAlignment(alignment, label->text()) |
                                (isSingleLine ? Qt::AlignVCenter : Qt::AlignTop));
            label->setWordWrap(!isSingleLine);
        }
    }

    void end(NSTextMovement movement) {
        const QPointer<NSTextField> living = &field;
        textWasTyped();
        if (!living || !isUnderWay)
            return;
        isUnderWay = false;
        QObject::disconnect(m_watch);
        withoutRaising([&] {
            field.textDidEndEditing(NSNotification(NSTextDidEndEditingNotification, editorObject(),
                                                   {{NSTextMovementKey, int(movement)}}));
        });
    }

    void tell(const QString &name, const char *method, QVariantMap userInfo = {}) {
        userInfo.insert(QStringLiteral("NSFieldEditor"), editorObject());
        const NSNotification notification(name, QVariant::fromValue<QObject *>(&field), userInfo);
        const QPointer<NSTextField> living = &field;
        withoutRaising([&] { NSNotificationCenter::defaultCenter().postNotification(notification); });
        if (living)
            withoutRaising([&] { ask(delegate, NSSelector(method), {QVariant::fromValue(notification)}); });
    }

    bool keyWasPressed(QKeyEvent &event) override {
        const NSSelector command = commandOf(event);
        if (!isEditable || command.isNil())
            return false;
        const QPointer<NSTextField> living = &field;
        bool isDealtWith = false;
        withoutRaising([&] {
            const auto answer =
                ask(delegate, NSSelector("controlTextViewDoCommandBySelector:textView:selector:"),
                    {QVariant::fromValue<NSControl *>(&field), QVariant::fromValue<NSTextView *>(editor),
                     QVariant::fromValue(command)});
            isDealtWith = answer && boolValue(*answer);
        });
        if (living)
            textWasTyped();
        if (!living || isDealtWith || !editor) {
            event.accept();
            return true;
        }
        if (command == NSSelector("insertNewlineIgnoringFieldEditor:")) {
            editor->insertNewlineIgnoringFieldEditor(nullptr);
            textWasTyped();
            return true;
        }
        if (command != NSSelector("insertNewline:"))
            return false;
        // Without an action, Return is left to a dialog's default button.
        event.setAccepted(!field.action().isNil());
        end(NSReturnTextMovement);
        if (living && surface()->hasFocus())
            withoutRaising([&] { field.becomeFirstResponder(); });
        return true;
    }

    void focusArrived(Qt::FocusReason reason) override {
        if (isUnderWay)
            return;
        const QPointer<NSTextField> living = &field;
        m_isClicked = reason == Qt::MouseFocusReason;
        bool isAccepted = false;
        withoutRaising([&] { isAccepted = field.becomeFirstResponder(); });
        if (!living)
            return;
        m_isClicked = false;
        if (!isAccepted && !isUnderWay)
            surface()->clearFocus();
    }

    void focusLeft(Qt::FocusReason reason) override {
        if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason ||
            reason == Qt::MenuBarFocusReason)
            return;
        end(reason == Qt::TabFocusReason       ? NSTabTextMovement
            : reason == Qt::BacktabFocusReason ? NSBacktabTextMovement
                                               : NSOtherTextMovement);
    }

    void textIsBeingTyped() override {
        const QString text = editor->string();
        if (std::exchange(m_known, text) == text)
            return;
        hasTyped = true;
        if (std::exchange(m_isUntold, true))
            return;
        // A menu may have done it, whose events the editor doesn't see.
        QMetaObject::invokeMethod(
            &field, [this] { textWasTyped(); }, Qt::QueuedConnection);
    }

    void textWasTyped() override {
        if (!std::exchange(m_isUntold, false))
            return;
        const QPointer<NSTextField> living = &field;
        if (!std::exchange(hasBegun, true))
            tell(NSControlTextDidBeginEditingNotification, "controlTextDidBeginEditing:");
        if (living)
            tell(NSControlTextDidChangeNotification, "controlTextDidChange:");
    }

    bool isClicked() const { return m_isClicked; }

    /// Qt tells no view that its window's focus has gone elsewhere while the window itself wasn't active.
    void watchWindow() {
        QObject::disconnect(m_watch);
        const QWindow *const handle = field.window()->windowHandle();
        if (!handle)
            return;
        m_watch = QObject::connect(handle, &QWindow::focusObjectChanged, &field, [this] {
            if (!field.isActiveWindow() && field.window()->focusWidget() != surface())
                end(NSOtherTextMovement);
        });
    }

private:
    QVariant editorObject() const { return editor ? QVariant::fromValue<QObject *>(editor) : QVariant(); }

    QMetaObject::Connection m_watch;
    QString m_known;
    bool m_isUntold = false;
    bool m_isClicked = false;
};

NSTextField::NSTextField(QWidget *parent) : NSControl(parent), m_editing(std::make_unique<Editing>(*this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_editing->takeSurface();
}

NSTextField::~NSTextField() {
    // It tells no one that it goes.
    m_editing->isUnderWay = false;
    m_editing->dropSurface();
}

QString NSTextField::stringValue() const {
    return m_editing->string();
}

void NSTextField::setStringValue(const QString &text) {
    m_editing->setString(text);
}

void NSTextField::setObjectValue(const QVariant &value) {
    m_editing->hasTyped = false;
    m_editing->setString(shownText(value));
}

QString NSTextField::placeholderString() const {
    return m_editing->placeholder;
}

void NSTextField::setPlaceholderString(const QString &text) {
    m_editing->placeholder = text;
    m_editing->arrange();
}

bool NSTextField::isEditable() const {
    return m_editing->isEditable;
}

void NSTextField::setEditable(bool flag) {
    if (std::exchange(m_editing->isEditable, flag) != flag)
        m_editing->takeSurface();
}

bool NSTextField::isSelectable() const {
    return m_editing->isSelectable;
}

void NSTextField::setSelectable(bool flag) {
    if (std::exchange(m_editing->isSelectable, flag) != flag && !isEditable())
        m_editing->takeSurface();
}

bool NSTextField::isBezeled() const {
    return m_editing->isBezeled;
}

void NSTextField::setBezeled(bool flag) {
    m_editing->isBezeled = flag;
    m_editing->arrange();
}

bool NSTextField::usesSingleLineMode() const {
    return m_editing->isSingleLine;
}

void NSTextField::setUsesSingleLineMode(bool flag) {
    if (std::exchange(m_editing->isSingleLine, flag) == flag)
        return;
    setSizePolicy(QSizePolicy::Expanding, flag ? QSizePolicy::Fixed : QSizePolicy::Expanding);
    m_editing->takeSurface();
}

NSTextAlignment NSTextField::alignment() const {
    return m_editing->alignment;
}

void NSTextField::setAlignment(NSTextAlignment alignment) {
    m_editing->alignment = alignment;
    m_editing->arrange();
}

void NSTextField::setAccessibleName(const QString &name) {
    NSControl::setAccessibleName(name);
    m_editing->surface()->setAccessibleName(name);
}

void NSTextField::setAccessibleDescription(const QString &description) {
    NSControl::setAccessibleDescription(description);
    m_editing->surface()->setAccessibleDescription(description);
}

QObject *NSTextField::delegate() const {
    return m_editing->delegate;
}

void NSTextField::setDelegate(QObject *delegate) {
    m_editing->delegate = delegate;
}

NSTextView *NSTextField::currentEditor() const {
    return m_editing->isUnderWay ? m_editing->editor : nullptr;
}

void NSTextField::selectText(QObject *) {
    if (!m_editing->isUnderWay)
        becomeFirstResponder();
    else if (m_editing->editor)
        m_editing->editor->selectAll(nullptr);
}

bool NSTextField::acceptsFirstResponder() const {
    return isEnabled() && m_editing->editor;
}

bool NSTextField::becomeFirstResponder() {
    if (!acceptsFirstResponder())
        return false;
    const QPointer<NSTextField> living = this;
    // Set first, or else the focus that arrives would begin the same again.
    if (!std::exchange(m_editing->isUnderWay, true))
        m_editing->hasBegun = m_editing->hasTyped = false;
    // Another field may be left by this.
    m_editing->surface()->setFocus();
    if (!living)
        return false;
    if (window()->focusWidget() != m_editing->surface()) {
        m_editing->isUnderWay = false;
        return false;
    }
    m_editing->watchWindow();
    if (!m_editing->isClicked())
        m_editing->editor->selectAll(nullptr);
    return true;
}

void NSTextField::textDidEndEditing(const NSNotification &notification) {
    const QPointer<NSTextField> living = this;
    const QVariant movement = notification.userInfo().value(NSTextMovementKey, int(NSOtherTextMovement));
    if (std::exchange(m_editing->hasTyped, false))
        NSKeyValueBinding::setObservedValue(this, QStringLiteral("value"), stringValue());
    if (living)
        m_editing->tell(NSControlTextDidEndEditingNotification,
                        "controlTextDidEndEditing:", {{NSTextMovementKey, movement}});
    if (living && movement.toInt() == NSReturnTextMovement)
        sendAction();
}

QSize NSTextField::sizeHint() const {
    return m_editing->surface()->sizeHint();
}

QSize NSTextField::minimumSizeHint() const {
    return m_editing->surface()->minimumSizeHint();
}

void NSTextField::resizeEvent(QResizeEvent *event) {
    NSControl::resizeEvent(event);
    m_editing->surface()->setGeometry(rect());
}

void NSTextField::hideEvent(QHideEvent *event) {
    NSControl::hideEvent(event);
    // A window that closes takes no focus away.
    if (!event->spontaneous())
        m_editing->end(NSOtherTextMovement);
}

#include "moc_NSTextField.cpp"
