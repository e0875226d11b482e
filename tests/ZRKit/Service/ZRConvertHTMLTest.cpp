// SPDX-License-Identifier: MIT
#include "tests/ZRKit/Service/Conversion.h"

#include "platform/operations/NSRunLoop.h"
#include "platform/values/NSNull.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessTree.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <thread>

namespace {

/// A PNG of one colour, as wide and tall as one likes when it is stretched.
const QByteArray redPng = QByteArray::fromBase64(
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGP4z8AAAAMBAQDJ/pLvAAAAAElFTkSuQmCC");
constexpr int red = 0xff0000;
constexpr int green = 0x00ff00;
constexpr int blue = 0x0000ff;
constexpr int white = 0xffffff;

void write(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

TEST(ZRConvertHTML, AShortDocumentGetsAPageOfTheWebViewsSize) {
    const Conversion made(html(QStringLiteral("<h1>Hello</h1>")), QStringLiteral("public.html"));
    EXPECT_EQ(made.pages(), 1);
    EXPECT_EQ(made.size(), QSizeF(800, 1131));
    EXPECT_EQ(made.reader.text(), QStringLiteral("Hello"));
}

TEST(ZRConvertHTML, ATallDocumentGetsOneTallerPage) {
    const Conversion made(
        html(QStringLiteral("<body style='margin:0'><div style='height:4000px'></div><p style='margin:0;"
                            "height:21px'>the end")));
    EXPECT_EQ(made.pages(), 1);
    EXPECT_EQ(made.size(), QSizeF(800, 4021));
    EXPECT_TRUE(made.reader.contains("the end"));
}

TEST(ZRConvertHTML, AWideDocumentGetsAWiderPage) {
    const Conversion made(html(QStringLiteral(
        "<body style='margin:0'><div style='width:1300px;height:9px;background:#0f0'></div>")));
    EXPECT_EQ(made.pages(), 1);
    EXPECT_EQ(made.size(), QSizeF(1300, 1131));
    EXPECT_EQ(made.reader.pixel(1295, 4), green);
}

TEST(ZRConvertHTML, AStringIsHtmlTextWhateverItsTypeIdentifierSays) {
    for (const char *type : {"public.png", "com.apple.webarchive", "public.plain-text", ""}) {
        const Conversion made(html(QStringLiteral("<b>bold</b>")), QString::fromLatin1(type));
        EXPECT_EQ(made.reader.text(), QStringLiteral("bold")) << type;
    }
    const Conversion address(QStringLiteral("http://127.0.0.1:9/"));
    EXPECT_EQ(address.reader.text(), QStringLiteral("http://127.0.0.1:9/"));
}

TEST(ZRConvertHTML, AnEmptyStringIsABlankPage) {
    const Conversion made(QStringLiteral(""));
    EXPECT_EQ(made.pages(), 1);
    EXPECT_EQ(made.size(), QSizeF(800, 1131));
    EXPECT_EQ(made.reader.text(), QString());
}

TEST(ZRConvertHTML, BytesTellTheirTypeAndEncodingThemselves) {
    EXPECT_EQ(Conversion(QByteArray("<!doctype html><meta charset=iso-8859-2><p>\xb1\xe6")).reader.text(),
              QStringLiteral("\u0105\u0107"));
    EXPECT_EQ(Conversion(QByteArray("\xff\xfe<\0p\0>\0\xac\x20", 10)).reader.text(),
              QStringLiteral("\u20ac"));
    EXPECT_EQ(Conversion(QByteArray("just <b> text\n")).reader.text(), QStringLiteral("just <b> text"));
    EXPECT_TRUE(Conversion(redPng).reader.shows(red));
    const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' width='90' height='90'>"
                           "<rect width='90' height='90' fill='#00f'/></svg>";
    EXPECT_EQ(Conversion(svg).reader.pixel(40, 40), blue);
    const QByteArray xhtml =
        "<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'><head><title/></head>"
        "<body><p>one &amp; two</p></body></html>";
    EXPECT_EQ(Conversion(xhtml).reader.text(), QStringLiteral("one & two"));
}

TEST(ZRConvertHTML, WebArchivesBringTheirParts) {
    const QByteArray archive =
        "MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=B\r\n\r\n"
        "--B\r\nContent-Type: text/html\r\nContent-Location: http://host.example/a\r\n\r\n"
        "<!doctype html><link rel=stylesheet href=s.css><body><p>from an archive\r\n"
        "--B\r\nContent-Type: text/css\r\nContent-Location: http://host.example/s.css\r\n\r\n"
        "body{background:#0f0}\r\n--B--\r\n";
    const Conversion made(archive);
    EXPECT_EQ(made.reader.text(), QStringLiteral("from an archive"));
    EXPECT_EQ(made.reader.pixel(400, 900), green);
}

TEST(ZRConvertHTML, AFileLoadsWhatLiesBesideIt) {
    const QTemporaryDir folder;
    write(folder.filePath(QStringLiteral("page.html")),
          "<!doctype html><link rel=stylesheet href=style.css><p>main</p><img src=red.png width=50 height=50>"
          "<iframe src=inner.html></iframe>");
    write(folder.filePath(QStringLiteral("style.css")), "body{background:#0f0}");
    write(folder.filePath(QStringLiteral("red.png")), redPng);
    write(folder.filePath(QStringLiteral("inner.html")), "<!doctype html><p>inner");
    const Conversion made(QUrl::fromLocalFile(folder.filePath(QStringLiteral("page.html"))));
    EXPECT_TRUE(made.reader.contains("main"));
    EXPECT_TRUE(made.reader.contains("inner"));
    EXPECT_TRUE(made.reader.shows(red));
    EXPECT_EQ(made.reader.pixel(700, 1000), green);
}

TEST(ZRConvertHTML, AFileIsTheSameWhetherOrNotItRefersToOthers) {
    const QTemporaryDir folder;
    const QByteArray body = "<title>T</title><body style='background:#eef'><h1>\xc3\xa9t\xc3\xa9</h1>"
                            "<a href='https://example.org/'>link</a><pre>fixed</pre>";
    write(folder.filePath(QStringLiteral("alone.html")), body);
    write(folder.filePath(QStringLiteral("referring.html")),
          body + "<img src=missing.png style='display:none'>");
    const Conversion alone(QUrl::fromLocalFile(folder.filePath(QStringLiteral("alone.html"))));
    const Conversion referring(QUrl::fromLocalFile(folder.filePath(QStringLiteral("referring.html"))));
    EXPECT_EQ(alone.reader.text(), referring.reader.text());
    EXPECT_EQ(alone.reader.picture(), referring.reader.picture());
    EXPECT_TRUE(alone.pdf.contains("https://example.org/"));
    EXPECT_TRUE(referring.pdf.contains("https://example.org/"));
}

TEST(ZRConvertHTML, DataAndHttpAddressesAreLoaded) {
    EXPECT_EQ(Conversion(QUrl(QStringLiteral("data:text/html,<p>in%20the%20address"))).reader.text(),
              QStringLiteral("in the address"));
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/moved")
            return HTTPServer::Response{.status = 302, .headers = {"Location: /page"}};
        return HTTPServer::Response{.body = "<!doctype html><p>from " + request.path};
    });
    EXPECT_EQ(Conversion(server.url(QStringLiteral("/page"))).reader.text(), QStringLiteral("from /page"));
    EXPECT_EQ(Conversion(server.url(QStringLiteral("/moved"))).reader.text(), QStringLiteral("from /page"));
}

TEST(ZRConvertHTML, AServersErrorPageIsAPage) {
    HTTPServer server([](const HTTPServer::Request &request) {
        return HTTPServer::Response{.status = request.path == "/gone" ? 410 : 500,
                                    .body = request.path == "/empty" ? "" : "<p>sorry"};
    });
    EXPECT_EQ(Conversion(server.url(QStringLiteral("/gone"))).reader.text(), QStringLiteral("sorry"));
    EXPECT_EQ(Conversion(server.url(QStringLiteral("/broken"))).reader.text(), QStringLiteral("sorry"));
    const Conversion empty(server.url(QStringLiteral("/empty")));
    EXPECT_EQ(empty.size(), QSizeF(800, 1131));
    EXPECT_EQ(empty.reader.text(), QString());
}

TEST(ZRConvertHTML, PicturesStylesFontsAndFramesAreWaitedFor) {
    // The style sheet asks for a picture and a font that nothing else mentions; each arrives late.
    Gate style, picture, font;
    QFile fontFile(QStringLiteral("/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf"));
    ASSERT_TRUE(fontFile.open(QIODevice::ReadOnly));
    const QByteArray fontBytes = fontFile.readAll();
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/style.css")
            return HTTPServer::Response{.contentType = "text/css",
                                        .body = "@font-face{font-family:F;src:url(font.ttf)}"
                                                "#t{font-family:F;background:#0f0}"
                                                "#p{background:url(red.png);height:90px}",
                                        .gate = &style};
        if (request.path == "/red.png")
            return HTTPServer::Response{.contentType = "image/png", .body = redPng, .gate = &picture};
        if (request.path == "/font.ttf")
            return HTTPServer::Response{.contentType = "font/ttf",
                                        .body = fontBytes,
                                        .headers = {"Access-Control-Allow-Origin: *"},
                                        .gate = &font};
        if (request.path == "/inner")
            return HTTPServer::Response{.body = "<!doctype html><p>inner"};
        return HTTPServer::Response{.body =
                                        "<!doctype html><body style='margin:0'><link rel=stylesheet "
                                        "href=style.css><span id=t>iiiiiiiiiiiiiiii</span><div id=p></div>"
                                        "<iframe src=/inner></iframe>"};
    });
    std::thread opener([&] {
        const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
        const auto until = [&](const char *path) {
            // Either has to be asked for before it can be late.
            for (int i = 0; i < 2000 && server.count(path) == 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            pause();
        };
        until("/style.css");
        style.open();
        until("/red.png");
        picture.open();
        until("/font.ttf");
        font.open();
    });
    const Conversion made(server.url(QStringLiteral("/")));
    opener.join();
    // Sixteen letters are some 154 pixels wide in the fixed-pitch font, and less than half of that in others.
    EXPECT_EQ(made.reader.pixel(144, 2), green);
    EXPECT_TRUE(made.reader.shows(red));
    EXPECT_TRUE(made.reader.contains("inner"));
}

