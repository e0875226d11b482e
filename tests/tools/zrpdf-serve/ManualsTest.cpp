// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QFile>

namespace {

using Manuals = ZrpdfTest;

TEST_F(Manuals, PagesAndCompletionsKnowTheOptionsThatTheHelpTells) {
    const auto file = [](const QByteArray &name) {
        QFile reader(QStringLiteral(ZR_SOURCE_DIR "/packaging/") + QString::fromUtf8(name));
        EXPECT_TRUE(reader.open(QIODevice::ReadOnly)) << name.constData();
        return reader.readAll();
    };
    const QByteArray bash = file("completions/zrpdf.bash");
    const QByteArray zsh = file("completions/_zrpdf");
    const QByteArray fish = file("completions/zrpdf.fish");
    struct {
        QList<QByteArray> command;
        QByteArray page;
        int options;
    } const helps[]{
        {{ZR_BINARY_DIR "/bin/zrpdf"}, "man/zrpdf.1", 16},
        {{ZR_BINARY_DIR "/libexec/zrkit/zrpdf-serve"}, "man/zrpdf-serve.1", 14},
        {{ZR_BINARY_DIR "/libexec/zrkit/zrpdf-worker"}, "man/zrpdf-worker.1", 12},
        {{ZR_BINARY_DIR "/libexec/zrkit/zrpdf-broker", "--broker", "amqp://x"}, "man/zrpdf.1", 21}};
    for (const auto &[command, name, options] : helps) {
        Child::Setup wanted = setup({});
        wanted.command = command + QList<QByteArray>{"--help"};
        Child child(wanted);
        const QByteArray help = finish(child).output;
        const QByteArray page = file(name);
        int found = 0;
        for (const QByteArray &line : help.split('\n')) {
            const qsizetype start = line.indexOf("--");
            if (!line.startsWith("  ") || start < 2 || start > 6)
                continue;
            const QByteArray option = line.mid(start + 2).split(' ').first();
            ++found;
            EXPECT_TRUE(page.contains("\\-\\-" + QByteArray(option).replace("-", "\\-")))
                << option.constData();
            EXPECT_TRUE(bash.contains("--" + option)) << option.constData();
            EXPECT_TRUE(zsh.contains("--" + option)) << option.constData();
            EXPECT_TRUE(fish.contains("-l " + option + ' ')) << option.constData();
        }
        EXPECT_EQ(found, options) << help.constData();
    }
}

} // namespace
