// SPDX-License-Identifier: MIT
#include <QCoreApplication>
#include <QTemporaryDir>
#include <ZRKit/Images/NSImage+ZRKit.h>
#include <ZRKit/Queue/ZRXPCQueue.h>
#include <ZRKit/Store/NSManagedObjectContext+ZRKit.h>
#include <ZRKit/Store/ZRCoreData.h>

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QImage picture(40, 20, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    const auto image = std::make_shared<NSImage>(picture);
    const QByteArray png = ZRKit::dataForPNG(ZRKit::fitToSize(image, QSizeF(20, 20)));
    // Without a model there are no entities, but a store all the same.
    const QTemporaryDir folder;
    ZRCoreData store(folder.filePath(QStringLiteral("Data.db")));
    // No broker listens there.
    ZRXPCQueue queue({.brokers = {QUrl(QStringLiteral("amqp://127.0.0.1:1"))},
                      .brokerLimit = std::chrono::milliseconds(100)});
    qint64 queueError = 0;
    queue.performXPCSynchronousWithObject(
        QVariantMap{{QStringLiteral("data"), QStringLiteral("<p>")}},
        [&queueError](const QVariant &, const NSError &error) { queueError = error.code(); });
    return png.startsWith("\x89PNG") && store.context() && store.save() &&
                   queueError == ZRXPCQueueUnreachableError
               ? 0
               : 1;
}
