// SPDX-License-Identifier: MIT
#include "platform/interface/NSApplication.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/interface/CapsLock.h"
#include "platform/interface/InterfaceStart.h"
#include "platform/interface/MessageBoxPresenter.h"
#include "platform/interface/NSWindow.h"
#include "platform/operations/NSErrorPresenter.h"

#include <QApplication>
#include <QWindow>
#include <algorithm>

using namespace zr;

namespace {

/// The widget of a window that isn't a widget itself.
QWidget *widgetOf(const QWindow *window) {
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(),
                                    [&](const QWidget *widget) { return widget->windowHandle() == window; });
    return found == widgets.end() ? nullptr : *found;
}

/// Sees every event of the main thread before its receiver does.
class EventRecorder : public QObject {
public:
    static EventRecorder &shared() {
        static NeverDestroyed<EventRecorder> recorder;
        return *recorder;
    }

    NSEvent current;

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override {
        // Others are looked at no further: they come by the thousand.
        if (event->isInputEvent() || event->type() == QEvent::ShortcutOverride) {
            QWidget *window = nullptr;
            if (auto *const widget = qobject_cast<QWidget *>(receiver))
                window = widget->window();
            else if (auto *const native = qobject_cast<QWindow *>(receiver))
                window = widgetOf(native);
            noteCapsLock(*event);
            if (const NSEvent seen(*event, window); seen)
                current = seen;
        }
        return false;
    }
};

} // namespace

void zr::startInterface() {
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()))
        return;
    QCoreApplication::instance()->installEventFilter(&EventRecorder::shared());
    if (!NSErrorPresenter::sharedPresenter())
        NSErrorPresenter::setSharedPresenter(std::make_shared<MessageBoxPresenter>());
}
Q_COREAPP_STARTUP_FUNCTION(startInterface)

NSApplication &NSApplication::sharedApplication() {
    static NSApplication application;
    return application;
}

NSEvent NSApplication::currentEvent() const {
    NSEvent event = EventRecorder::shared().current;
    if (event && capsLockIsOn())
        event.m_modifierFlags |= NSEventModifierFlagCapsLock;
    return event;
}

NSWindow *NSApplication::keyWindow() const {
    return qobject_cast<NSWindow *>(QApplication::activeWindow());
}

void NSApplication::presentError(const NSError &error) const {
    NSPresentError(error);
}

void NSApplication::beginSheet(NSWindow *sheet, NSWindow *modalForWindow,
                               std::function<void(qint64)> completion) const {
    if (!modalForWindow)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("a sheet needs a window that it is for"));
    modalForWindow->beginSheet(sheet, std::move(completion));
}

void NSApplication::endSheet(NSWindow *sheet, qint64 returnCode) const {
    if (NSWindow *const parent = sheet ? sheet->sheetParent() : nullptr)
        parent->endSheet(sheet, returnCode);
}
