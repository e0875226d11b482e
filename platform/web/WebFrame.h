// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QRectF>
#include <QString>
#include <QUrl>
#include <memory>
#include <vector>

class WebFrame;
class WebView;

/// The laid-out document of a loaded main frame. Main thread only.
class WebDocumentView {
public:
    explicit WebDocumentView(WebFrame &frame) : m_frame(frame) {}

    /// From (0, 0) to the document's whole width and height in CSS pixels: at least the web view's size, and
    /// more where the document is larger.
    QRectF frame();
    /// The rectangle as a PDF of one page with exactly that size in points, as the screen shows it. Null,
    /// after one line in the log, where the engine cannot do it.
    QByteArray dataWithPDFInsideRect(const QRectF &rect);

private:
    void render();

    WebFrame &m_frame;
    bool m_rendered = false;
    QByteArray m_pdf;
    QRectF m_bounds;
    QString m_error;
};

/// What shows a frame's document. Main thread only.
class WebFrameView {
public:
    explicit WebFrameView(WebFrame &frame) : m_frame(frame) {}
    /// The document's view; nullptr while there is no loaded document, and for sub-frames.
    WebDocumentView *documentView();

private:
    friend class WebFrame;
    WebFrame &m_frame;
    std::unique_ptr<WebDocumentView> m_documentView;
};

/// A frame of a web view: the main one, or one inside of another. Loading returns at once; how it goes is
/// told to the web view's frame-load delegate. Main thread only.
class WebFrame {
public:
    WebFrame(const WebFrame &) = delete;
    WebFrame &operator=(const WebFrame &) = delete;

    /// Loads HTML text. Relative references are looked for from the base URL, if that is one of the web;
    /// otherwise the text's address is about:blank and they lead nowhere. Local files are out of reach.
    void loadHTMLString(const QString &string, const QUrl &baseURL = {});
    /// Loads what is at the URL: http, https, file or data.
    void loadRequest(const QUrl &url);
    /// Loads a document of any kind from its bytes. An empty MIME type or encoding name is found out from the
    /// bytes. nil and empty data, and types that the engine cannot show, fail provisionally.
    void loadData(const QByteArray &data, const QString &mimeType = {}, const QString &textEncodingName = {},
                  const QUrl &baseURL = {});
    /// Ends loading without telling the delegate.
    void stopLoading();

    WebView *webView() const { return m_view; }
    WebFrameView *frameView() { return &m_frameView; }
    /// nullptr for the main frame.
    WebFrame *parentFrame() const { return m_parent; }
    std::vector<WebFrame *> childFrames() const;
    /// The document's address as far as it is known; sub-frames have it once their document has begun.
    QUrl url() const { return m_url; }
    /// One short text for log lines.
    QString description() const;

private:
    friend class WebView;
    friend class WebDocumentView;
    friend class WebFrameView;
    WebFrame(WebView *view, WebFrame *parent, const QString &identifier)
        : m_view(view), m_parent(parent), m_identifier(identifier), m_frameView(*this) {}
    WebFrame *find(const QString &identifier);
    void reset(const QUrl &url);

    WebView *m_view;
    WebFrame *m_parent;
    QString m_identifier; ///< empty for the main frame, whose page may change
    QUrl m_url;
    std::vector<std::unique_ptr<WebFrame>> m_children;
    WebFrameView m_frameView;
};
