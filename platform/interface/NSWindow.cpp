// SPDX-License-Identifier: MIT
#include "platform/interface/NSWindow.h"

#include "platform/base/NSException.h"
#include "platform/interface/ActionSending.h"
#include "platform/interface/NSApplication.h"
#include "platform/values/NSObjectRuntime.h"

#include <QApplication>
#include <QCloseEvent>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cmath>

using namespace zr;

namespace {

/// Where the platform's coordinates begin: the bottom of the main screen, and its left edge.
QPoint screenOrigin() {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    return {screen.x(), screen.y() + screen.height()};
}

bool isIn(const QWidget *view, const QObject *object) {
    const auto *const widget = qobject_cast<const QWidget *>(object);
    return view && widget && (view == widget || widget->isAncestorOf(view));
}

} // namespace

NSWindow::NSWindow(QWidget *parent) : QMainWindow(parent) {
}

NSWindow::~NSWindow() = default;

QRectF NSWindow::frame() const {
    const QRect frame = frameGeometry();
    const QPoint origin = screenOrigin();
    return {QPointF(frame.x() - origin.x(), origin.y() - frame.y() - frame.height()), QSizeF(frame.size())};
}

void NSWindow::setFrame(const QRectF &frame) {
    const QPoint origin = screenOrigin();
    // Huge and undefined numbers are no places on a screen.
    const auto edge = [](double value) {
        return int(std::lround(std::isnan(value) ? 0 : std::clamp(value, -1e6, 1e6)));
    };
    const int left = edge(frame.x());
    const int bottom = edge(frame.y());
    const int right = edge(frame.x() + frame.width());
    const int top = edge(frame.y() + frame.height());
    const QSize border = frameGeometry().size() - geometry().size();
    resize(std::max(right - left - border.width(), 0), std::max(top - bottom - border.height(), 0));
    move(origin.x() + left, origin.y() - top);
}

void NSWindow::setContentView(QWidget *view) {
    if (view == contentView())
        return;
    if (QWidget *const old = takeCentralWidget())
        old->setParent(nullptr);
    if (view)
        setCentralWidget(view);
}

QWidget *NSWindow::firstResponder() const {
    QWidget *const focused = focusWidget();
    return focused ? focused : const_cast<NSWindow *>(this);
}

bool NSWindow::makeFirstResponder(QObject *responder) {
    if (!responder || responder == this) {
        endEditingFor(nullptr);
        return true;
    }
    auto *const view = qobject_cast<QWidget *>(responder);
    if (!view || view->window() != this || !view->isEnabled() || !view->isVisibleTo(this))
        return false;
    const QVariant receiver = QVariant::fromValue(responder);
    if (const NSSelector become("becomeFirstResponder"); NSObjectRuntime::respondsTo(receiver, become))
        return NSObjectRuntime::perform(receiver, become).toBool();
    if (view->focusPolicy() == Qt::NoFocus)
        return false;
    // Who hears of the focus may delete the view.
    const QPointer<QWidget> focused = view;
    view->setFocus(Qt::OtherFocusReason);
    return isIn(focusWidget(), focused);
}

void NSWindow::endEditingFor(QObject *object) {
    const QPointer<QWidget> editor = focusWidget();
    if (!editor || (object && !isIn(editor, object)))
        return;
    const bool hadKeys = editor->hasFocus();
    editor->clearFocus();
    // Qt tells a view only if its window is the key window.
    if (!hadKeys && editor) {
        QFocusEvent lost(QEvent::FocusOut, Qt::OtherFocusReason);
        QCoreApplication::sendEvent(editor, &lost);
    }
}

void NSWindow::beginSheet(NSWindow *sheet, std::function<void(qint64)> completion) {
    if (!sheet || sheet == this || sheet->m_sheetParent)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("a sheet must be another window, and no sheet already"));
    sheet->m_sheetParent = this;
    sheet->m_sheetCompletion = std::move(completion);
    m_attachedSheet = sheet;
    sheet->hide();
    sheet->setWindowModality(Qt::WindowModal);
    // Windows of the system, made now so that one can be told of the other.
    sheet->winId();
    winId();
    sheet->windowHandle()->setTransientParent(windowHandle());
    sheet->makeKeyAndOrderFront();
}

void NSWindow::endSheet(NSWindow *sheet, qint64 returnCode) {
    if (sheet && sheet->m_sheetParent == this)
        sheet->endSheetSession(returnCode);
}

void NSWindow::endSheetSession(qint64 returnCode) {
    if (m_sheetParent && m_sheetParent->m_attachedSheet == this)
        m_sheetParent->m_attachedSheet = nullptr;
    m_sheetParent = nullptr;
    // Qt doesn't let a visible window become another kind of window.
    hide();
    setWindowModality(Qt::NonModal);
    if (const auto completion = std::exchange(m_sheetCompletion, nullptr))
        completion(returnCode);
}

void NSWindow::makeKeyAndOrderFront() {
    orderFront();
    activateWindow();
}

void NSWindow::orderFront() {
    show();
    raise();
}

void NSWindow::orderOut() {
    hide();
}

void NSWindow::performClose() {
    if (delegateAgreesToClose())
        close();
}

bool NSWindow::delegateAgreesToClose() {
    const std::optional<QVariant> answer = askDelegate("windowShouldClose:");
    return !answer || answer->toBool();
}

std::optional<QVariant> NSWindow::askDelegate(const char *message) {
    std::optional<QVariant> answer;
    withoutRaising(
        [&] { answer = ask(m_delegate, NSSelector(message), {QVariant::fromValue<QObject *>(this)}); });
    return answer;
}

bool NSWindow::close() {
    const QPointer<NSWindow> self = this;
    m_closeWasSeen = false;
    const bool isClosed = QMainWindow::close();
    // Qt asks nobody about a window that was closed before.
    if (self && isClosed && !m_closeWasSeen) {
        askDelegate("windowWillClose:");
        withoutRaising([this] { didClose(); });
    }
    return isClosed;
}

void NSWindow::didClose() {
    if (m_sheetParent)
        withoutRaising([this] { endSheetSession(NSModalResponseAbort); });
}

bool NSWindow::event(QEvent *event) {
    if (event->type() == QEvent::Close) {
        const QPointer<NSWindow> self = this;
        m_closeWasSeen = true;
        if (event->spontaneous() && !delegateAgreesToClose()) {
            event->ignore();
            return true;
        }
        const bool handled = QMainWindow::event(event);
        if (!event->isAccepted() || !self)
            return handled;
        askDelegate("windowWillClose:");
        // Qt hides a closed window after this event.
        m_isClosing = isVisible();
        if (!m_isClosing)
            withoutRaising([this] { didClose(); });
        return handled;
    }
    const bool isClosed = event->type() == QEvent::Hide && !event->spontaneous() && m_isClosing;
    const bool handled = QMainWindow::event(event);
    if (isClosed) {
        m_isClosing = false;
        withoutRaising([this] { didClose(); });
    }
    return handled;
}

#include "moc_NSWindow.cpp"
