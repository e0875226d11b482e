// SPDX-License-Identifier: MIT
#pragma once

#include "tests/tools/zrpdf/Child.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

/// Runs zrpdf in a folder of its own. After each test no process and no file of the service is left.
class ZrpdfTest : public testing::Test {
protected:
    struct Result {
        int code = 0;
        QByteArray output;
        QByteArray error;
    };

    ZrpdfTest();
    void TearDown() override;

    /// The set-up for a run with these arguments, in the test's folder, to be changed as needed.
    Child::Setup setup(const QList<QByteArray> &arguments) const;
    Result run(const QList<QByteArray> &arguments, const QByteArray &input = {});
    static Result finish(Child &child, std::chrono::milliseconds time = std::chrono::seconds(60));

    /// Waits until no process that was started remains; those whose parents died are the test's children.
    static bool allGone(std::chrono::milliseconds time = std::chrono::seconds(10));

    QByteArray path(const QByteArray &name) const { return m_work.path().toUtf8() + '/' + name; }
    /// Where the service and its browser may put what they need; empty again after the test.
    QByteArray runtimeFolder() const { return m_runtime.path().toUtf8(); }
    /// All names in the test's folder.
    QStringList names() const;
    void put(const QByteArray &name, const QByteArray &content) const;
    QByteArray read(const QByteArray &name) const;
    /// The file's single page's height in points; 0 where it is no PDF of one page.
    double pageHeight(const QByteArray &name) const;
    static double pageHeightOf(const QByteArray &pdf);
    /// HTML whose page is that high.
    static QByteArray html(int height);

    /// Hides what an installation has, for good, from programs that are to find nothing beside themselves. For a process
    /// with one thread.
    static void hideInstallation();

    /// As root: takes away what lets root pass over permissions. For Child::Setup::prepare.
    static bool obeyPermissions();

private:
    QTemporaryDir m_work;
    QTemporaryDir m_runtime;
};
