// SPDX-License-Identifier: MIT
#include "platform/interface/FieldEditor.h"

#include "platform/base/NSException.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScopeGuard>
#include <QSignalBlocker>
#include <QTextBlock>

using namespace zr;

namespace {

/// One of Qt's editors that tells a client of what happens to it: last of all, because the client may let go of it.
template <typename Editor>
class Told : public Editor {
public:
    Told(QWidget *parent, FieldEditorClient *&client, int &depth)
        : Editor(parent), m_client(client), m_depth(depth) {}

    bool event(QEvent *event) override {
        const QPointer<QWidget> self = this;
        ++m_depth;
        const auto out = qScopeGuard([&] {
            if (self)
                --m_depth;
        });
        if (event->type() == QEvent::KeyPress && m_client &&
            m_client->keyWasPressed(*static_cast<QKeyEvent *>(event)))
            return true;
        if (!self)
            return true;
        const bool handled = Editor::event(event);
        if (!self || !m_client)
            return handled;
        if (event->type() == QEvent::FocusIn)
            m_client->focusArrived(static_cast<QFocusEvent *>(event)->reason());
        else if (event->type() == QEvent::FocusOut)
            m_client->focusLeft(static_cast<QFocusEvent *>(event)->reason());
        else if (event->type() == QEvent::KeyPress || event->type() == QEvent::InputMethod)
            m_client->textWasTyped();
        return handled;
    }

private:
    FieldEditorClient *&m_client;
    int &m_depth;
};

void requireWithin(NSRange range, qsizetype length) {
    if (!range.isWithin(length))
        throw NSException(NSRangeException,
                          QStringLiteral("The range {%1, %2} is out of bounds; the text's length is %3.")
                              .arg(range.location)
                              .arg(range.length)
                              .arg(length));
}

class LineEditor : public FieldEditor {
public:
    LineEditor(QWidget *parent, FieldEditorClient *client)
        : FieldEditor(nullptr, client), m_view(new Told<QLineEdit>(parent, m_client, m_depth)) {
        setParent(m_view);
        connect(m_view, &QLineEdit::textEdited, this, [this] {
            if (m_client)
                m_client->textIsBeingTyped();
        });
    }

    QWidget *view() const override { return m_view; }
    QString string() const override { return m_view->text(); }
    void setString(const QString &string) override {
        if (m_view->text() != string)
            m_view->setText(string);
    }
    NSRange selectedRange() const override {
        return m_view->hasSelectedText() ? NSRange{m_view->selectionStart(), m_view->selectionLength()}
                                         : NSRange{m_view->cursorPosition(), 0};
    }
    void setSelectedRange(NSRange range) override {
        requireWithin(range, m_view->text().size());
        if (range.length > 0)
            m_view->setSelection(int(range.location), int(range.length));
        else
            m_view->setCursorPosition(int(range.location));
    }
    void insertText(const QString &text) override { m_view->insert(text); }
    void selectAll(QObject *) override { m_view->selectAll(); }

    void setPlaceholder(const QString &text) override { m_view->setPlaceholderText(text); }
    void setAlignment(NSTextAlignment alignment) override {
        // What is natural while the user types, Qt's editor knows itself.
        const Qt::Alignment horizontal =
            alignment == NSTextAlignmentNatural ? Qt::AlignLeft : qtAlignment(alignment, QString());
        m_view->setAlignment(horizontal | Qt::AlignVCenter);
    }
    void setReadOnly(bool flag) override { m_view->setReadOnly(flag); }
    void setFrame(bool flag) override { m_view->setFrame(flag); }

private:
    QLineEdit *const m_view;
};

class BlockEditor : public FieldEditor {
public:
    BlockEditor(QWidget *parent, FieldEditorClient *client)
        : FieldEditor(nullptr, client), m_view(new Told<QPlainTextEdit>(parent, m_client, m_depth)) {
        setParent(m_view);
        m_view->setTabChangesFocus(true);
        connect(m_view, &QPlainTextEdit::textChanged, this, [this] {
            if (m_client)
                m_client->textIsBeingTyped();
        });
    }

    QWidget *view() const override { return m_view; }
    QString string() const override { return m_view->toPlainText(); }
    void setString(const QString &string) override {
        const QSignalBlocker notTyped(m_view);
        if (this->string() != string)
            m_view->setPlainText(string);
    }
    NSRange selectedRange() const override {
        const QTextCursor cursor = m_view->textCursor();
        return {cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
    }
    void setSelectedRange(NSRange range) override {
        requireWithin(range, string().size());
        QTextCursor cursor = m_view->textCursor();
        cursor.setPosition(int(range.location));
        cursor.setPosition(int(range.end()), QTextCursor::KeepAnchor);
        m_view->setTextCursor(cursor);
    }
    void insertText(const QString &text) override { m_view->insertPlainText(text); }
    void selectAll(QObject *) override { m_view->selectAll(); }

    void setPlaceholder(const QString &text) override { m_view->setPlaceholderText(text); }
    void setAlignment(NSTextAlignment alignment) override {
        QTextOption option = m_view->document()->defaultTextOption();
        option.setAlignment(alignment == NSTextAlignmentNatural ? Qt::AlignLeft
                                                                : qtAlignment(alignment, QString()));
        m_view->document()->setDefaultTextOption(option);
    }
    void setReadOnly(bool flag) override { m_view->setReadOnly(flag); }
    void setFrame(bool flag) override { m_view->setFrameShape(flag ? QFrame::StyledPanel : QFrame::NoFrame); }

private:
    QPlainTextEdit *const m_view;
};

} // namespace

void FieldEditor::retire() {
    m_client = nullptr;
    QWidget *const widget = view();
    if (m_depth == 0) {
        delete widget;
        return;
    }
    widget->hide();
    widget->setParent(nullptr);
    widget->deleteLater();
}

FieldEditor *FieldEditor::make(bool isSingleLine, QWidget *parent, FieldEditorClient *client) {
    if (isSingleLine)
        return new LineEditor(parent, client);
    return new BlockEditor(parent, client);
}

Qt::Alignment zr::qtAlignment(NSTextAlignment alignment, const QString &text) {
    switch (alignment) {
    case NSTextAlignmentRight:
        return Qt::AlignRight | Qt::AlignAbsolute;
    case NSTextAlignmentCenter:
        return Qt::AlignHCenter;
    case NSTextAlignmentJustified:
        return Qt::AlignJustify;
    case NSTextAlignmentNatural:
        return (text.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute;
    case NSTextAlignmentLeft:
        break;
    }
    return Qt::AlignLeft | Qt::AlignAbsolute;
}
