// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ServeOptions.h"

#include "tools/zrpdf-serve/Problem.h"

#include <QFile>
#include <QTemporaryFile>
#include <gtest/gtest.h>

using namespace zr;
using namespace std::chrono_literals;

namespace {

struct Parsed {
    ServeOptions options;
    QByteArray problem;
};

Parsed parse(const QList<QByteArray> &arguments) {
    Parsed parsed;
    parsed.options = ServeOptions::parse(arguments, &parsed.problem);
    return parsed;
}

std::string problemOf(const QList<QByteArray> &arguments) {
    return parse(arguments).problem.toStdString();
}

} // namespace

TEST(ServeOptions, WithoutArgumentsEverythingHasItsDefault) {
    const Parsed parsed = parse({});
    EXPECT_EQ(parsed.problem.toStdString(), "");
    EXPECT_TRUE(parsed.options.addresses.empty());
    EXPECT_EQ(parsed.options.queue, 64);
    EXPECT_EQ(parsed.options.timeout, 60s);
    EXPECT_EQ(parsed.options.grace, 60s);
    EXPECT_EQ(parsed.options.maxBody, 64 << 20);
    EXPECT_EQ(parsed.options.network, NetworkMode::Public);
    EXPECT_GE(parsed.options.instances, 1);
    EXPECT_LE(parsed.options.instances, 4);
    EXPECT_FALSE(parsed.options.allowsRemote);
    EXPECT_TRUE(parsed.options.tokenFile.isNull());
}

TEST(ServeOptions, EveryOptionIsRead) {
    const Parsed parsed = parse({"--listen",
                                 "127.0.0.1:80",
                                 "--listen=/run/x.sock",
                                 "--allow-remote",
                                 "--token-file",
                                 "t",
                                 "--instances",
                                 "3",
                                 "--queue",
                                 "0",
                                 "-t",
                                 "2.5",
                                 "--grace=1",
                                 "--max-body",
                                 "2K",
                                 "--network",
                                 "none",
                                 "--log",
                                 "json",
                                 "-v"});
    EXPECT_EQ(parsed.problem.toStdString(), "");
    ASSERT_EQ(parsed.options.addresses.size(), 2U);
    EXPECT_FALSE(parsed.options.addresses[0].isPath());
    EXPECT_EQ(parsed.options.addresses[1].path().toStdString(), "/run/x.sock");
    EXPECT_TRUE(parsed.options.allowsRemote);
    EXPECT_EQ(parsed.options.tokenFile.toStdString(), "t");
    EXPECT_EQ(parsed.options.instances, 3);
    EXPECT_EQ(parsed.options.queue, 0);
    EXPECT_EQ(parsed.options.timeout, 2500ms);
    EXPECT_EQ(parsed.options.grace, 1s);
    EXPECT_EQ(parsed.options.maxBody, 2048);
    EXPECT_EQ(parsed.options.network, NetworkMode::None);
    EXPECT_EQ(parsed.options.logForm, RequestLog::Form::JSON);
    EXPECT_TRUE(parsed.options.verbose);
}

TEST(ServeOptions, SizesHaveUnits) {
    EXPECT_EQ(parse({"--max-body", "1"}).options.maxBody, 1);
    EXPECT_EQ(parse({"--max-body", "3M"}).options.maxBody, 3 << 20);
    EXPECT_EQ(parse({"--max-body", "1G"}).options.maxBody, 1 << 30);
    for (const char *wrong : {"0", "2G", "1025M", "1.5M", "M", "-1", "1T", "1KK", "", " 1", "1e3"})
        EXPECT_NE(problemOf({"--max-body", wrong}), "") << wrong;
}

TEST(ServeOptions, WrongValuesAreNamed) {
    EXPECT_EQ(problemOf({"--instances", "0"}),
              "the value of option --instances is not a whole number from 1 to 64");
    EXPECT_EQ(problemOf({"--instances", "65"}),
              "the value of option --instances is not a whole number from 1 to 64");
    EXPECT_EQ(problemOf({"--instances", "1.0"}),
              "the value of option --instances is not a whole number from 1 to 64");
    EXPECT_EQ(problemOf({"--queue", "-1"}),
              "the value of option --queue is not a whole number from 0 to 100000");
    for (const char *wrong : {"0", "inf", "nan", "86401", "-1", "1e2", "0x10", "", "1s"})
        EXPECT_EQ(problemOf({"--timeout", wrong}),
                  "the value of option --timeout is not a number of seconds from 0.001 to 86400")
            << wrong;
    EXPECT_EQ(problemOf({"--network", "ALL"}), "the value of option --network is not all, public or none");
    EXPECT_EQ(problemOf({"--log", "xml"}), "the value of option --log is neither lines nor json");
    EXPECT_EQ(problemOf({"--token-file", ""}), "the value of option --token-file names nothing");
}

TEST(ServeOptions, WrongAddressesAreNamed) {
    const std::string start = "the value of option --listen ";
    for (const char *port :
         {"127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:", "127.0.0.1:8o", "[::1]:99999", "127.0.0.1:+80"})
        EXPECT_EQ(problemOf({"--listen", port}), start + "has no port from 1 to 65535") << port;
    EXPECT_EQ(problemOf({"--listen", "/run/x/"}), start + "names a folder, not a socket");
    EXPECT_EQ(problemOf({"--listen", "./."}), start + "names a folder, not a socket");
    EXPECT_EQ(problemOf({"--listen", "8080"}), start + "is neither ADDRESS:PORT nor the path of a socket");
    EXPECT_EQ(problemOf({"--listen", "::1:8080"}),
              start + "is neither ADDRESS:PORT nor the path of a socket");
    EXPECT_EQ(problemOf({"--listen", ""}), start + "is neither ADDRESS:PORT nor the path of a socket");
    EXPECT_EQ(problemOf({"--listen", "example.org:80"}),
              start + "has no address in numbers (127.0.0.1, [::1]) before its port");
    EXPECT_EQ(problemOf({"--listen", "*:80"}),
              start + "has no address in numbers (127.0.0.1, [::1]) before its port");
    EXPECT_EQ(problemOf({"--listen", "[127.0.0.1]:80"}), start + "has no IPv6 address in its brackets");
}