TEST(ZRConvertHTML, PicturesFurtherDownLoadEvenIfTheyAreLazy) {
    HTTPServer server([](const HTTPServer::Request &) {
        return HTTPServer::Response{.contentType = "image/png", .body = redPng};
    });
    const Conversion made(
        html(QStringLiteral("<div style='height:9000px'></div><img loading=lazy width=99 height=99 "
                            "src='%1'><iframe loading=lazy srcdoc='<p>framed'></iframe>")
                 .arg(server.url(QStringLiteral("/r")).toString())));
    EXPECT_TRUE(made.reader.shows(red));
    EXPECT_TRUE(made.reader.contains("framed"));
}

TEST(ZRConvertHTML, EventsOfSubFramesAreLoggedAndNeverEndTheWait) {
    Gate late;
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/late.png")
            return HTTPServer::Response{.contentType = "image/png", .body = redPng, .gate = &late};
        if (request.path == "/bad")
            return HTTPServer::Response{.fault = HTTPServer::Fault::CloseUnanswered};
        if (request.path == "/good")
            return HTTPServer::Response{.body = "<p>good frame"};
        return HTTPServer::Response{.body =
                                        "<!doctype html><iframe src=/good></iframe><iframe src=/bad></iframe>"
                                        "<img src=/late.png width=80 height=80>"};
    });
    const LogCapture log;
    std::thread opener([&] {
        // The picture comes when both frames are through.
        for (int i = 0; i < 6000 && (log.count(QStringLiteral("didFinishLoadForFrame")) < 1 ||
                                     log.count(QStringLiteral("didFailProvisionalLoadWithError")) < 1);
             ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        late.open();
    });
    const Conversion made(server.url(QStringLiteral("/")));
    opener.join();
    EXPECT_TRUE(made.reader.shows(red));
    EXPECT_TRUE(made.reader.contains("good frame"));
    EXPECT_EQ(log.count(QStringLiteral("didFinishLoadForFrame <WebFrame: sub-frame, ")), 1);
    EXPECT_EQ(log.count(QStringLiteral("didFailProvisionalLoadWithError Error Domain=NSURLErrorDomain")), 1);
    EXPECT_EQ(log.count(QStringLiteral("didFinishLoadForFrame <WebFrame: main, ")), 1);
}

