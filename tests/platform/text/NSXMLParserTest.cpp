// SPDX-License-Identifier: MIT
#include "platform/text/NSXMLParser.h"

#include "platform/values/NSNull.h"

#include <QElapsedTimer>
#include <QFile>
#include <QStringEncoder>
#include <QStringList>
#include <QTemporaryFile>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace Qt::StringLiterals;

/// Writes down what it is told.
class Recorder : public NSXMLParserDelegate {
public:
    void parserDidStartElement(NSXMLParser &parser, const QString &name, const QString &uri,
                               const QString &qualifiedName, const QVariantMap &attributes) override {
        QString line = u"<%1 {%2} %3"_s.arg(name, uri, qualifiedName);
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            line += u" %1=%2"_s.arg(it.key(), it.value().toString());
        events.append(line);
        if (name == u"stop"_s)
            parser.abortParsing();
    }
    void parserDidEndElement(NSXMLParser &, const QString &name, const QString &uri,
                             const QString &qualifiedName) override {
        events.append(u">%1 {%2} %3"_s.arg(name, uri, qualifiedName));
    }
    void parserFoundCharacters(NSXMLParser &, const QString &string) override {
        events.append(u'"' + string);
    }
    void parserDidStartMappingPrefix(NSXMLParser &, const QString &prefix, const QString &uri) override {
        events.append(u"+%1=%2"_s.arg(prefix, uri));
    }
    void parserDidEndMappingPrefix(NSXMLParser &, const QString &prefix) override {
        events.append(u'-' + prefix);
    }

    QStringList events;
};

struct Parsed {
    bool done;
    QStringList events;
    NSError error;
    /// The pieces of text.
    QString text() const {
        QStringList pieces;
        for (const QString &event : events) {
            if (event.startsWith(u'"'))
                pieces.append(event.mid(1));
        }
        return pieces.join(u'|');
    }
};

Parsed parsed(const QByteArray &document, bool reportsPrefixes = false, bool processesNamespaces = true) {
    Recorder recorder;
    NSXMLParser parser(document);
    parser.setDelegate(&recorder);
    parser.setShouldProcessNamespaces(processesNamespaces);
    parser.setShouldReportNamespacePrefixes(reportsPrefixes);
    const bool done = parser.parse();
    return {done, recorder.events, parser.parserError()};
}

/// Whether the document is refused within two seconds of the processor's time, and 16 MB more than the test has
/// already besides what a document of its size may come to, in a process of its own.
bool isRefusedCheaply(const QByteArray &document) {
    const pid_t child = ::fork();
    if (child == 0) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t bytes =
            rlim_t(pages) * rlim_t(::sysconf(_SC_PAGESIZE)) + (16U << 20) + 10 * rlim_t(document.size());
        const rlimit memory{bytes, bytes};
        ::setrlimit(RLIMIT_AS, &memory);
        const rlimit processor{2, 2};
        ::setrlimit(RLIMIT_CPU, &processor);
#endif
        const Parsed result = parsed(document);
        ::_exit(result.done || !result.error ? 1 : 0);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

TEST(NSXMLParser, ReportsElementsAndTextInDocumentOrder) {
    EXPECT_EQ(
        parsed("<a x='1' y='2'>t<b/>u</a>").events,
        (QStringList{u"<a {} a x=1 y=2"_s, u"\"t"_s, u"<b {} b"_s, u">b {} b"_s, u"\"u"_s, u">a {} a"_s}));
}

TEST(NSXMLParser, WithNamespacesProcessedNamesAreLocalAndDeclarationsAreNoAttributes) {
    EXPECT_EQ(parsed("<p:a xmlns:p='urn:p' xmlns='urn:d' p:x='1' y='2'><b/></p:a>").events,
              (QStringList{u"<a {urn:p} p:a p:x=1 y=2"_s, u"<b {urn:d} b"_s, u">b {urn:d} b"_s,
                           u">a {urn:p} p:a"_s}));
}

TEST(NSXMLParser, WithoutNamespacesNamesStayWhole) {
    EXPECT_EQ(parsed("<p:a xmlns:p='urn:p'/>", false, false).events,
              (QStringList{u"<p:a {} p:a xmlns:p=urn:p"_s, u">p:a {} p:a"_s}));
}

TEST(NSXMLParser, ReportsPrefixesWhereItIsAsked) {
    EXPECT_EQ(parsed("<a xmlns='urn:d'><p:b xmlns:p='urn:p'/></a>", true).events,
              (QStringList{u"+=urn:d"_s, u"<a {urn:d} a"_s, u"+p=urn:p"_s, u"<b {urn:p} p:b"_s,
                           u">b {urn:p} p:b"_s, u"-p"_s, u">a {urn:d} a"_s, u"-"_s}));
}

TEST(NSXMLParser, WorksWithoutADelegate) {
    NSXMLParser parser("<a/>");
    EXPECT_TRUE(parser.parse());
    EXPECT_TRUE(parser.parserError().isNil());
}

TEST(NSXMLParser, ADelegateCanEndTheParse) {
    const Parsed result = parsed("<a><stop/><b/></a>");
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.events.last(), u"<stop {} stop"_s);
    EXPECT_EQ(result.error.domain(), NSXMLParserErrorDomain);
    EXPECT_EQ(result.error.code(), NSXMLParserDelegateAbortedParseError);
}

