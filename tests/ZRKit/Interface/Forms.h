// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRMenu.h"
#include "ZRKit/Interface/ZRTextEditorField.h"

#include <QBuffer>
#include <QUiLoader>

/// Makes the kit's views of text as an interface file names them.
class TextLoader : public QUiLoader {
public:
    QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override {
        QWidget *const made = make(className, parent);
        if (!made)
            return QUiLoader::createWidget(className, parent, name);
        made->setObjectName(name);
        return made;
    }

private:
    static QWidget *make(const QString &className, QWidget *parent) {
        if (className == QLatin1String("NSTextField"))
            return new NSTextField(parent);
        if (className == QLatin1String("ZRTextField"))
            return new ZRTextField(parent);
        if (className == QLatin1String("ZRTextEditorField"))
            return new ZRTextEditorField(parent);
        if (className == QLatin1String("ZRLabel"))
            return new ZRLabel(parent);
        if (className == QLatin1String("ZRMenu"))
            return new ZRMenu(parent);
        return nullptr;
    }
};

/// The view of an interface file of version 4.0, of which this is what stands inside the element "ui".
inline std::unique_ptr<QWidget> loadForm(const char *content) {
    QByteArray form = QByteArray("<ui version=\"4.0\">") + content + "</ui>";
    QBuffer file(&form);
    file.open(QIODevice::ReadOnly);
    return std::unique_ptr<QWidget>(TextLoader().load(&file));
}
