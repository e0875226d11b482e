// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QDir>

namespace {

class ZrpdfCompletion : public ZrpdfTest {
protected:
    /// What bash offers for the words, of which the last one is being typed.
    QList<QByteArray> offers(const QList<QByteArray> &words) {
        static const QByteArray script = "source " ZR_SOURCE_DIR "/packaging/completions/zrpdf.bash\n"
                                         "compopt() { :; }\n"
                                         "COMP_WORDS=(zrpdf \"$@\"); COMP_CWORD=$#\n"
                                         "_zrpdf; printf '%s\\n' \"${COMPREPLY[@]}\"\n";
        Child::Setup wanted = setup({});
        wanted.command = QList<QByteArray>{"/bin/bash", "-c", script, "bash"} + words;
        Child child(wanted);
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.standardError(), "");
        QList<QByteArray> lines = child.standardOutput().trimmed().split('\n');
        std::sort(lines.begin(), lines.end());
        return lines;
    }
    void SetUp() override {
        put("a page.html", "");
        put("b.html", "");
        ASSERT_TRUE(QDir(QString::fromUtf8(path(""))).mkdir(QStringLiteral("folder")));
    }
};

TEST_F(ZrpdfCompletion, OptionsAreCompletedByTheirStart) {
    EXPECT_EQ(offers({"--ti"}), (QList<QByteArray>{"--timeout", "--title"}));
    EXPECT_EQ(offers({"b.html", "--js"}), QList<QByteArray>{"--json"});
    EXPECT_EQ(offers({"-"}).size(), 31);
}

TEST_F(ZrpdfCompletion, VerbsHaveOptionsOfTheirOwn) {
    EXPECT_EQ(offers({"se"}), QList<QByteArray>{"serve"});
    EXPECT_EQ(offers({"b.html", "se"}), QList<QByteArray>{""});
    EXPECT_EQ(offers({"serve", "--l"}), (QList<QByteArray>{"--listen", "--log"}));
    EXPECT_EQ(offers({"serve", "--log", ""}), (QList<QByteArray>{"json", "lines"}));
    EXPECT_EQ(offers({"serve", "--token-file", "b"}), QList<QByteArray>{"b.html"});
    EXPECT_EQ(offers({"serve", "--network", "=", "n"}), QList<QByteArray>{"none"});
    EXPECT_EQ(offers({"serve", "-"}).size(), 21);
    EXPECT_EQ(offers({"worker", "--st"}), (QList<QByteArray>{"--store", "--store-age"}));
    EXPECT_TRUE(offers({"worker", "-j", ""}).contains("1"));
    EXPECT_EQ(offers({"worker", ""}).size(), 17);
    EXPECT_EQ(offers({"worker", "--timeout", ""}), QList<QByteArray>{""});
    EXPECT_EQ(offers({"--urg"}), QList<QByteArray>{"--urgent"});
}

TEST_F(ZrpdfCompletion, InputsAreFilesWithAnyName) {
    EXPECT_EQ(offers({""}), (QList<QByteArray>{"a page.html", "b.html", "folder", "serve", "worker"}));
    EXPECT_EQ(offers({"-q", ""}), (QList<QByteArray>{"a page.html", "b.html", "folder"}));
    EXPECT_EQ(offers({"-q", "a"}), QList<QByteArray>{"a page.html"});
    EXPECT_EQ(offers({"--", "--t"}), QList<QByteArray>{""});
}

TEST_F(ZrpdfCompletion, ValuesAreCompletedByTheirKind) {
    EXPECT_EQ(offers({"-d", ""}), QList<QByteArray>{"folder"});
    EXPECT_EQ(offers({"--directory", "=", "f"}), QList<QByteArray>{"folder"});
    EXPECT_EQ(offers({"--output", "="}), (QList<QByteArray>{"a page.html", "b.html", "folder"}));
    EXPECT_EQ(offers({"--type", "public.h"}), QList<QByteArray>{"public.html"});
    EXPECT_EQ(offers({"--network", ""}), (QList<QByteArray>{"all", "none", "public"}));
    EXPECT_EQ(offers({"--network", "=", "p"}), QList<QByteArray>{"public"});
    EXPECT_EQ(offers({"--title", ""}), QList<QByteArray>{""});
    EXPECT_TRUE(offers({"--jobs", ""}).contains("1"));
}

} // namespace
