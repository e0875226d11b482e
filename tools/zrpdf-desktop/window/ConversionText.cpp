// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/ConversionText.h"

#include <QCoreApplication>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

// What the model and the service say in English. What the system says is in the user's language already.
[[maybe_unused]] constexpr const char *const failures[] = {
    QT_TRANSLATE_NOOP("ConversionText", "HTML to PDF converter did fail"),
    QT_TRANSLATE_NOOP("ConversionText", "PDF attributes did fail"),
    QT_TRANSLATE_NOOP("ConversionText", "The conversion service is not installed"),
    QT_TRANSLATE_NOOP("ConversionText", "The conversion service was lost"),
    QT_TRANSLATE_NOOP("ConversionText", "The conversion took too long"),
    QT_TRANSLATE_NOOP("ConversionText", "The service's reply holds no PDF"),
    QT_TRANSLATE_NOOP("ConversionText", "The PDF can't be written"),
    QT_TRANSLATE_NOOP("ConversionText", "The document is empty"),
    QT_TRANSLATE_NOOP("ConversionText", "Only http, https, file and data URLs can be converted"),
    QT_TRANSLATE_NOOP("ConversionText", "It is a pipe or a device"),
    QT_TRANSLATE_NOOP("ConversionText", "It is a folder"),
    QT_TRANSLATE_NOOP("ConversionText", "It is not a valid URL"),
};

QString translated(const char *text) {
    return QCoreApplication::translate("ConversionText", text);
}

} // namespace

QString ConversionText::headline(const Conversion &conversion) {
    QString title = conversion.title().simplified();
    if (!title.isEmpty())
        return title;
    QString label = conversion.label().simplified();
    if (!label.isEmpty())
        return label;
    return conversion.kind() == Source::Kind::Markup
               ? QCoreApplication::translate("ConversionText", "Pasted HTML")
               : QCoreApplication::translate("ConversionText", "Pasted document");
}

QString ConversionText::failure(const Conversion &conversion) {
    const QString error = conversion.error();
    if (error.isEmpty())
        return u""_s;
    const QString text = translated(error.toUtf8().constData()), cause = conversion.cause();
    return cause.isEmpty() ? text : text + u": "_s + cause;
}

QString ConversionText::state(const Conversion &conversion) {
    switch (conversion.state()) {
    case Conversion::State::Queued:
        return QCoreApplication::translate("ConversionText", "Waiting");
    case Conversion::State::Converting:
        return QCoreApplication::translate("ConversionText", "Being converted");
    case Conversion::State::Done:
        return QCoreApplication::translate("ConversionText", "Done, %1")
            .arg(QLocale().formattedDataSize(conversion.size(), 0, QLocale::DataSizeSIFormat));
    case Conversion::State::Failed:
        return QCoreApplication::translate("ConversionText", "Failed. %1").arg(failure(conversion));
    case Conversion::State::Cancelled:
        return QCoreApplication::translate("ConversionText", "Cancelled");
    }
    return u""_s;
}
