// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Options.h"

#include <gtest/gtest.h>

namespace {

Options parse(const QList<QByteArray> &arguments) {
    QByteArray problem;
    Options options = Options::parse(arguments, &problem);
    EXPECT_EQ(problem, "");
    return options;
}

QByteArray problemOf(const QList<QByteArray> &arguments) {
    QByteArray problem;
    Options::parse(arguments, &problem);
    return problem;
}

TEST(ZrpdfOptions, DefaultsAreOneInstanceAMinuteAndNothingElse) {
    const Options options = parse({"a.html"});
    EXPECT_EQ(options.action, Options::Action::Convert);
    EXPECT_EQ(options.inputs, QList<QByteArray>{"a.html"});
    EXPECT_TRUE(options.output.isNull());
    EXPECT_TRUE(options.folder.isNull());
    EXPECT_TRUE(options.title.isNull());
    EXPECT_TRUE(options.creator.isNull());
    EXPECT_TRUE(options.type.isNull());
    EXPECT_FALSE(options.network);
    EXPECT_EQ(options.jobs, 1);
    EXPECT_EQ(options.timeout, std::chrono::seconds(60));
    EXPECT_FALSE(options.tagged || options.force || options.json || options.quiet || options.verbose);
}

TEST(ZrpdfOptions, LongNamesTakeTheirValueBehindAnEqualsSignOrNext) {
    for (const QList<QByteArray> &arguments :
         {QList<QByteArray>{"--output=x.pdf", "--title=T", "--creator=C", "--type=public.html",
                            "--timeout=1.5", "a"},
          QList<QByteArray>{"--output", "x.pdf", "--title", "T", "--creator", "C", "--type", "public.html",
                            "--timeout", "1.5", "a"}}) {
        const Options options = parse(arguments);
        EXPECT_EQ(options.output, "x.pdf");
        EXPECT_EQ(options.title, QStringLiteral("T"));
        EXPECT_EQ(options.creator, QStringLiteral("C"));
        EXPECT_EQ(options.type, QStringLiteral("public.html"));
        EXPECT_EQ(options.timeout, std::chrono::milliseconds(1500));
        EXPECT_EQ(options.inputs, QList<QByteArray>{"a"});
    }
}

TEST(ZrpdfOptions, LettersCanBeJoinedAndTheLastOneTakesTheRest) {
    const Options options = parse({"-fvj3", "-dout", "a", "-t", "2", "b"});
    EXPECT_TRUE(options.force);
    EXPECT_TRUE(options.verbose);
    EXPECT_EQ(options.jobs, 3);
    EXPECT_EQ(options.folder, "out");
    EXPECT_EQ(options.timeout, std::chrono::seconds(2));
    EXPECT_EQ(options.inputs, (QList<QByteArray>{"a", "b"}));
}

TEST(ZrpdfOptions, AfterTwoDashesEverythingIsAnInputAndADashIsOneAnywhere) {
    EXPECT_EQ(parse({"-q", "--", "-q", "--force", "--"}).inputs, (QList<QByteArray>{"-q", "--force", "--"}));
    EXPECT_EQ(parse({"-", "-o", "-"}).inputs, QList<QByteArray>{"-"});
    EXPECT_EQ(parse({"-", "-o", "-"}).output, "-");
}

TEST(ZrpdfOptions, ValuesMayLookLikeOptions) {
    EXPECT_EQ(parse({"--title", "--force", "a"}).title, QStringLiteral("--force"));
    EXPECT_EQ(parse({"-o", "-x.pdf", "a"}).output, "-x.pdf");
}

TEST(ZrpdfOptions, AnEmptyTitleIsGivenAndNoTitleIsNot) {
    const Options options = parse({"--title=", "--creator", "", "a"});
    EXPECT_FALSE(options.title.isNull());
    EXPECT_TRUE(options.title.isEmpty());
    EXPECT_FALSE(options.creator.isNull());
    EXPECT_TRUE(parse({"a"}).title.isNull());
}

TEST(ZrpdfOptions, TitlesAreUnicode) {
    EXPECT_EQ(parse({"--title", "Grüße 漢字 🎉", "a"}).title, QStringLiteral("Grüße 漢字 🎉"));
}

TEST(ZrpdfOptions, HelpAndVersionWinOverWhatIsMissing) {
    EXPECT_EQ(parse({"-h"}).action, Options::Action::Help);
    EXPECT_EQ(parse({"--help", "--nonsense"}).action, Options::Action::Help);
    EXPECT_EQ(parse({"-V"}).action, Options::Action::Version);
    EXPECT_EQ(parse({"--version"}).action, Options::Action::Version);
    EXPECT_EQ(parse({"--boot"}).action, Options::Action::Boot);
}

TEST(ZrpdfOptions, EachWrongUseHasItsSentence) {
    const QList<QPair<QList<QByteArray>, QByteArray>> cases{
        {{}, "no input"},
        {{"--"}, "no input"},
        {{"-q"}, "no input"},
        {{"-x", "a"}, "unknown option -x"},
        {{"-qx", "a"}, "unknown option -x"},
        {{"--nonsense", "a"}, "unknown option --nonsense"},
        {{"--nonsense=1", "a"}, "unknown option --nonsense"},
        {{"--out", "a"}, "unknown option --out"},
        {{"--=1", "a"}, "unknown option --"},
        {{"a", "-o"}, "option -o needs a value"},
        {{"a", "--title"}, "option --title needs a value"},
        {{"--force=yes", "a"}, "option --force takes no value"},
        {{"--force=", "a"}, "option --force takes no value"},
        {{"-o", "", "a"}, "the value of option -o names nothing"},
        {{"--directory=", "a"}, "the value of option --directory names nothing"},
        {{"--type=", "a"}, "the value of option --type names nothing"},
        {{"--title", "\xff", "a"}, "the value of option --title is not UTF-8"},
        {{"--creator", "\xc3", "a"}, "the value of option --creator is not UTF-8"},
        {{"-j0", "a"}, "the value of option -j is not a whole number from 1 to 64"},
        {{"-j", "65", "a"}, "the value of option -j is not a whole number from 1 to 64"},
        {{"--jobs=two", "a"}, "the value of option --jobs is not a whole number from 1 to 64"},
        {{"--jobs=1.5", "a"}, "the value of option --jobs is not a whole number from 1 to 64"},
        {{"--jobs=-1", "a"}, "the value of option --jobs is not a whole number from 1 to 64"},
        {{"--jobs=", "a"}, "the value of option --jobs is not a whole number from 1 to 64"},
        {{"--timeout=0", "a"},
         "the value of option --timeout is not a number of seconds from 0.001 to 86400"},
        {{"--timeout=-5", "a"},
         "the value of option --timeout is not a number of seconds from 0.001 to 86400"},
        {{"--timeout=nan", "a"},
         "the value of option --timeout is not a number of seconds from 0.001 to 86400"},
        {{"--timeout=inf", "a"},
         "the value of option --timeout is not a number of seconds from 0.001 to 86400"},
        {{"--timeout=1m", "a"},
         "the value of option --timeout is not a number of seconds from 0.001 to 86400"},
        {{"--network", "a"}, "the value of option --network is not all, public or none"},
        {{"--network=", "a"}, "the value of option --network is not all, public or none"},
        {{"--network=None", "a"}, "the value of option --network is not all, public or none"},
        {{"--network=public ", "a"}, "the value of option --network is not all, public or none"},
        {{"a", "--network"}, "option --network needs a value"},
        {{"-o", "x.pdf", "a", "b"}, "option -o takes one input; use -d for several"},
        {{"-o", "x.pdf", "-d", "out", "a"}, "options -o and -d exclude one another"},
        {{"--json", "-o", "-", "a"}, "options --json and -o - both need standard output"},
        {{"-q", "-v", "a"}, "options -q and -v exclude one another"},
        {{"-", "a", "-"}, "standard input can be read once only"},
        {{""}, "an input names nothing"},
        {{"--boot", "a"}, "option --boot goes without inputs and outputs"},
        {{"--boot", "-o", "x"}, "option --boot goes without inputs and outputs"},
        {{"--boot", "-d", "x"}, "option --boot goes without inputs and outputs"},
    };
    for (const auto &[arguments, sentence] : cases)
        EXPECT_EQ(problemOf(arguments), sentence) << arguments.join(' ').constData();
}

TEST(ZrpdfOptions, ThereAreThreeNetworkModes) {
    for (const char *const mode : {"all", "public", "none"}) {
        const auto named = zr::networkModeNamed(mode);
        ASSERT_TRUE(named);
        EXPECT_EQ(parse({"--network", mode, "a"}).network, named);
        EXPECT_EQ(parse({QByteArray("--network=") + mode, "a"}).network, named);
    }
}

TEST(ZrpdfOptions, LimitsAreInclusive) {
    EXPECT_EQ(parse({"-j64", "a"}).jobs, 64);
    EXPECT_EQ(parse({"-t0.001", "a"}).timeout, std::chrono::milliseconds(1));
    EXPECT_EQ(parse({"-t86400", "a"}).timeout, std::chrono::hours(24));
}

} // namespace