TEST(ServeOptions, AnAddressOfTheNetworkHasToBeAllowed) {
    for (const char *address :
         {"0.0.0.0:80", "192.168.1.1:80", "[::]:80", "[fe80::1]:80", "[::ffff:127.0.0.1]:80"}) {
        EXPECT_NE(problemOf({"--listen", address}).find("--allow-remote"), std::string::npos) << address;
        EXPECT_EQ(problemOf({"--listen", address, "--allow-remote"}), "") << address;
    }
    for (const char *address : {"127.0.0.1:80", "127.9.9.9:80", "[::1]:80", "localhost:80", "./a.sock"})
        EXPECT_EQ(problemOf({"--listen", address}), "") << address;
}

TEST(ServeOptions, UnknownAndRepeatedOptionsAreRefused) {
    EXPECT_EQ(problemOf({"--port", "1"}), "unknown option --port");
    EXPECT_EQ(problemOf({"-x"}), "unknown option -x");
    EXPECT_EQ(problemOf({"--listen"}), "option --listen needs a value");
    EXPECT_EQ(problemOf({"--allow-remote=yes"}), "option --allow-remote takes no value");
    EXPECT_EQ(problemOf({"-vv"}), "");
    EXPECT_EQ(problemOf({"--", "-v"}), "there is nothing to do with \"-v\"");
    EXPECT_EQ(problemOf({"-t1", "--timeout=2"}), "option --timeout was given twice");
    EXPECT_EQ(problemOf({"--queue", "1", "--queue", "2"}), "option --queue was given twice");
    EXPECT_EQ(problemOf({"file.html"}), "there is nothing to do with \"file.html\"");
}

TEST(ServeOptions, HelpAndVersionWinOverEverythingElse) {
    EXPECT_EQ(parse({"--help", "--queue", "x"}).options.action, ServeOptions::Action::Help);
    EXPECT_EQ(parse({"--help", "--queue", "x"}).problem.toStdString(), "");
    EXPECT_EQ(parse({"-V"}).options.action, ServeOptions::Action::Version);
}

TEST(ServeOptions, TheManualPageAndTheGuideKnowTheSameOptionsAndCodes) {
    const auto file = [](const char *name) {
        QFile reader(QStringLiteral(ZR_SOURCE_DIR "/") + QLatin1String(name));
        EXPECT_TRUE(reader.open(QIODevice::ReadOnly)) << name;
        return reader.readAll();
    };
    const QByteArray page = file("packaging/man/zrpdf-serve.1");
    const QByteArray guide = file("docs/serve.md");
    int options = 0;
    for (const QByteArray &line : ServeOptions::help().split('\n')) {
        const qsizetype start = line.indexOf("--");
        if (!line.startsWith("  ") || start < 2 || start > 6)
            continue;
        const QByteArray name = line.mid(start + 2).split(' ').first();
        ++options;
        EXPECT_TRUE(page.contains("\\-\\-" + QByteArray(name).replace("-", "\\-"))) << name.constData();
    }
    EXPECT_GE(options, 14);
    for (const char *code : Problem::codes())
        EXPECT_TRUE(guide.contains('`' + QByteArray(code) + '`')) << code;
}

TEST(ServeOptions, HelpFitsATerminalAndNamesEveryOption) {
    const QByteArray help = ServeOptions::help();
    for (const QByteArray &line : help.split('\n'))
        EXPECT_LE(line.size(), 120) << line.toStdString();
    for (const char *name :
         {"--listen", "--allow-remote", "--token-file", "--instances", "--queue", "--max-body", "--timeout",
          "--network", "--grace", "--log", "--verbose", "--help", "--version"})
        EXPECT_TRUE(help.contains(name)) << name;
}

TEST(ServeOptions, ABrokersWorkersConvertIfOneIsNamed) {
    const Parsed parsed = parse({"--broker", "amqp://one", "--broker=amqps://two", "--prefix", "mine"});
    EXPECT_EQ(parsed.problem.toStdString(), "");
    EXPECT_EQ(parsed.options.broker.brokers.size(), 2);
    EXPECT_EQ(parsed.options.broker.prefix, QStringLiteral("mine"));
    EXPECT_TRUE(parse({}).options.broker.brokers.isEmpty());
    EXPECT_NE(problemOf({"--broker", "http://host"}), "");
    EXPECT_NE(problemOf({"--broker", "amqp://host", "--prefix", "a b"}), "");
    EXPECT_NE(problemOf({"--store", "ftp://host/"}), "");
    EXPECT_NE(problemOf({"--broker"}), "");
    EXPECT_NE(problemOf({"--broker-file", "/nowhere"}), "");
}

TEST(ServeOptions, WhoNamesNoBrokerButWhatBelongsToOneIsToldSo) {
    const std::string none = "no broker; --broker or --broker-file names one";
    EXPECT_EQ(problemOf({"--prefix", "mine"}), none);
    EXPECT_EQ(problemOf({"--store", "http://host/"}), none);
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    ASSERT_GT(file.write("# nothing yet\n\n"), 0);
    ASSERT_TRUE(file.flush());
    EXPECT_EQ(problemOf({"--broker-file", file.fileName().toUtf8()}), none);
}
