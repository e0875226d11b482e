// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "platform/base/FileDescriptor.h"
#include "platform/base/WriteAll.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/zrpdf-desktop/window/MainWindowController.h"
#include "tools/zrpdf-desktop/window/Program.h"
#include "tools/zrpdf/Interrupts.h"

#include <QApplication>
#include <QSocketNotifier>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr int badUsage = 2;
/// To which the signal's number is added.
constexpr int interruptedCode = 128;

constexpr const char *usage =
    "usage: zrpdf-desktop [INPUT...]\n"
    "       zrpdf-desktop --help | --version\n"
    "\n"
    "Shows a window that turns documents into PDFs of one page. INPUT is a file or a URL.\n";

/// Answers what needs no window; -1 if there is to be one.
int answer(int count, char **values) {
    for (int index = 1; index < count; ++index) {
        const QByteArray argument = values[index];
        if (argument == "-h" || argument == "--help")
            return zr::writeAll(STDOUT_FILENO, usage) ? 1 : 0;
        if (argument == "-V" || argument == "--version")
            return zr::writeAll(STDOUT_FILENO, "zrpdf-desktop " ZR_VERSION "\n") ? 1 : 0;
        if (argument == "--")
            break;
        if (argument.startsWith('-')) {
            zr::writeAll(STDERR_FILENO,
                         "zrpdf-desktop: unknown option " + argument + " (see zrpdf-desktop --help)\n");
            return badUsage;
        }
    }
    return -1;
}

QList<Source> sourcesIn(int count, char **values) {
    QList<Source> sources;
    bool isInput = false;
    for (int index = 1; index < count; ++index) {
        const QByteArray argument = values[index];
        if (!isInput && argument == "--")
            isInput = true;
        else
            sources << Source::withArgument(argument);
    }
    return sources;
}

} // namespace

int main(int count, char **values) {
    if (const int code = answer(count, values); code >= 0)
        return code;
    int code = 0;
    {
        QApplication application(count, values);
        Program::prepare();
        // A signal closes the window as its user would.
        const zr::FileDescriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        Interrupts::install(wake.get());
        const QSocketNotifier interrupted(wake.get(), QSocketNotifier::Read);
        QObject::connect(&interrupted, &QSocketNotifier::activated, &application,
                         [] { QApplication::exit(interruptedCode + Interrupts::signal()); });
        MainWindowController window;
        window.show(sourcesIn(count, values));
        code = QApplication::exec();
    }
    ZRKit::zrDestroyPrivateTempFolder(NSFileManager::defaultManager());
    // Nobody waits for the threads that still wait for a service: it ends with this process.
    zr::XPCActivator::shared().stop();
    ::_exit(code);
}
