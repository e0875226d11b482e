// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

/// The application speaks a language, of which the tests have a translation, as long as this lives.
class Translated {
public:
    explicit Translated(const QString &language = QStringLiteral("de")) {
        m_isLoaded = m_translator.load(QStringLiteral(":/translations/texts_%1.qm").arg(language)) &&
                     QCoreApplication::installTranslator(&m_translator);
    }
    ~Translated() { QCoreApplication::removeTranslator(&m_translator); }
    Translated(const Translated &) = delete;
    Translated &operator=(const Translated &) = delete;

    bool isLoaded() const { return m_isLoaded; }

private:
    QTranslator m_translator;
    bool m_isLoaded = false;
};
