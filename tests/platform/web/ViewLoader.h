// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/web/WebView.h"
#include "tests/support/PDFReader.h"

#include <QElapsedTimer>
#include <QRectF>
#include <QStringList>
#include <functional>
#include <memory>

inline const QRectF screen(0, 0, 800, 1131);

/// Runs the main run loop until the condition holds; false if it still doesn't after a minute.
inline bool runUntil(const std::function<bool()> &condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 60000)
        NSRunLoop::mainRunLoop().runUntilDate(0.001);
    return condition();
}

/// Notes what it is told.
struct Delegate : WebFrameLoadDelegate {
    void webViewDidFailProvisionalLoadWithError(WebView *sender, const NSError &error,
                                                WebFrame *frame) override {
        note("failed provisionally", sender, frame);
        lastError = error;
    }
    void webViewDidFailLoadWithError(WebView *sender, const NSError &error, WebFrame *frame) override {
        note("failed", sender, frame);
        lastError = error;
    }
    void webViewDidFinishLoadForFrame(WebView *sender, WebFrame *frame) override {
        note("finished", sender, frame);
        if (frame == sender->mainFrame() && atFinish)
            atFinish();
    }
    void note(const char *what, WebView *sender, WebFrame *frame) {
        if (frame == sender->mainFrame())
            ++mainEnds;
        events << QString::fromLatin1(what) +
                      QLatin1StringView(frame == sender->mainFrame() ? " main" : " sub");
    }
    bool wait(int ends = 1) {
        return runUntil([&] { return mainEnds >= ends; });
    }
    QStringList events;
    NSError lastError;
    int mainEnds = 0;
    std::function<void()> atFinish;
};

/// A view with its delegate.
struct Loader {
    Loader() : view(std::make_unique<WebView>(screen)) { view->setFrameLoadDelegate(&delegate); }
    WebFrame *frame() { return view->mainFrame(); }
    PDFReader pdf() {
        WebDocumentView *document = frame()->frameView()->documentView();
        return PDFReader(document->dataWithPDFInsideRect(document->frame()));
    }
    Delegate delegate;
    std::unique_ptr<WebView> view;
};