TEST(ZRConvertHTML, DefaultFontSizesAreSixteenAndFourteen) {
    const Conversion made(
        html(QStringLiteral("<body style='margin:0'><div style='height:10em;background:#0f0'></div>"
                            "<pre style='height:10em;margin:0;background:#00f'></pre><p "
                            "style='height:10em;background:#f00;margin:0'>")));
    EXPECT_EQ(made.reader.pixel(10, 158), green);
    EXPECT_EQ(made.reader.pixel(10, 162), blue);
    EXPECT_EQ(made.reader.pixel(10, 160 + 138), blue);
    EXPECT_EQ(made.reader.pixel(10, 160 + 142), red);
    EXPECT_EQ(made.reader.pixel(10, 160 + 140 + 158), red);
    EXPECT_EQ(made.reader.pixel(10, 160 + 140 + 162), white);
}

TEST(ZRConvertHTML, ThePageIsLaidOutForAScreenOfTheWebViewsSize) {
    const Conversion made(html(
        QStringLiteral("<style>body{margin:0}b,i,u{display:none}@media screen{b{display:inline}}"
                       "@media print{i{display:inline}}"
                       "@media (width:800px) and (height:1131px) and (resolution:1dppx){u{display:inline}}"
                       "div{height:30px;width:100vw;background:#0f0}</style>"
                       "<b>screen</b><i>print</i><u>sized</u><div>")));
    EXPECT_TRUE(made.reader.contains("screen"));
    EXPECT_FALSE(made.reader.contains("print"));
    EXPECT_TRUE(made.reader.contains("sized"));
    EXPECT_EQ(made.reader.pixel(799, 30), green);
}