TEST(NSXMLParser, ErrorsSayWhere) {
    const NSError error = parsed("<a>\n  <b></c></a>").error;
    EXPECT_EQ(error.code(), NSXMLParserNotWellFormedError);
    EXPECT_TRUE(error.localizedDescription().startsWith(u"Line 2, column "_s))
        << qPrintable(error.description());
    EXPECT_EQ(parsed("<a>").error.code(), NSXMLParserPrematureDocumentEndError);
}

TEST(NSXMLParser, WhatWasReportedBeforeAnErrorStands) {
    EXPECT_EQ(parsed("<a><b/>").events, (QStringList{u"<a {} a"_s, u"<b {} b"_s, u">b {} b"_s}));
}

// Text

TEST(NSXMLParser, ReferencesDoNotPartAText) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY e 'x&amp;y'>]><a>1 &amp; 2 &#51; &e; &#x1F600;</a>").text(),
              u"1 & 2 3 x&y \U0001F600"_s);
}

TEST(NSXMLParser, CommentsInstructionsAndCharacterDataPartAText) {
    EXPECT_EQ(parsed("<a>1<!-- c -->2<?p?>3<![CDATA[<4>]]>5</a>").text(), u"1|2|3|<4>|5"_s);
}

TEST(NSXMLParser, EmptyTextIsNotReported) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY e ''>]><a><![CDATA[]]>&e;</a>").text(), QString());
}

TEST(NSXMLParser, ALongTextComesInOnePiece) {
    const QString text = QString(u"\u00e9\U0001F600x"_s).repeated(500'000);
    const Parsed result = parsed("<a>" + text.toUtf8() + "</a>");
    ASSERT_EQ(result.events.size(), 3);
    EXPECT_EQ(result.text(), text);
}

TEST(NSXMLParser, LineEndsAreLineFeeds) {
    EXPECT_EQ(parsed("<a>1\r\n2\r3\n4&#13;5</a>").text(), u"1\n2\n3\n4\r5"_s);
}

TEST(NSXMLParser, WhiteSpaceInAttributesIsNormalized) {
    EXPECT_EQ(parsed("<a b='1\n2\t3\r\n4&#10;5'/>").events.first(), u"<a {} a b=1 2 3 4\n5"_s);
}

TEST(NSXMLParser, AttributesHaveTheirDefaults) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ATTLIST a b CDATA 'x' c CDATA #FIXED 'y' d CDATA #IMPLIED>]><a b='z'/>")
                  .events.first(),
              u"<a {} a b=z c=y"_s);
}

TEST(NSXMLParser, TheFirstDeclarationOfAnEntityCounts) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY e 'x'><!ENTITY e 'y'>]><a>&e;</a>").text(), u"x"_s);
}

