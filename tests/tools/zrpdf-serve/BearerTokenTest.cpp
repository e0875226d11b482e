// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/BearerToken.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace zr;

namespace {

class BearerTokenTest : public testing::Test {
protected:
    std::optional<BearerToken> read(const QByteArray &content) {
        QFile file(m_folder.filePath(QStringLiteral("token")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        return BearerToken::fromFile(QFile::encodeName(file.fileName()), &m_problem);
    }

    QByteArray m_problem;
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(BearerTokenTest, IsTheFilesContentWithoutTheLineEnd) {
    for (const char *content : {"0123456789abcdef", "0123456789abcdef\n", "0123456789abcdef\r\n"}) {
        const auto token = read(content);
        ASSERT_TRUE(token) << m_problem.toStdString();
        EXPECT_TRUE(token->isShownBy("Bearer 0123456789abcdef"));
    }
}

TEST_F(BearerTokenTest, OnlyTheWholeTokenShowsIt) {
    const auto token = read("0123456789abcdef");
    ASSERT_TRUE(token);
    EXPECT_TRUE(token->isShownBy("bearer  0123456789abcdef "));
    for (const char *wrong :
         {"", "Bearer", "Bearer ", "Bearer 0123456789abcde", "Bearer 0123456789abcdef0",
          "Basic 0123456789abcdef", "0123456789abcdef", "Bearer 0123456789ABCDEF", "Bearer0123456789abcdef"})
        EXPECT_FALSE(token->isShownBy(wrong)) << wrong;
}

TEST_F(BearerTokenTest, WhatIsNoTokenIsRefused) {
    for (const QByteArray &wrong :
         {QByteArray(""), QByteArray("\n"), QByteArray("short"), QByteArray("0123456789 abcdef"),
          QByteArray("0123456789abcdef\nsecond"), QByteArray("\xC3\xA4 456789abcdef0123"),
          QByteArray(4097, 'a'), QByteArray("0123456789abcde\0f", 17)}) {
        EXPECT_FALSE(read(wrong)) << wrong.left(20).toStdString();
        EXPECT_TRUE(m_problem.contains("holds no token")) << m_problem.toStdString();
    }
    EXPECT_TRUE(read(QByteArray(4096, 'a')));
}

TEST_F(BearerTokenTest, AFileThatCannotBeReadIsNamed) {
    EXPECT_FALSE(BearerToken::fromFile("/nowhere/token", &m_problem));
    EXPECT_TRUE(m_problem.contains("/nowhere/token")) << m_problem.toStdString();
    EXPECT_FALSE(BearerToken::fromFile(QFile::encodeName(m_folder.path()), &m_problem));
}

TEST_F(BearerTokenTest, SystemdsCredentialIsFound) {
    qunsetenv("CREDENTIALS_DIRECTORY");
    EXPECT_TRUE(BearerToken::credentialFile().isNull());
    qputenv("CREDENTIALS_DIRECTORY", QFile::encodeName(m_folder.path()));
    EXPECT_TRUE(BearerToken::credentialFile().isNull());
    QFile file(m_folder.filePath(QStringLiteral("zrpdf-serve.token")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(BearerToken::credentialFile().toStdString(), file.fileName().toStdString());
    qunsetenv("CREDENTIALS_DIRECTORY");
}
