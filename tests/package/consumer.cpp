// SPDX-License-Identifier: MIT
#include <QCoreApplication>
#include <QFile>
#include <ZRKit/Service/ZRXPC.h>
#include <cstdio>

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    if (argc != 3)
        return 64;
    QFile input(QString::fromLocal8Bit(argv[1]));
    QFile output(QString::fromLocal8Bit(argv[2]));
    if (!input.open(QIODevice::ReadOnly) || !output.open(QIODevice::WriteOnly))
        return 66;
    ZRXPC client(QStringLiteral("com.velmora.zrpdf"));
    const QVariant reply = client.performXPCWithObject(
        QVariantMap{{QStringLiteral("data"), input.readAll()},
                    {QStringLiteral("utiType"), QStringLiteral("public.html")},
                    {QStringLiteral("pdfTitle"), QStringLiteral("From an installed package")}});
    const QByteArray pdf = reply.toMap().value(QStringLiteral("data")).toByteArray();
    std::printf("%lld bytes\n", static_cast<long long>(pdf.size()));
    return pdf.startsWith("%PDF") && output.write(pdf) == pdf.size() ? 0 : 1;
}
