// SPDX-License-Identifier: MIT
#pragma once

#include "platform/files/NSBundle.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

/// A folder of interface files, the main bundle's as long as it lives.
class InterfaceFiles {
public:
    InterfaceFiles() { NSBundle::mainBundle().setResourcePath(m_folder.path()); }
    ~InterfaceFiles() { NSBundle::mainBundle().setResourcePath({}); }
    Q_DISABLE_COPY_MOVE(InterfaceFiles)

    void write(const char *name, const char *contents) const {
        QFile file(m_folder.filePath(QString::fromUtf8(name)) + QStringLiteral(".ui"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }

private:
    const QTemporaryDir m_folder;
};
