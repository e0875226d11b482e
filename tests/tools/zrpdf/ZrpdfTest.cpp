// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/support/OwnNetwork.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QStringList everythingIn(const QString &folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

ZrpdfTest::ZrpdfTest() {
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::signal(SIGPIPE, SIG_IGN);
}

void ZrpdfTest::TearDown() {
    EXPECT_TRUE(allGone());
    EXPECT_EQ(everythingIn(m_runtime.path()), QStringList());
}

Child::Setup ZrpdfTest::setup(const QList<QByteArray> &arguments) const {
    Child::Setup setup;
    setup.command = QList<QByteArray>{ZR_BINARY_DIR "/bin/zrpdf"} + arguments;
    setup.folder = m_work.path().toUtf8();
    const QByteArray runtime = m_runtime.path().toUtf8();
    setup.environment = {"TMPDIR=" + runtime, "XDG_RUNTIME_DIR=" + runtime, "TERM=xterm"};
    return setup;
}

ZrpdfTest::Result ZrpdfTest::finish(Child &child, std::chrono::milliseconds time) {
    const int code = child.wait(time);
    return {code, child.standardOutput(), child.standardError()};
}

ZrpdfTest::Result ZrpdfTest::run(const QList<QByteArray> &arguments, const QByteArray &input) {
    Child::Setup wanted = setup(arguments);
    wanted.keepsInput = !input.isEmpty();
    Child child(wanted);
    child.write(input);
    child.closeInput();
    return finish(child);
}

bool ZrpdfTest::allGone(std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    for (;;) {
        const pid_t reaped = ::waitpid(-1, nullptr, WNOHANG);
        if (reaped < 0)
            return errno == ECHILD;
        if (reaped > 0)
            continue;
        if (std::chrono::steady_clock::now() >= until)
            return false;
        const timespec moment{0, 2'000'000};
        ::nanosleep(&moment, nullptr);
    }
}

QStringList ZrpdfTest::names() const {
    return everythingIn(m_work.path());
}

void ZrpdfTest::put(const QByteArray &name, const QByteArray &content) const {
    FILE *const file = std::fopen(path(name).constData(), "wb");
    ASSERT_TRUE(file) << path(name).constData();
    ASSERT_EQ(std::fwrite(content.constData(), 1, std::size_t(content.size()), file),
              std::size_t(content.size()));
    ASSERT_EQ(std::fclose(file), 0);
}

QByteArray ZrpdfTest::read(const QByteArray &name) const {
    FILE *const file = std::fopen(path(name).constData(), "rb");
    if (!file)
        return {};
    QFile reader;
    return reader.open(file, QIODevice::ReadOnly, QFile::AutoCloseHandle) ? reader.readAll() : QByteArray();
}

double ZrpdfTest::pageHeightOf(const QByteArray &pdf) {
    const PDFDocument document(pdf);
    return document.pageCount() == 1 ? document.pageBox(0).height() : 0;
}

double ZrpdfTest::pageHeight(const QByteArray &name) const {
    return pageHeightOf(read(name));
}

QByteArray ZrpdfTest::html(int height) {
    return "<!DOCTYPE html><body style='margin:0'><div style='height:" + QByteArray::number(height) +
           "px'>page</div></body>";
}

void ZrpdfTest::hideInstallation() {
    if (!QFile::exists(QStringLiteral(ZR_LIBEXEC_FOLDER)))
        return;
    ASSERT_TRUE(OwnNetwork::enter()) << OwnNetwork::needs;
    ASSERT_EQ(::mount("none", ZR_LIBEXEC_FOLDER, "tmpfs", 0, nullptr), 0);
}

bool ZrpdfTest::obeyPermissions() {
    if (::geteuid() != 0)
        return true;
    return ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0 &&
           ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) == 0;
}
