// SPDX-License-Identifier: MIT
#include "platform/web/WebView.h"

#include "ZRKit/Values/NSAutoresizing+ZRKit.h"
#include "platform/base/NSError.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/web/WebEngine.h"
#include "platform/web/WebError.h"
#include "tests/platform/web/ViewLoader.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/PDFReader.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

using namespace Qt::StringLiterals;

TEST(WebView, HasTheSettingsOfAnOrdinaryViewUntilTheyAreChanged) {
    WebView view(screen);
    EXPECT_EQ(view.frame(), screen);
    EXPECT_EQ(view.frameLoadDelegate(), nullptr);
    EXPECT_TRUE(view.maintainsBackForwardList());
    view.setMaintainsBackForwardList(false);
    EXPECT_FALSE(view.maintainsBackForwardList());
    const WebPreferences &preferences = view.preferences();
    EXPECT_EQ(preferences.defaultFontSize(), 16);
    EXPECT_EQ(preferences.defaultFixedFontSize(), 13);
    EXPECT_EQ(preferences.cacheModel(), 0);
    EXPECT_TRUE(preferences.usesPageCache() && preferences.arePlugInsEnabled() &&
                preferences.isJavaEnabled() && preferences.isJavaScriptEnabled() &&
                preferences.javaScriptCanOpenWindowsAutomatically());
    EXPECT_FALSE(preferences.tagsPDF());
}

template <typename Flag>
concept IsAStretchFlag = requires(WebView &view, Flag flag) {
    ZRKit::setStretch(&view, flag);
};
static_assert(IsAStretchFlag<bool> && !IsAStretchFlag<int> && !IsAStretchFlag<const char *>);

TEST(WebView, StretchingIsAnAutoresizingMaskOfEighteen) {
    WebView view(screen);
    EXPECT_EQ(view.autoresizingMask(), 0u);
    EXPECT_EQ(ZRKit::setStretch(&view, true), &view);
    EXPECT_EQ(view.autoresizingMask(), 18u);
    EXPECT_EQ(ZRKit::setStretch(&view, false), &view);
    EXPECT_EQ(view.autoresizingMask(), 0u);
}

TEST(WebView, TellsItsDelegateAfterTheCallAndOnce) {
    Loader loader;
    loader.frame()->loadHTMLString(QStringLiteral("<p>x"));
    EXPECT_TRUE(loader.delegate.events.isEmpty());
    ASSERT_TRUE(loader.delegate.wait());
    loader.view->mainFrame()->loadData(QByteArray());
    EXPECT_EQ(loader.delegate.events, QStringList{QStringLiteral("finished main")});
    ASSERT_TRUE(loader.delegate.wait(2));
    EXPECT_EQ(loader.delegate.events.back(), QStringLiteral("failed provisionally main"));
    EXPECT_EQ(loader.delegate.lastError.code(), NSURLErrorZeroByteResource);
    NSRunLoop::mainRunLoop().runUntilDate(0.05);
    EXPECT_EQ(loader.delegate.events.size(), 2);
}

TEST(WebView, APageServesSoManyDocumentsAndTheNextOneIsMadeWhileItServesTheLast) {
    zr::WebEngine::setEndurance({.ofPage = 10});
    const auto restored = qScopeGuard([] { zr::WebEngine::setEndurance({}); });
    const auto renderers = [] {
        std::set<pid_t> found;
        for (const ProcessTree::Process &process : ProcessTree::below(::getpid()))
            if (process.command.find("--type=renderer") != std::string::npos)
                found.insert(process.pid);
        return found;
    };
    const auto load = [](int number) {
        auto loader = std::make_unique<Loader>();
        // A page whose font sizes were changed is not used again.
        loader->view->preferences().setDefaultFixedFontSize(14);
        loader->frame()->loadHTMLString(QStringLiteral("<p>%1").arg(number));
        EXPECT_TRUE(loader->delegate.wait());
        return loader;
    };
    for (int number = 1; number < 10; ++number)
        load(number);
    const std::set<pid_t> first = renderers();
    EXPECT_EQ(first.size(), 1u);
    {
        const std::unique_ptr<Loader> last = load(10);
        EXPECT_TRUE(runUntil([&] { return renderers().size() == 2; }));
        EXPECT_EQ(last->pdf().text(), u"10"_s);
    }
    EXPECT_EQ(load(11)->pdf().text(), u"11"_s);
    EXPECT_TRUE(runUntil([&] { return renderers().size() == 1; }));
    EXPECT_NE(renderers(), first);
}

TEST(WebView, LoadsOneDocumentAfterTheOther) {
    Loader loader;
    for (int i = 1; i <= 3; ++i) {
        loader.frame()->loadHTMLString(QStringLiteral("<p>document %1").arg(i));
        ASSERT_TRUE(loader.delegate.wait(i));
        EXPECT_EQ(loader.pdf().text(), QStringLiteral("document %1").arg(i));
    }
}

