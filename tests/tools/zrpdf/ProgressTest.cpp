// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QRegularExpression>

namespace {

class ZrpdfProgress : public ZrpdfTest {
protected:
    /// What three inputs, one of them missing, put on a terminal.
    QByteArray terminalOf(QList<QByteArray> arguments, const QList<QByteArray> &environment = {}) {
        for (const char *const name : {"a", "b"})
            put(QByteArray(name) + ".html", html(100));
        arguments += {"-f", "a.html", "missing.html", "b.html"};
        Child::Setup wanted = setup(arguments);
        wanted.terminal = true;
        wanted.environment += environment;
        Child child(wanted);
        EXPECT_EQ(child.wait(), 3);
        return child.standardError();
    }
};

TEST_F(ZrpdfProgress, ATerminalShowsABarAndThenTheSum) {
    const QByteArray text = terminalOf({});
    EXPECT_TRUE(text.contains("0/3")) << text.constData();
    EXPECT_TRUE(text.contains("1/3, 1 failed") || text.contains("2/3, 1 failed")) << text.constData();
    EXPECT_TRUE(text.contains("\x1b[32m#")) << text.constData();
    EXPECT_TRUE(text.contains("zrpdf: missing.html: No such file or directory\r\n"));
    static const QRegularExpression sum(QStringLiteral("[\nK]zrpdf: 2 of 3 converted, \\d+\\.\\d s\r\n$"));
    EXPECT_TRUE(QString::fromUtf8(text).contains(sum)) << text.constData();
}

TEST_F(ZrpdfProgress, EachBarFitsIntoOneLineOfTheTerminal) {
    static const QRegularExpression escapes(QStringLiteral("\x1b\\[[0-9;]*[mK]"));
    const QString text = QString::fromUtf8(terminalOf({})).remove(escapes);
    for (const QString &line : text.split(QRegularExpression(QStringLiteral("[\r\n]+"))))
        EXPECT_TRUE(line.size() < 80 || line.startsWith(QStringLiteral("zrpdf: "))) << line.toStdString();
}

TEST_F(ZrpdfProgress, NoColorKeepsTheBarPlain) {
    const QByteArray text = terminalOf({}, {"NO_COLOR=1"});
    EXPECT_TRUE(text.contains("0/3"));
    EXPECT_FALSE(text.contains("\x1b[3")) << text.constData();
    EXPECT_TRUE(terminalOf({}, {"NO_COLOR="}).contains("\x1b[32m"));
}

TEST_F(ZrpdfProgress, QuietAndDumbTerminalsHaveNone) {
    EXPECT_EQ(terminalOf({"-q"}), "zrpdf: missing.html: No such file or directory\r\n");
    EXPECT_FALSE(terminalOf({}, {"TERM=dumb"}).contains('\x1b'));
}

TEST_F(ZrpdfProgress, APipeHasNone) {
    put("a.html", html(100));
    put("b.html", html(100));
    const Result result = run({"a.html", "b.html"});
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.error.contains('\r') || result.error.contains("converted"))
        << result.error.constData();
}

TEST_F(ZrpdfProgress, ASingleInputTellsATerminalWhereItsPdfWent) {
    put("a.html", html(100));
    Child::Setup wanted = setup({"a.html"});
    wanted.terminal = true;
    Child child(wanted);
    EXPECT_EQ(child.wait(), 0);
    EXPECT_TRUE(child.standardError().contains("zrpdf: wrote a.pdf\r\n"))
        << child.standardError().constData();
    EXPECT_FALSE(child.standardError().contains('\x1b'));
}

} // namespace
