// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf-desktop/DesktopTest.h"

#include "tests/tools/zrpdf-desktop/TemporaryFolder.h"
#include "tools/zrpdf-desktop/window/Program.h"

#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void prepareOnce() {
    [[maybe_unused]] static const bool isPrepared = [] {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        Program::prepare();
        return true;
    }();
}

} // namespace

DesktopTest::DesktopTest() {
    for (const char *const name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
        qputenv(name, m_folder.filePath(QString::fromLatin1(name)).toUtf8());
    prepareOnce();
}

DesktopTest::~DesktopTest() {
    stop();
    if (m_translator)
        QCoreApplication::removeTranslator(m_translator.get());
}

void DesktopTest::speak(const QString &language) {
    m_translator = std::make_unique<QTranslator>();
    ASSERT_TRUE(m_translator->load(u":/i18n/zrpdf-desktop_"_s + language + u".qm"_s));
    QCoreApplication::installTranslator(m_translator.get());
}

void DesktopTest::start(const QList<Source> &sources) {
    m_program = std::make_unique<MainWindowController>();
    QSignalSpy started(m_program.get(), &MainWindowController::started);
    m_program->show(sources);
    ASSERT_TRUE(started.wait(patience));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), patience));
}

void DesktopTest::stop() {
    if (!m_program)
        return;
    window().close();
    m_program.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool DesktopTest::settled() {
    return QTest::qWaitFor(
        [this] {
            return m_program->queue()->waiting() == 0 && !m_program->queue()->current() &&
                   (!preview().hasPDF() || preview().preview()->isComplete()) && !preview().isBusy();
        },
        patience);
}

void DesktopTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QWidget *const focus = QApplication::focusWidget();
    QTest::keyClick(focus ? focus : &window(), key, modifiers);
}

void DesktopTest::type(const QString &text) {
    ASSERT_TRUE(QApplication::focusWidget());
    QTest::keyClicks(QApplication::focusWidget(), text);
}

bool DesktopTest::drop(const QMimeData &data) {
    const QPoint middle = window().rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QApplication::sendEvent(&window(), &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent drop(middle, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    drop.setAccepted(false);
    QApplication::sendEvent(&window(), &drop);
    return drop.isAccepted() && drop.dropAction() == Qt::CopyAction;
}

QString DesktopTest::put(const QString &name, const QByteArray &content) {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return file.fileName();
}

Source DesktopTest::endless() {
    EXPECT_TRUE(m_silent.isListening() || m_silent.listen(QHostAddress::LocalHost));
    return Source::withArgument("http://127.0.0.1:" + QByteArray::number(m_silent.serverPort()) + "/");
}

bool DesktopTest::isAsked() {
    return QTest::qWaitFor([this] { return m_silent.hasPendingConnections(); }, patience);
}

QImage DesktopTest::picture(const QString &name) {
    const QImage image = window().grab().toImage();
    if (const QString folder = qEnvironmentVariable("ZR_PICTURES"); !folder.isEmpty())
        image.save(QDir(folder).filePath(name + u".png"_s));
    return image;
}
