// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <optional>

/// Temporary files of a test program lie in a folder that goes with it: the kit leaves an application's folder in place, as
/// other processes of the application may be about to use it.
class TemporaryFolder : public testing::Environment {
public:
    void SetUp() override {
        m_folder.emplace();
        m_before = qgetenv("TMPDIR");
        qputenv("TMPDIR", m_folder->path().toUtf8());
    }
    void TearDown() override {
        m_before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_before);
        m_folder.reset();
    }

private:
    std::optional<QTemporaryDir> m_folder;
    QByteArray m_before;
};

[[maybe_unused]] inline testing::Environment *const temporaryFolder =
    testing::AddGlobalTestEnvironment(new TemporaryFolder);
