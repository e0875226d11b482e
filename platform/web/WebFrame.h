// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QByteArray>
#include <QRectF>
#include <QString>
#include <QUrl>
#include <memory>
#include <vector>

class WebFrame;
class WebView;

namespace zr {
class WebViewLoader;
}

/// The laid-out document of a loaded main frame. Main thread only.
class WebDocumentView {
public:
    WebDocumentView(WebFrame &frame, zr::WebViewLoader &loader) : m_frame(frame), m_loader(loader) {}

    /// From (0, 0) to the document's whole width and height in CSS pixels: at least the web view's size, and more if the
    /// document is larger.
    QRectF frame();
    /// The rectangle as a PDF of one page with exactly that size in points, as the screen shows it. Runs the main run
    /// loop meanwhile. Null, after one line in the log, if the engine cannot do it or the view is stopped; error() then
    /// says why.
    QByteArray dataWithPDFInsideRect(const QRectF &rect);
    /// Why the last PDF is null; nil after a success.
    NSError error() const { return m_error; }

private:
    void render();
    QByteArray failed(const QString &why);

    WebFrame &m_frame;
    zr::WebViewLoader &m_loader;
    bool m_rendered = false;
    QByteArray m_pdf;
    QRectF m_bounds;
    QString m_printError;
    NSError m_error;
};

/// What shows a frame's document. Main thread only.
class WebFrameView {
public:
    WebFrameView(WebFrame &frame, zr::WebViewLoader &loader) : m_frame(frame), m_loader(loader) {}
    /// The document's view; nullptr while there is no loaded document, and for sub-frames.
    WebDocumentView *documentView();
    /// Forgets the document; for the view.
    void clear() { m_documentView.reset(); }

private:
    WebFrame &m_frame;
    zr::WebViewLoader &m_loader;
    std::unique_ptr<WebDocumentView> m_documentView;
};

/// A frame of a web view: the main one, or one inside another. Loading returns at once; the web view's frame-load
/// delegate is told how it goes. Main thread only.
class WebFrame {
public:
    /// For the view, which has the main frame, and for frames, which have others.
    WebFrame(WebView &view, zr::WebViewLoader &loader, WebFrame *parent, const QString &identifier)
        : m_view(view), m_loader(loader), m_parent(parent), m_identifier(identifier),
          m_frameView(*this, loader) {}
    WebFrame(const WebFrame &) = delete;
    WebFrame &operator=(const WebFrame &) = delete;

    /// Loads HTML text. Relative references are looked for from the base URL, if that is one of the web; otherwise the
    /// text's address is about:blank and they lead nowhere. Local files are out of reach.
    void loadHTMLString(const QString &string, const QUrl &baseURL = {});
    /// Loads what is at the URL: http, https, file or data.
    void loadRequest(const QUrl &url);
    /// Loads a document of any kind from its bytes. An empty MIME type or encoding name is found out from the bytes. nil
    /// and empty data, and types that the engine cannot show, fail provisionally.
    void loadData(const QByteArray &data, const QString &mimeType = {}, const QString &textEncodingName = {},
                  const QUrl &baseURL = {});
    /// Ends loading without telling the delegate.
    void stopLoading();

    WebView *webView() const { return &m_view; }
    WebFrameView *frameView() { return &m_frameView; }
    /// nullptr for the main frame.
    WebFrame *parentFrame() const { return m_parent; }
    std::vector<WebFrame *> childFrames() const;
    /// The document's address as far as it is known; sub-frames have it once their document has begun.
    QUrl url() const { return m_url; }
    /// One short text for log lines.
    QString description() const;

    /// For the view, as the engine tells of its frames: the one of an identifier in this frame's tree, a frame that came,
    /// one that went, another address, another document.
    WebFrame *find(const QString &identifier);
    void addChild(const QString &identifier);
    void removeChild(WebFrame *child);
    void setURL(const QUrl &url) { m_url = url; }
    void clear();

private:
    WebView &m_view;
    zr::WebViewLoader &m_loader;
    WebFrame *m_parent;
    QString m_identifier; ///< empty for the main frame, whose page may change
    QUrl m_url;
    std::vector<std::unique_ptr<WebFrame>> m_children;
    WebFrameView m_frameView;
};
