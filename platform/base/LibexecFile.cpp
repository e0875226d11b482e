// SPDX-License-Identifier: MIT
#include "platform/base/LibexecFile.h"

#include <QFileInfo>

QString zr::libexecFile(const QString &name) {
    const QString self = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).path();
    for (const QString &folder :
         {self, self + QStringLiteral("/../libexec/zrkit"), QStringLiteral(ZR_LIBEXEC_DIR)}) {
        QString path = folder + u'/' + name;
        if (QFileInfo(path).isFile())
            return path;
    }
    return {};
}