TEST(ZRConvertHTML, APictureIsLoadedOncePerDocument) {
    HTTPServer server([](const HTTPServer::Request &) {
        return HTTPServer::Response{
            .contentType = "image/png", .body = redPng, .headers = {"Cache-Control: max-age=600"}};
    });
    const QString address = server.url(QStringLiteral("/r.png")).toString();
    const Conversion made(
        html(QStringLiteral("<style>p{background:url(%1);height:5px}</style><img src='%1'><p>"
                            "<img src='%1'>")
                 .arg(address)));
    EXPECT_TRUE(made.reader.shows(red));
    EXPECT_EQ(server.count("/r.png"), 1);
}

TEST(ZRConvertHTML, PlugInsLeaveTheirFallback) {
    const Conversion made(html(QStringLiteral(
        "<object type='application/x-shockwave-flash' data='data:application/x-shockwave-flash,x'>"
        "fallback one</object><object type='application/pdf' data='data:application/pdf,x'>"
        "fallback two</object><embed type='application/x-java-applet'><p>after")));
    EXPECT_TRUE(made.reader.contains("fallback one"));
    EXPECT_TRUE(made.reader.contains("fallback two"));
    EXPECT_TRUE(made.reader.contains("after"));
}

TEST(ZRConvertHTML, AScheduledReloadComesTooLate) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/header")
            return HTTPServer::Response{.body = "<p>first page", .headers = {"Refresh: 0; url=/second"}};
        if (request.path == "/meta")
            return HTTPServer::Response{
                .body = "<meta http-equiv=refresh content='0; url=/second'><p>first page"};
        return HTTPServer::Response{.body = "<p>second page"};
    });
    const QString refresh = QStringLiteral("<meta http-equiv='refresh' content='0; url=%1'/>")
                                .arg(server.url(QStringLiteral("/second")).toString());
    EXPECT_EQ(Conversion(html(refresh + QStringLiteral("<p>text"))).reader.text(), QStringLiteral("text"));
    const QString xhtml =
        QStringLiteral("<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'><head>"
                       "<title/>%1</head><body><p>strict</p></body></html>");
    EXPECT_EQ(Conversion(xhtml.arg(refresh).toUtf8()).reader.text(), QStringLiteral("strict"));
    for (const char *path : {"/header", "/meta"})
        EXPECT_EQ(Conversion(server.url(QString::fromLatin1(path))).reader.text(),
                  QStringLiteral("first page"));
    EXPECT_EQ(server.count("/second"), 0);
}

TEST(ZRConvertHTML, TagsAreMadeWhenAskedFor) {
    const QVariant document = html(QStringLiteral("<h1>Title</h1><p>text"));
    EXPECT_FALSE(Conversion(document).pdf.contains("/StructTreeRoot"));
    EXPECT_TRUE(Conversion(document, QStringLiteral("public.html"), true).pdf.contains("/StructTreeRoot"));
    EXPECT_FALSE(Conversion(document).pdf.contains("/StructTreeRoot"));
}

TEST(ZRConvertHTML, TheCallingThreadWaitsForTheMainThreadToDoIt) {
    QByteArray pdf;
    std::atomic<bool> finished = false;
    std::thread caller([&] {
        pdf = ZRConvertHTML(html(QStringLiteral("<p>from a thread"))).pdfData();
        finished = true;
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::User));
    });
    while (!finished)
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
    caller.join();
    EXPECT_EQ(PDFReader(pdf).text(), QStringLiteral("from a thread"));
}

