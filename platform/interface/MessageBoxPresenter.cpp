// SPDX-License-Identifier: MIT
#include "platform/interface/MessageBoxPresenter.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QTextDocument>

using namespace zr;

namespace {

QString entry(const NSError &error, const QString &key) {
    return error.userInfo().value(key).toString();
}

void run(QMessageBox::Icon icon, const NSError &error) {
    // The window may be closed for good while the box is open, and takes it along.
    const QPointer<QMessageBox> box =
        new QMessageBox(icon, QGuiApplication::applicationDisplayName(), error.localizedDescription(),
                        QMessageBox::Ok, QApplication::activeWindow());
    // An error's texts come from anywhere: they are no markup.
    box->setTextFormat(Qt::PlainText);
    QStringList details;
    for (const QString &key : {NSLocalizedFailureReasonErrorKey, NSLocalizedRecoverySuggestionErrorKey})
        if (const QString text = entry(error, key); !text.isEmpty())
            details << text;
    if (!details.isEmpty())
        box->setInformativeText(Qt::convertFromPlainText(details.join(u'\n'), Qt::WhiteSpaceNormal));
    box->setWindowModality(Qt::ApplicationModal);
    box->exec();
    delete box;
}

} // namespace

void MessageBoxPresenter::presentError(const NSError &error) {
    if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        run(QMessageBox::Warning, error);
    else
        NSErrorPresenter::presentError(error);
}

void MessageBoxPresenter::runModalAlert(const NSError &error) {
    if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        run(QMessageBox::Information, error);
    else
        NSErrorPresenter::presentError(error);
}
