// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/web/WebFrameLoadDelegate.h"

#include <QObject>
#include <QStringList>
#include <QVariant>
#include <atomic>
#include <memory>

/// Turns one document into a PDF of one page, 800 points wide or as wide as the document is, and as tall as
/// all of it. Making the object does the work; `pdfData()` has the result afterwards.
///
/// The work is done on the main thread, whose event loop has to be running if the object is made on another
/// one; the caller waits, without a time limit.
class ZRConvertHTML : public QObject, public WebFrameLoadDelegate {
    Q_OBJECT
    Q_PROPERTY(QByteArray pdfData READ pdfData WRITE setPdfData)

public:
    /// \param fileData  a string is HTML text, a URL is loaded, everything else is taken as a document's
    /// bytes:
    ///                  HTML in any encoding, XHTML, SVG, plain text, pictures, web archives
    /// \param utiType   the document's uniform type identifier; it does not decide how the document is read
    /// \param tagged    whether the PDF gets structure tags, which cost time and bytes
    /// \param abandoned set to true by another thread, gives the work up; pdfData() is nil then
    explicit ZRConvertHTML(const QVariant &fileData, const QString &utiType = {}, bool tagged = false,
                           const std::atomic<bool> *abandoned = nullptr);
    ~ZRConvertHTML() override;

    /// Loads and captures the document on the main thread; done by the constructor. \return true
    bool work();

    /// Load into the web view; without effect outside of `work()`.
    void useHTML(const QString &html);
    void useURL(const QUrl &url);
    void useData(const QByteArray &data);

    /// Stores the document as PDF, unless loading has ended before.
    void extractPDFAsOnePage();

    void webViewDidFailProvisionalLoadWithError(WebView *sender, const NSError &error,
                                                WebFrame *frame) override;
    void webViewDidFailLoadWithError(WebView *sender, const NSError &error, WebFrame *frame) override;
    void webViewDidFinishLoadForFrame(WebView *sender, WebFrame *frame) override;

    /// Whether the document's type is one of these or builds on one of them; NO for no types.
    bool conformsToUTITypes(const QStringList &utiTypes) const;

    /// nil when the document could not be loaded or captured.
    QByteArray pdfData() const { return m_pdfData; }
    void setPdfData(const QByteArray &pdfData) { m_pdfData = pdfData; }

    /// Why loading failed; nil if it didn't.
    NSError error() const { return m_error; }

private:
    const QVariant m_data;
    const QString m_utiType;
    const bool m_tagged;
    const std::atomic<bool> *const m_abandoned;
    std::unique_ptr<WebView> m_webView;
    bool m_done = false;
    QByteArray m_pdfData;
    NSError m_error;
};
