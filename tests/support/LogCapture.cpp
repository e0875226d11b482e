// SPDX-License-Identifier: MIT
#include "tests/support/LogCapture.h"

#include <QMutex>

namespace {

QMutex mutex;
QStringList captured;
QtMessageHandler previous = nullptr;

void capture(QtMsgType, const QMessageLogContext &, const QString &line) {
    const QMutexLocker lock(&mutex);
    captured.append(line);
}

} // namespace

LogCapture::LogCapture() {
    const QMutexLocker lock(&mutex);
    captured.clear();
    previous = qInstallMessageHandler(capture);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(previous);
}

QStringList LogCapture::lines() const {
    const QMutexLocker lock(&mutex);
    return captured;
}

int LogCapture::count(const QString &prefix) const {
    int n = 0;
    for (const QString &line : lines())
        n += line.startsWith(prefix);
    return n;
}
