// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>

/// A runtime folder for programs whose environment names none. Without one, Qt makes a folder that stays. Made before the
/// application.
class RuntimeFolder {
public:
    RuntimeFolder() {
        if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
            qputenv("XDG_RUNTIME_DIR", m_folder.path().toUtf8());
    }

private:
    const QTemporaryDir m_folder;
};

/// The offscreen platform and a runtime folder, unless the environment names others. Made before the application.
class OffscreenPlatform {
public:
    OffscreenPlatform() {
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    }

private:
    const RuntimeFolder m_runtime;
};