TEST(WebView, ANewLoadEndsTheOneInHand) {
    Gate gate;
    HTTPServer server([&](const HTTPServer::Request &) { return HTTPServer::Response{.gate = &gate}; });
    Loader loader;
    loader.frame()->loadRequest(server.url(QStringLiteral("/")));
    ASSERT_TRUE(runUntil([&] { return server.connections() > 0; }));
    loader.frame()->loadHTMLString(QStringLiteral("<p>second"));
    ASSERT_TRUE(loader.delegate.wait());
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("second"));
    gate.open();
    NSRunLoop::mainRunLoop().runUntilDate(0.05);
    EXPECT_EQ(loader.delegate.events, QStringList{QStringLiteral("finished main")});
}

TEST(WebView, StoppedLoadsTellNobody) {
    Gate gate;
    HTTPServer server([&](const HTTPServer::Request &) { return HTTPServer::Response{.gate = &gate}; });
    Loader loader;
    loader.frame()->loadRequest(server.url(QStringLiteral("/")));
    loader.view->stopLoading();
    loader.frame()->loadData({});
    loader.view->stopLoading();
    loader.frame()->loadRequest(server.url(QStringLiteral("/")));
    ASSERT_TRUE(runUntil([&] { return server.connections() > 0; }));
    loader.frame()->stopLoading();
    gate.open();
    NSRunLoop::mainRunLoop().runUntilDate(0.05);
    EXPECT_TRUE(loader.delegate.events.isEmpty());
    loader.frame()->loadHTMLString(QStringLiteral("<p>later"));
    ASSERT_TRUE(loader.delegate.wait());
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("later"));
}

TEST(WebView, StoppingEndsThePrintingThatIsGoingOn) {
    Loader loader;
    loader.frame()->loadHTMLString(QStringLiteral("<p>") + QString(400000, u'x'));
    ASSERT_TRUE(loader.delegate.wait());
    WebDocumentView *document = loader.frame()->frameView()->documentView();
    ASSERT_TRUE(document);
    QElapsedTimer timer;
    timer.start();
    QTimer::singleShot(0, [&] { loader.view->stopLoading(); });
    EXPECT_TRUE(document->dataWithPDFInsideRect(screen).isNull());
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(document->error().localizedDescription(), QStringLiteral("The view was stopped"));
    loader.frame()->loadHTMLString(QStringLiteral("<p>next"));
    ASSERT_TRUE(loader.delegate.wait(2));
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("next"));
}

TEST(WebView, MayBeThrownAwayAtAnyTime) {
    for (int turns = 0; turns < 12; ++turns) {
        Loader loader;
        loader.frame()->loadHTMLString(QStringLiteral("<p>x<iframe srcdoc='<p>y'></iframe>"));
        for (int i = 0; i < turns; ++i)
            NSRunLoop::mainRunLoop().runUntilDate(0.002);
    }
    Loader last;
    last.delegate.atFinish = [&] { last.view.reset(); };
    last.frame()->loadHTMLString(QStringLiteral("<p>x"));
    ASSERT_TRUE(last.delegate.wait());
    EXPECT_FALSE(last.view);
    Loader next;
    next.frame()->loadHTMLString(QStringLiteral("<p>next"));
    ASSERT_TRUE(next.delegate.wait());
    EXPECT_EQ(next.pdf().text(), QStringLiteral("next"));
}

TEST(WebView, SeveralViewsLoadSideBySide) {
    std::vector<std::unique_ptr<Loader>> loaders;
    for (int i = 0; i < 4; ++i) {
        loaders.push_back(std::make_unique<Loader>());
        loaders.back()->frame()->loadHTMLString(QStringLiteral("<p>view %1").arg(i));
    }
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(loaders[size_t(i)]->delegate.wait());
        EXPECT_EQ(loaders[size_t(i)]->pdf().text(), QStringLiteral("view %1").arg(i));
    }
}

TEST(WebView, WithoutADelegateLoadingIsJustDone) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>x"}; });
    WebView view(screen);
    view.mainFrame()->loadData({});
    view.mainFrame()->loadRequest(server.url(QStringLiteral("/")));
    ASSERT_TRUE(runUntil([&] { return view.mainFrame()->frameView()->documentView() != nullptr; }));
    EXPECT_EQ(view.mainFrame()->frameView()->documentView()->frame(), QRectF(0, 0, 800, 1131));
}