TEST(ZRConvertHTML, ConversionsOfSeveralThreadsDoNotMixUp) {
    constexpr int threads = 4, each = 5;
    std::atomic<int> right = 0, finished = 0;
    std::vector<std::thread> callers;
    std::vector<QByteArray> results(threads * each);
    for (int t = 0; t < threads; ++t) {
        callers.emplace_back([&, t] {
            for (int i = 0; i < each; ++i)
                results[size_t(t * each + i)] =
                    ZRConvertHTML(html(QStringLiteral("<p>document %1").arg(t * each + i))).pdfData();
            ++finished;
        });
    }
    while (finished < threads)
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
    for (std::thread &caller : callers)
        caller.join();
    for (int i = 0; i < threads * each; ++i)
        right += PDFReader(results[size_t(i)]).text() == QStringLiteral("document %1").arg(i);
    EXPECT_EQ(right, threads * each);
}

TEST(ZRConvertHTML, OutsideOfWorkThereIsNothingToLoadInto) {
    ZRConvertHTML converter(html(QStringLiteral("<p>x")));
    const QByteArray pdf = converter.pdfData();
    converter.useHTML(QStringLiteral("<p>y"));
    converter.useURL(QUrl(QStringLiteral("about:blank")));
    converter.useData("z");
    converter.extractPDFAsOnePage();
    EXPECT_EQ(converter.pdfData(), pdf);
    converter.setPdfData("other");
    EXPECT_EQ(converter.property("pdfData").toByteArray(), QByteArray("other"));
}

TEST(ZRConvertHTML, CallbacksWithoutAFrameAreLoggedAndChangeNothing) {
    ZRConvertHTML converter(html(QStringLiteral("<p>x")));
    const QByteArray pdf = converter.pdfData();
    const NSError error(QStringLiteral("domain"), 7);
    const LogCapture log;
    converter.webViewDidFailProvisionalLoadWithError(nullptr, error, nullptr);
    converter.webViewDidFailLoadWithError(nullptr, NSError(), nullptr);
    converter.webViewDidFinishLoadForFrame(nullptr, nullptr);
    EXPECT_EQ(
        log.lines(),
        (QStringList{QStringLiteral("didFailProvisionalLoadWithError %1 (null)").arg(error.description()),
                     QStringLiteral("didFailLoadWithError (null) (null)"),
                     QStringLiteral("didFinishLoadForFrame (null)")}));
    EXPECT_EQ(converter.pdfData(), pdf);
    EXPECT_FALSE(converter.error());
}

TEST(ZRConvertHTML, WorkThatIsGivenUpWhileItPrintsEndsAtOnce) {
    const LogCapture log;
    std::stop_source abandoned;
    // Breaking one word of so many letters into lines takes the engine the better part of a minute.
    const QVariant word = html(QStringLiteral("<p>") + QString(400000, u'x'));
    std::jthread client([&] {
        if (ProcessTree::waitUntil([&] { return log.count(QStringLiteral("didFinishLoadForFrame")) > 0; }))
            abandoned.request_stop();
    });
    const ZRConvertHTML converter(word, {}, false, abandoned.get_token());
    EXPECT_TRUE(abandoned.stop_requested());
    EXPECT_TRUE(converter.pdfData().isNull());
    EXPECT_EQ(Conversion(html(QStringLiteral("<p>next"))).reader.text(), QStringLiteral("next"));
}

TEST(ZRConvertHTML, WorkThatWasGivenUpBeforeIsNotBegun) {
    const LogCapture log;
    std::stop_source abandoned;
    abandoned.request_stop();
    EXPECT_TRUE(
        ZRConvertHTML(html(QStringLiteral("<p>x")), {}, false, abandoned.get_token()).pdfData().isNull());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZRConvertHTML, TypeConformanceAsksForTheStoredType) {
    const ZRConvertHTML page(QStringLiteral(""), QStringLiteral("public.html"));
    EXPECT_FALSE(page.conformsToUTITypes({}));
    EXPECT_TRUE(page.conformsToUTITypes({QStringLiteral("public.html")}));
    EXPECT_TRUE(page.conformsToUTITypes({QStringLiteral("public.image"), QStringLiteral("public.text")}));
    EXPECT_FALSE(page.conformsToUTITypes({QStringLiteral("public.image"), QStringLiteral("public.movie")}));
    const ZRConvertHTML untyped(QStringLiteral(""));
    EXPECT_FALSE(untyped.conformsToUTITypes({QStringLiteral("public.data")}));
}