TEST(NSXMLParser, ParameterEntitiesDeclareEntities) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'x'>\">%p;]><a>&e;</a>").text(), u"x"_s);
}

TEST(NSXMLParser, EntitiesMayHoldMarkup) {
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY e '<b>x</b>'>]><a>&e;</a>").events,
              (QStringList{u"<a {} a"_s, u"<b {} b"_s, u"\"x"_s, u">b {} b"_s, u">a {} a"_s}));
}

// Encodings

struct Encoding {
    const char *name;
    QByteArray document;
};

class NSXMLParserEncoding : public testing::TestWithParam<Encoding> {};

TEST_P(NSXMLParserEncoding, IsRead) {
    const Parsed result = parsed(GetParam().document);
    EXPECT_TRUE(result.done) << qPrintable(result.error.description());
    EXPECT_EQ(result.text(), u"\u00e9"_s);
}

INSTANTIATE_TEST_SUITE_P(
    XML, NSXMLParserEncoding,
    testing::Values(Encoding{"UTF8", "<a>\xC3\xA9</a>"},
                    Encoding{"UTF8WithMark", "\xEF\xBB\xBF<a>\xC3\xA9</a>"},
                    Encoding{"UTF8Declared", "<?xml version='1.0' encoding='utf-8'?><a>\xC3\xA9</a>"},
                    Encoding{"UTF16LittleEndian", QByteArray("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18)},
                    Encoding{"UTF16BigEndian", QByteArray("\xFE\xFF\0<\0a\0>\0\xE9\0<\0/\0a\0>", 18)},
                    Encoding{"UTF16WithoutMark", QByteArray("<\0a\0>\0\xE9\0<\0/\0a\0>\0", 16)},
                    Encoding{"UTF16BigEndianWithoutMark", QByteArray("\0<\0a\0>\0\xE9\0<\0/\0a\0>", 16)},
                    Encoding{"UTF16Declared",
                             QStringEncoder(QStringEncoder::Utf16, QStringEncoder::Flag::WriteBom)
                                 .encode(u"<?xml version='1.0' encoding='UTF-16'?><a>\u00e9</a>"_s)},
                    Encoding{"UTF32", QStringEncoder(QStringEncoder::Utf32, QStringEncoder::Flag::WriteBom)
                                          .encode(u"<?xml version='1.0' encoding='UTF-32'?><a>\u00e9</a>"_s)},
                    Encoding{"Latin1", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>"},
                    Encoding{"Latin1LowerCase", "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a>\xE9</a>"},
                    Encoding{"Latin9", "<?xml version='1.0' encoding='ISO-8859-15'?><a>\xE9</a>"},
                    Encoding{"Windows1252", "<?xml version='1.0' encoding='windows-1252'?><a>\xE9</a>"},
                    Encoding{"Cyrillic", "<?xml version='1.0' encoding='KOI8-R'?><a>&#xE9;</a>"},
                    Encoding{"ASCII", "<?xml version='1.0' encoding='US-ASCII'?><a>&#xE9;</a>"}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(NSXMLParser, EncodingsOtherThanUnicodeAreReadByTheirTables) {
    EXPECT_EQ(parsed("<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>").text(), u"\u20ac"_s);
    EXPECT_EQ(parsed("<?xml version='1.0' encoding='ISO-8859-15'?><a>\xA4</a>").text(), u"\u20ac"_s);
    EXPECT_EQ(parsed("<?xml version='1.0' encoding='Shift_JIS'?><a>\x83\x5C</a>").text(), u"\u30bd"_s);
    EXPECT_EQ(parsed("<?xml version='1.0' encoding='KOI8-R'?><a>\xC1</a>").text(), u"\u0430"_s);
}

TEST(NSXMLParser, ADocumentThatIsNotInItsEncodingIsRefused) {
    EXPECT_FALSE(parsed("<?xml version='1.0' encoding='UTF-8'?><a>\xE9</a>").done);
    EXPECT_FALSE(parsed(QByteArray("\xFF\xFE<\0a\0>\0\x00\xD8<\0/\0a\0>\0", 18)).done);
    EXPECT_FALSE(parsed(QByteArray("\xFF\xFE<\0a\0/\0>", 9)).done);
    EXPECT_FALSE(parsed("<?xml version='1.0' encoding='UTF-16'?><a/>").done);
}

// What a document may not do

TEST(NSXMLParser, ReferencesToExternalEntitiesAreErrorsAndNothingIsRead) {
    QTemporaryFile secret;
    ASSERT_TRUE(secret.open());
    secret.write("secret");
    secret.flush();
    const QByteArray file = "file://" + secret.fileName().toUtf8();
    for (const QByteArray &declaration :
         {"<!ENTITY e SYSTEM '" + file + "'>", "<!ENTITY e PUBLIC 'p' '" + file + "'>",
          "<!ENTITY f SYSTEM '" + file + "'><!ENTITY e '&f;'>"}) {
        for (const char *content : {"<a>&e;</a>", "<a>x<b>&e;</b></a>", "<a b='&e;'/>"}) {
            const Parsed result = parsed("<!DOCTYPE a [" + declaration + "]>" + content);
            EXPECT_FALSE(result.done) << content;
            EXPECT_FALSE(result.events.join(u' ').contains(u"secret"_s));
        }
    }
    EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY e SYSTEM '" + file + "'>]><a>&e;</a>").error.code(),
              NSXMLParserEntityIsExternalError);
}

TEST(NSXMLParser, ExternalSubsetsAreNotRead) {
    EXPECT_TRUE(parsed("<!DOCTYPE a SYSTEM 'file:///dev/zero'><a/>").done);
    EXPECT_TRUE(parsed("<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///dev/zero'>%p;]><a/>").done);
    // The entity might be declared there; its text can't be had.
    EXPECT_EQ(parsed("<!DOCTYPE a SYSTEM 'missing.dtd'><a>1&nbsp;2</a>").error.code(),
              NSXMLParserEntityIsExternalError);
}

TEST(NSXMLParser, WhatOnlyAnUnreadPartCouldDeclareIsAnErrorInAttributesToo) {
    const QByteArray subset = "<!DOCTYPE a SYSTEM 'missing.dtd' [";
    const QByteArray entity = "<!DOCTYPE a [<!ENTITY % p SYSTEM 'missing'>%p;";
    for (const QByteArray &document :
         {subset + "]><a b='&none;'/>", entity + "]><a b='&none;'/>",
          subset + "]><a><c x='1' b='y&none;z'/></a>", subset + "<!ENTITY e '&none;'>]><a b='&e;'/>",
          subset + "<!ENTITY e '<c b=\"&none;\"/>'>]><a>&e;</a>",
          subset + "<!ATTLIST a b CDATA '&none;'>]><a/>"}) {
        const Parsed result = parsed(document);
        EXPECT_FALSE(result.done) << document.constData();
        EXPECT_EQ(result.error.code(), NSXMLParserEntityIsExternalError) << document.constData();
    }
    EXPECT_TRUE(parsed(subset + "]><a b='&amp;&#65;&lt;'/>").done);
    // What follows an entity that isn't read may not be what it seems, and isn't taken.
    EXPECT_EQ(parsed(entity + "<!ATTLIST a b CDATA 'x'>]><a/>").events.first(), u"<a {} a"_s);
}

TEST(NSXMLParser, WhatADelegateThrowsEndsTheParseAndReachesTheCaller) {
    class Thrower : public Recorder {
        void parserFoundCharacters(NSXMLParser &, const QString &) override { throw 5; }
    } thrower;
    NSXMLParser parser("<a><b/>x<c/></a>");
    parser.setDelegate(&thrower);
    EXPECT_THROW(parser.parse(), int);
    EXPECT_EQ(thrower.events.last(), u">b {} b"_s);
}

TEST(NSXMLParser, AByteOrderMarkWithinATextStays) {
    EXPECT_EQ(parsed("<a>\xEF\xBB\xBFx</a>").text(), QString(QChar(0xFEFF)) + u'x');
    EXPECT_EQ(parsed("<a b='\xEF\xBB\xBF'/>").events.first(), u"<a {} a b="_s + QChar(0xFEFF));
}

TEST(NSXMLParser, AChainOfManyEntitiesIsRefusedCheaply) {
    const auto chain = [](int length) {
        QByteArray document = "<!DOCTYPE a [";
        for (int i = 0; i < length; ++i)
            document += "<!ENTITY e" + QByteArray::number(i) + " '&e" + QByteArray::number(i + 1) + ";'>";
        return document + "<!ENTITY e" + QByteArray::number(length) + " 'x'>]>";
    };
    EXPECT_EQ(parsed(chain(1000) + "<a>&e0;</a>").text(), u"x"_s);
    EXPECT_TRUE(isRefusedCheaply(chain(100'000) + "<a>&e0;</a>"));
    EXPECT_TRUE(isRefusedCheaply(chain(100'000) + "<a b='&e0;'/>"));
}

TEST(NSXMLParser, ManyDeclaredAttributesOfManyElementsAreRefusedCheaply) {
    QByteArray document = "<!DOCTYPE a [<!ATTLIST b";
    for (int i = 0; i < 30'000; ++i)
        document += " c" + QByteArray::number(i) + " CDATA #IMPLIED";
    EXPECT_TRUE(isRefusedCheaply(document + ">]><a>" + QByteArray("<b/>").repeated(30'000) + "</a>"));
}

TEST(NSXMLParser, ALongNamespaceIsRefused) {
    const auto document = [](int size) {
        return "<p:a xmlns:p='" + QByteArray(size, 'u') + "'>" + QByteArray("<p:b/>").repeated(10) + "</p:a>";
    };
    EXPECT_TRUE(parsed(document(NSXMLParser::MaximumNamespaceLength)).done);
    EXPECT_FALSE(parsed(document(NSXMLParser::MaximumNamespaceLength + 1)).done);
}

TEST(NSXMLParser, EntitiesOfEntitiesThatMultiplyAreRefusedCheaply) {
    QByteArray document = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
    for (int i = 1; i < 10; ++i) {
        const QByteArray reference = "&e" + QByteArray::number(i - 1) + ';';
        document += "<!ENTITY e" + QByteArray::number(i) + " '" + reference.repeated(10) + "'>";
    }
    EXPECT_TRUE(isRefusedCheaply(document + "]><a>&e9;</a>"));
    EXPECT_TRUE(isRefusedCheaply(document + "]><a b='&e9;'/>"));
    EXPECT_TRUE(isRefusedCheaply(document + "<!ATTLIST a b CDATA '&e9;'>]><a/>"));
}

TEST(NSXMLParser, ManyReferencesToOneLargeEntityAreRefusedCheaply) {
    const QByteArray declaration = "<!DOCTYPE a [<!ENTITY e '" + QByteArray(4000, 'x') + "'>";
    EXPECT_TRUE(isRefusedCheaply(declaration + "]><a>" + QByteArray("&e;").repeated(500'000) + "</a>"));
    EXPECT_TRUE(isRefusedCheaply(declaration + "]><a b='" + QByteArray("&e;").repeated(500'000) + "'/>"));
    EXPECT_TRUE(
        isRefusedCheaply(declaration + "]><a>" + QByteArray("<b>&e;</b>").repeated(200'000) + "</a>"));
    EXPECT_TRUE(isRefusedCheaply(declaration + "<!ENTITY f '&e;'>]><a>" +
                                 QByteArray("&f;").repeated(500'000) + "</a>"));
    EXPECT_TRUE(isRefusedCheaply(declaration + "<!ATTLIST a b CDATA '" + QByteArray("&e;").repeated(100'000) +
                                 "'>]><a/>"));
}

TEST(NSXMLParser, ManyParameterEntitiesAreRefusedCheaply) {
    EXPECT_TRUE(isRefusedCheaply("<!DOCTYPE a [<!ENTITY % p '" + QByteArray("<?p?>").repeated(800) + "'>" +
                                 QByteArray("%p;").repeated(300'000) + "]><a/>"));
}

TEST(NSXMLParser, ManyDefaultAttributesAreRefusedCheaply) {
    QByteArray list = "<!DOCTYPE a [<!ATTLIST b c CDATA '" + QByteArray(100'000, 'x') + "'>]><a>";
    EXPECT_TRUE(isRefusedCheaply(list + QByteArray("<b/>").repeated(100'000) + "</a>"));
    list = "<!DOCTYPE a [<!ATTLIST b";
    for (int i = 0; i < 30'000; ++i)
        list += " c" + QByteArray::number(i) + " CDATA ''";
    EXPECT_TRUE(isRefusedCheaply(list + ">]><a>" + QByteArray("<b/>").repeated(100'000) + "</a>"));
}

TEST(NSXMLParser, EntitiesInProportionToTheDocumentAreReplaced) {
    const QByteArray declaration =
        "<!DOCTYPE a [<!ENTITY e '" + QByteArray(1000, 'x') + "'><!ENTITY n '&#38;'>]>";
    EXPECT_EQ(parsed(declaration + "<a>" + QByteArray("&e;").repeated(900) + "</a>").text().size(), 900'000);
    EXPECT_EQ(parsed(declaration + "<a>" + QByteArray("&amp;&#38;").repeated(500'000) + "</a>").text().size(),
              1'000'000);
}

TEST(NSXMLParser, ManyAttributesAreRefusedCheaply) {
    const auto element = [](int count, const char *prefix) {
        QByteArray tag = "<a";
        for (int i = 0; i < count; ++i)
            tag += QByteArray(" ") + prefix + QByteArray::number(i) + "='u'";
        return tag + "/>";
    };
    EXPECT_TRUE(parsed(element(NSXMLParser::MaximumAttributes, "b")).done);
    EXPECT_FALSE(parsed(element(NSXMLParser::MaximumAttributes + 1, "b")).done);
    EXPECT_TRUE(isRefusedCheaply(element(300'000, "b")));
    EXPECT_TRUE(isRefusedCheaply(element(300'000, "xmlns:b")));
}

TEST(NSXMLParser, ManyNamespacesAtOnceAreRefused) {
    const auto nested = [](int levels) {
        QByteArray document;
        for (int i = 0; i < levels; ++i) {
            document += "<a";
            for (int j = 0; j < 100; ++j)
                document += " xmlns:p" + QByteArray::number(i * 100 + j) + "='u'";
            document += '>';
        }
        return document + QByteArray("</a>").repeated(levels);
    };
    EXPECT_TRUE(parsed(nested(10)).done);
    EXPECT_FALSE(parsed(nested(11)).done);
    // One after another they are out of reach again.
    EXPECT_TRUE(parsed("<r>" + nested(9) + nested(9) + "</r>").done);
}

TEST(NSXMLParser, DepthIsBounded) {
    const auto nested = [](int depth) {
        return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
    };
    EXPECT_TRUE(parsed(nested(NSXMLParser::MaximumDepth)).done);
    const Parsed deeper = parsed(nested(NSXMLParser::MaximumDepth + 1));
    EXPECT_FALSE(deeper.done);
    EXPECT_EQ(deeper.error.code(), NSXMLParserEntityBoundaryError);
    EXPECT_TRUE(isRefusedCheaply(QByteArray("<a>").repeated(1'000'000)));
}

TEST(NSXMLParser, EveryCutOfADocumentIsRefused) {
    const QByteArray document = "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY e 'x'><!ATTLIST b c CDATA 'd'>]>"
                                "<p:a xmlns:p='urn:p'><!-- c --><b>&e;&amp;</b><![CDATA[x]]><?p d?></p:a>";
    ASSERT_TRUE(parsed(document).done);
    for (qsizetype size = 0; size < document.size(); ++size)
        EXPECT_FALSE(parsed(document.first(size)).done) << size;
}