TEST(WebView, FontSizesAreThoseOfTheView) {
    const QString text =
        QStringLiteral("<!doctype html><body style='margin:0'><div style='height:10em;background:#0f0'>"
                       "</div><pre style='height:10em;background:#00f;margin:0'></pre>");
    const auto heights = [&](Loader &loader) {
        loader.frame()->loadHTMLString(text);
        EXPECT_TRUE(loader.delegate.wait());
        const PDFReader pdf = loader.pdf();
        int green = 0, blue = 0;
        for (int y = 0; y < 800; ++y) {
            green += pdf.pixel(400, y) == 0x00ff00;
            blue += pdf.pixel(400, y) == 0x0000ff;
        }
        return std::pair(green, blue);
    };
    Loader ordinary, large, after;
    EXPECT_EQ(heights(ordinary), std::pair(160, 130));
    large.view->preferences().setDefaultFontSize(30);
    large.view->preferences().setDefaultFixedFontSize(20);
    EXPECT_EQ(heights(large), std::pair(300, 200));
    after.view->preferences().setDefaultFixedFontSize(14);
    EXPECT_EQ(heights(after), std::pair(160, 140));
}

TEST(WebView, APageLoadsThingsOnceAndEachPageForItself) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/style.css")
            return HTTPServer::Response{.contentType = "text/css",
                                        .body = "p{color:green}",
                                        .headers = {"Cache-Control: max-age=600"}};
        if (request.path == "/inner")
            return HTTPServer::Response{.body = "<link rel=stylesheet href=/style.css><p>inner"};
        return HTTPServer::Response{
            .body = "<link rel=stylesheet href=/style.css><p>outer<iframe src=/inner></iframe>"};
    });
    for (const int model : {2, 0}) {
        Loader loader;
        loader.view->preferences().setCacheModel(model);
        const int before = server.count("/style.css");
        loader.frame()->loadRequest(server.url(QStringLiteral("/")));
        ASSERT_TRUE(loader.delegate.wait());
        EXPECT_EQ(server.count("/style.css") - before, 1) << model;
    }
}

TEST(WebFrame, FramesFormATree) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/inner")
            return HTTPServer::Response{.body = "<p>inner<iframe srcdoc='<p>innermost'></iframe>"};
        return HTTPServer::Response{.body = "<p>outer<iframe src=/inner></iframe>"};
    });
    Loader loader;
    WebFrame *main = loader.frame();
    EXPECT_EQ(main->parentFrame(), nullptr);
    EXPECT_EQ(main->webView(), loader.view.get());
    EXPECT_EQ(main->description(), QStringLiteral("<WebFrame: main, about:blank>"));
    EXPECT_EQ(main->frameView()->documentView(), nullptr);
    main->loadRequest(server.url(QStringLiteral("/")));
    ASSERT_TRUE(loader.delegate.wait());
    EXPECT_EQ(loader.frame(), main);
    EXPECT_EQ(main->url(), server.url(QStringLiteral("/")));
    ASSERT_EQ(main->childFrames().size(), 1u);
    WebFrame *inner = main->childFrames().front();
    EXPECT_EQ(inner->parentFrame(), main);
    EXPECT_EQ(inner->url(), server.url(QStringLiteral("/inner")));
    EXPECT_TRUE(inner->description().startsWith(QStringLiteral("<WebFrame: sub-frame, http://127.0.0.1:")));
    EXPECT_EQ(inner->frameView()->documentView(), nullptr);
    EXPECT_EQ(inner->childFrames().size(), 1u);
    EXPECT_EQ(loader.delegate.events.count(QStringLiteral("finished sub")), 2);
    main->loadHTMLString(QStringLiteral("<p>x"));
    EXPECT_TRUE(main->childFrames().empty());
    ASSERT_TRUE(loader.delegate.wait(2));
    EXPECT_TRUE(main->childFrames().empty());
}

TEST(WebFrame, BaseUrlsOfTheWebResolveReferencesAndFilesStayOutOfReach) {
    HTTPServer server([](const HTTPServer::Request &) {
        return HTTPServer::Response{.contentType = "text/css", .body = "body{background:#0f0}"};
    });
    const QString text = QStringLiteral("<link rel=stylesheet href=style.css><p>text");
    {
        Loader loader;
        loader.frame()->loadHTMLString(text, server.url(QStringLiteral("/folder/")));
        ASSERT_TRUE(loader.delegate.wait());
        EXPECT_EQ(server.count("/folder/style.css"), 1);
        EXPECT_EQ(server.count("/folder/"), 0);
        EXPECT_EQ(loader.pdf().pixel(400, 600), 0x00ff00);
    }
    Loader loader;
    loader.frame()->loadHTMLString(QStringLiteral("<iframe src=passwd></iframe><p>text"),
                                   QUrl(QStringLiteral("file:///etc/")));
    ASSERT_TRUE(loader.delegate.wait());
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("text"));
}

