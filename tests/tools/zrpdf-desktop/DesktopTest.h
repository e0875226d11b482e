// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-desktop/window/MainWindowController.h"

#include <QString>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTranslator>
#include <gtest/gtest.h>
#include <memory>

/// The program's window with folders of its own, in the tests' process. Where ZR_PICTURES names a folder, pictures of it
/// are put there.
class DesktopTest : public testing::Test {
protected:
    static constexpr int patience = 60'000;

    DesktopTest();
    ~DesktopTest() override;

    /// Shows the window, and waits until documents can be converted.
    void start(const QList<Source> &sources = {});
    /// Closes the window, as if the program ended.
    void stop();
    /// Shows texts in a language from now on, "de" or "en".
    void speak(const QString &language);

    MainWindowController &program() { return *m_program; }
    QueueController &queue() { return m_program->queueController(); }
    PreviewController &preview() { return m_program->previewController(); }
    NSWindow &window() { return *m_program->window(); }
    QList<Conversion *> all() { return m_program->history()->all(); }

    template <typename Widget>
    Widget *find(const QString &name) {
        auto *const found = window().findChild<Widget *>(name);
        EXPECT_TRUE(found) << name.toStdString();
        return found;
    }

    /// Waits until nothing is waiting to be converted, and what is seen of the page has been drawn.
    bool settled();
    /// Sends a key to the widget that has the keyboard.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString &text);
    /// Drops data on the window's middle; whether the window takes it.
    bool drop(const QMimeData &data);
    /// A file in the test's folder.
    QString put(const QString &name, const QByteArray &content);
    QString path(const QString &name) const { return m_folder.filePath(name); }
    /// A document that never comes.
    Source endless();
    bool isAsked();

    /// What the window looks like, and a picture of it for people.
    QImage picture(const QString &name);

private:
    QTemporaryDir m_folder;
    QTcpServer m_silent;
    std::unique_ptr<QTranslator> m_translator;
    std::unique_ptr<MainWindowController> m_program;
};
