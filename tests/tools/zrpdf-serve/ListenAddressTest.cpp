// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ListenAddress.h"

#include <gtest/gtest.h>

using namespace zr;

namespace {

std::string again(const QByteArray &text) {
    QByteArray problem;
    const auto address = ListenAddress::read(text, &problem);
    return address ? ListenAddress::text(address->socketAddress(), address->socketAddressSize()).toStdString()
                   : "none: " + problem.toStdString();
}

} // namespace

TEST(ListenAddress, IsWrittenAsItIsRead) {
    for (const char *text :
         {"127.0.0.1:8080", "0.0.0.0:1", "[::1]:65535", "[fe80::1]:80", "/run/user/0/x.sock", "./x"})
        EXPECT_EQ(again(text), text);
    EXPECT_EQ(again("localhost:8080"), "127.0.0.1:8080");
    EXPECT_EQ(again("[0:0:0:0:0:0:0:1]:80"), "[::1]:80");
}

TEST(ListenAddress, ASocketsPathHasALimit) {
    EXPECT_EQ(again('/' + QByteArray(106, 'a')), '/' + std::string(106, 'a'));
    EXPECT_EQ(again('/' + QByteArray(107, 'a')),
              "none: is longer than the 107 bytes that a socket's path may have");
}

TEST(ListenAddress, NeedsTheRuntimeFolderForItsDefault) {
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    QByteArray problem;
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_FALSE(ListenAddress::inRuntimeFolder(&problem));
    EXPECT_TRUE(problem.contains("XDG_RUNTIME_DIR")) << problem.toStdString();
    qputenv("XDG_RUNTIME_DIR", "relative");
    EXPECT_FALSE(ListenAddress::inRuntimeFolder(&problem));
    qputenv("XDG_RUNTIME_DIR", "/run/user/7");
    EXPECT_EQ(ListenAddress::inRuntimeFolder(&problem)->path().toStdString(), "/run/user/7/zrpdf-serve.sock");
    before.isNull() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", before);
}