TEST(WebFrame, WhatServersOfThisMachineHaveComesWhateverTheDocumentCameIn) {
    HTTPServer server([](const HTTPServer::Request &) {
        return HTTPServer::Response{.contentType = "text/css", .body = "body{background:#0f0}"};
    });
    int number = 0;
    const auto style = [&] { return server.url(u"/%1.css"_s.arg(++number)).toEncoded(); };
    const auto expectStyle = [&](const char *what, const std::function<void(WebFrame *)> &load) {
        Loader loader;
        load(loader.frame());
        ASSERT_TRUE(loader.delegate.wait()) << what;
        EXPECT_EQ(server.count("/" + QByteArray::number(number) + ".css"), 1) << what;
        EXPECT_EQ(loader.pdf().pixel(400, 600), 0x00ff00) << what;
    };
    const auto markup = [&] { return "<link rel=stylesheet href='" + style() + "'/>"; };
    const auto asText = [&](WebFrame *frame) { frame->loadHTMLString(QString::fromLatin1(markup())); };
    expectStyle("text", asText);
    // The first page of a browser is alone: it is made blank, in one of two ways, and used again, as its letters have the
    // engine's own sizes.
    const auto expectStyleAfter = [&](const char *what, const QByteArray &document, const QString &type) {
        zr::WebEngine::shared().shutDown();
        {
            Loader loader;
            loader.view->preferences().setDefaultFixedFontSize(14);
            loader.frame()->loadData(document, type);
            ASSERT_TRUE(loader.delegate.wait()) << what;
        }
        expectStyle(what, asText);
    };
    expectStyleAfter("text after text", "<p>x", u"text/html"_s);
    expectStyleAfter("text after frames", "<iframe srcdoc=x></iframe>", u"text/html"_s);
    expectStyleAfter("text after bytes in an encoding of the engine's", "<meta charset=windows-1252><p>\xfc",
                     u"text/html"_s);
    expectStyleAfter("text after SVG", "<svg xmlns='http://www.w3.org/2000/svg'/>", u"image/svg+xml"_s);
    for (const char *address : {"https://pages.example.com/", "http://pages.example.com/"})
        expectStyle(address, [&](WebFrame *frame) {
            frame->loadHTMLString(QString::fromLatin1(markup()), QUrl(QString::fromLatin1(address)));
        });
    expectStyle("XHTML", [&](WebFrame *frame) {
        frame->loadData("<html xmlns='http://www.w3.org/1999/xhtml'><head>" + markup() +
                            "</head><body/></html>",
                        u"application/xhtml+xml"_s);
    });
    expectStyle("bytes", [&](WebFrame *frame) { frame->loadData(markup(), u"text/html"_s); });
    expectStyle("bytes in an encoding of the engine's", [&](WebFrame *frame) {
        frame->loadData("<meta charset=iso-2022-kr>" + markup(), u"text/html"_s);
    });
    expectStyle("a data URL", [&](WebFrame *frame) {
        frame->loadRequest(QUrl(u"data:text/html;base64,"_s + QString::fromLatin1(markup().toBase64())));
    });
    const QTemporaryDir folder;
    expectStyle("a file", [&](WebFrame *frame) {
        QFile file(folder.filePath(u"page.html"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(markup());
        file.close();
        frame->loadRequest(QUrl::fromLocalFile(file.fileName()));
    });
}

TEST(WebFrame, DataIsReadAsItsTypeAndEncodingSay) {
    Loader loader;
    loader.frame()->loadData("<p>\xe9</p>", QStringLiteral("text/html"), QStringLiteral("iso-8859-1"));
    ASSERT_TRUE(loader.delegate.wait());
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("\u00e9"));
    loader.frame()->loadData("<p>x</p>", QStringLiteral("text/plain"));
    ASSERT_TRUE(loader.delegate.wait(2));
    EXPECT_EQ(loader.pdf().text(), QStringLiteral("<p>x</p>"));
}

TEST(WebDocumentView, GivesTheRectangleThatIsAskedFor) {
    Loader loader;
    loader.frame()->loadHTMLString(
        QStringLiteral("<!doctype html><body style='margin:0'><div style='height:100px;"
                       "background:#0f0'></div><div style='height:2000px;background:#00f'>"));
    ASSERT_TRUE(loader.delegate.wait());
    WebDocumentView *document = loader.frame()->frameView()->documentView();
    ASSERT_TRUE(document);
    EXPECT_EQ(document->frame(), QRectF(0, 0, 800, 2100));
    const QByteArray part = document->dataWithPDFInsideRect(QRectF(10, 90, 200, 50));
    EXPECT_EQ(PDFDocument(part).pageBox(0).size(), QSizeF(200, 50));
    EXPECT_EQ(PDFReader(part).pixel(100, 5), 0x00ff00);
    EXPECT_EQ(PDFReader(part).pixel(100, 15), 0x0000ff);
    EXPECT_TRUE(document->dataWithPDFInsideRect(QRectF()).isNull());
}
