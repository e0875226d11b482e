// SPDX-License-Identifier: MIT
#include "platform/base/LibexecFile.h"

#include <QFile>
#include <QTemporaryFile>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(LibexecFile, AFileThatMayNotBeRunIsNoProgram) {
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    QTemporaryFile file(program + QStringLiteral(".XXXXXX"));
    ASSERT_TRUE(file.open());
    const QByteArray path = QFile::encodeName(file.fileName());
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    EXPECT_EQ(zr::libexecFile(name, R_OK), path);
    EXPECT_EQ(zr::libexecFile(name, X_OK), QByteArray());
    ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    EXPECT_EQ(zr::libexecFile(name, X_OK), path);
}

} // namespace
