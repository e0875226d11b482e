// SPDX-License-Identifier: MIT
#include <QTemporaryDir>
#include <ZRKit/Images/NSImage+ZRKit.h>
#include <ZRKit/Store/NSManagedObjectContext+ZRKit.h>
#include <ZRKit/Store/ZRCoreData.h>

int main() {
    QImage picture(40, 20, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    const auto image = std::make_shared<NSImage>(picture);
    const QByteArray png = ZRKit::dataForPNG(ZRKit::fitToSize(image, QSizeF(20, 20)));
    // Without a model there are no entities, but a store all the same.
    const QTemporaryDir folder;
    ZRCoreData store(folder.filePath(QStringLiteral("Data.db")));
    return png.startsWith("\x89PNG") && store.context() && store.save() ? 0 : 1;
}
