// SPDX-License-Identifier: MIT
// The client library as a warm contender: reads a document's path a line, answers "milliseconds bytes" a
// line.
#include "ZRKit/Service/ZRXPC.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <cstdio>
#include <iostream>
#include <string>

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    ZRXPC client(QStringLiteral("com.velmora.zrpdf"));
    for (std::string line; std::getline(std::cin, line);) {
        QFile file(QString::fromStdString(line));
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        const QString html = QString::fromUtf8(file.readAll());
        QElapsedTimer timer;
        timer.start();
        const QVariantMap task{{QStringLiteral("data"), html},
                               {QStringLiteral("utiType"), QStringLiteral("public.html")},
                               {QStringLiteral("pdfTitle"), QStringLiteral("Benchmark")},
                               {QStringLiteral("pdfCreator"), QStringLiteral("bench")}};
        const QByteArray pdf =
            client.performXPCWithObject(task).toMap().value(QStringLiteral("data")).toByteArray();
        std::printf("%.3f %lld\n", double(timer.nsecsElapsed()) / 1e6, static_cast<long long>(pdf.size()));
        std::fflush(stdout);
    }
    return 0;
}
