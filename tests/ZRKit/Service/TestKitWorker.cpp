// SPDX-License-Identifier: MIT
#include "tests/ZRKit/Service/TestKitWorker.h"

#include "platform/base/NSException.h"

#include <QFile>
#include <QFileInfo>
#include <QPoint>
#include <csignal>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

void waitForFile(const QString &path) {
    const int watch = ::inotify_init1(IN_CLOEXEC);
    ::inotify_add_watch(watch, QFile::encodeName(QFileInfo(path).path()).constData(), IN_CREATE);
    while (!QFile::exists(path)) {
        char events[4096];
        if (::read(watch, events, sizeof events) < 0)
            break;
    }
    ::close(watch);
}

} // namespace

void TestKitWorker::work() {
    const QString what = (*this)[QStringLiteral("do")].toString();
    const QString reason = (*this)[QStringLiteral("reason")].toString();
    if (what == u"echo") {
        doneWithResult(object());
    } else if (what == u"raise") {
        throw NSException(NSInvalidArgumentException, reason);
    } else if (what == u"throw") {
        throw 7;
    } else if (what == u"error") {
        doneWithErrorMessage(reason, (*this)[QStringLiteral("cause")].value<NSError>());
    } else if (what == u"unarchivableCause") {
        doneWithErrorMessage(reason, NSError(QStringLiteral("d"), 1, {{QStringLiteral("k"), QPoint(1, 2)}}));
    } else if (what == u"twice") {
        doneWithResult(QStringLiteral("first"));
        doneWithResult(QStringLiteral("second"));
    } else if (what == u"unarchivable") {
        doneWithResult(QVariant::fromValue(QPoint(1, 2)));
    } else if (what == u"replyAndRaise") {
        doneWithResult(QStringLiteral("first"));
        throw NSException(NSInvalidArgumentException, reason);
    } else if (what == u"wait") {
        if (const QString started = (*this)[QStringLiteral("started")].toString(); !started.isNull())
            QFile(started).open(QIODevice::WriteOnly);
        waitForFile((*this)[QStringLiteral("path")].toString());
        doneWithResult(QStringLiteral("waited"));
    } else if (what == u"holdAlone") {
        QFile held((*this)[QStringLiteral("held")].toString());
        const bool alone = held.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        waitForFile((*this)[QStringLiteral("path")].toString());
        held.remove();
        doneWithResult(alone);
    } else if (what == u"kill") {
        ::kill(::getpid(), SIGKILL);
    } else if (what == u"pid") {
        doneWithResult(qlonglong(::getpid()));
    } else if (what != u"nothing") {
        doneWithResult(QVariantMap{{QStringLiteral("isNil"), !object().isValid()},
                                   {QStringLiteral("text"), object().toString()}});
    }
}
