// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRViewController.h"

#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRView.h"
#include "examples/kit/Example.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

class PersonController : public ZRViewController {
    Q_OBJECT
    Q_PROPERTY(ZRTextField *nameField MEMBER nameField)
    Q_PROPERTY(QPushButton *greetButton MEMBER greetButton)

public:
    QString greeting() const { return m_greeting; }

    Q_INVOKABLE void configureViewController() { setRepresentedObject(u"Ada"_s); }
    void viewWillAppear() override { nameField->setStringValue(representedObject().toString()); }

    ZRTextField *nameField = nullptr;
    QPushButton *greetButton = nullptr;

protected:
    void viewDidLoad() override {
        connect(greetButton, &QPushButton::clicked, this,
                [this] { m_greeting = u"Hello, "_s + nameField->stringValue(); });
    }

private:
    QString m_greeting;
};

EXAMPLE(ZRViewController) {
    std::shared_ptr<PersonController> controller = ZRViewController::make<PersonController>();
    expect(controller->name() == u"PersonController"_s);
    expect(!controller->isViewLoaded());
    expect(controller->representedObject() == u"Ada"_s);

    expect(controller->view()->objectName() == u"person"_s);
    expect(controller->nameField && controller->greetButton);

    ZRView place(QRectF(0, 0, 400, 300));
    place.setViewController(controller);
    expect(controller->nameField->stringValue() == u"Ada"_s);
    controller->greetButton->click();
    expect(controller->greeting() == u"Hello, Ada"_s);

    place.setViewController(nullptr);
    expect(!controller->representedObject().isValid());
}

#include "ZRViewController.moc"
