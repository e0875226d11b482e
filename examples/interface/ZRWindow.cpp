// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRWindow.h"

#include "ZRKit/Interface/ZRWindowController.h"
#include "examples/kit/Example.h"
#include "platform/interface/NSApplication.h"

#include <QPushButton>

class PersonWindowController : public ZRWindowController {
    Q_OBJECT

public:
    PersonWindowController() : ZRWindowController(QStringLiteral("PersonWindow")) {}

    Q_INVOKABLE void windowDidClose(ZRWindow *window) { last = window->representedObject(); }

    QVariant last;

protected:
    void configure() override { setRepresentedObject(QStringLiteral("Ada")); }
    void windowDidLoad() override {
        auto *const shown = qobject_cast<ZRWindow *>(window());
        shown->setDelegate(this);
        shown->setRepresentedObject(representedObject());
    }
};

EXAMPLE(ZRWindow) {
    const auto controller = ZRWindowController::make<PersonWindowController>();
    expect(controller->representedObject() == QStringLiteral("Ada"));
    expect(!controller->isWindowLoaded());

    controller->showWindow();
    auto *const window = qobject_cast<ZRWindow *>(controller->window());
    expect(window && window->isVisible());
    expect(window->title() == QStringLiteral("Person"));

    // A sheet: a window that has to be finished first.
    ZRWindow sheet;
    auto *const ok = new QPushButton(QStringLiteral("OK"));
    sheet.setContentView(ok);
    QObject::connect(ok, &QPushButton::clicked, &sheet, [&] { sheet.doConfirmSheet(ok); });
    qint64 answer = -1;
    window->beginSheet(&sheet, [&](qint64 returnCode) { answer = returnCode; });
    expect(window->attachedSheet() == &sheet);
    ok->click();
    expect(answer == 0 && !sheet.isVisible());

    window->close();
    expect(controller->last == QStringLiteral("Ada"));
    expect(!window->representedObject().isValid());

    // The library is the first open document, whatever was set.
    QObject notes;
    NSDocumentController::sharedDocumentController()->addDocument(&notes);
    controller->setLibrary(nullptr);
    expect(controller->library() == &notes && window->library() == &notes);
}

#include "ZRWindow.moc"
