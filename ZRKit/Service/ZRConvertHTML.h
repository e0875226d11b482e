// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/web/WebFrameLoadDelegate.h"

#include <QObject>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <stop_token>

/// Turns one document into a PDF of one page, 800 points wide or as wide as the document is, and as tall as all of it.
/// Making the object does the work; `pdfData()` has the result afterwards.
///
/// It may be made on any thread. The work is done on the main thread, whose event loop has to be running if that is
/// another one; the caller waits, without a time limit. The other members belong to the thread that made the object.
class ZRConvertHTML : public QObject, public WebFrameLoadDelegate {
    Q_OBJECT
    Q_PROPERTY(QByteArray pdfData READ pdfData WRITE setPdfData)

public:
    /// What a document may reach besides itself and, if it is a local file, the files beside it.
    enum class Network {
        All, ///< whatever this machine reaches
        Public, ///< by http and https, public addresses only: nothing of this machine, its networks or its cloud's metadata
        None, ///< nothing
    };

    /// \param fileData   a string is HTML text, a URL is loaded, everything else is taken as a document's bytes: HTML in
    ///                   any encoding, XHTML, SVG, plain text, pictures, web archives
    /// \param utiType    the document's uniform type identifier; it does not decide how the document is read
    /// \param tagged     whether the PDF gets structure tags, which cost time and bytes
    /// \param abandoned  gives the work up when a stop is requested, on any thread: loading and printing end at once, and
    ///                   pdfData() is nil
    /// \param network    applies to the document's own address, too. A document that may not have it all, and asks for
    ///                   too much (1,000 resources, 100 MiB or 50 seconds of fetching), fails.
    explicit ZRConvertHTML(const QVariant &fileData, const QString &utiType = {}, bool tagged = false,
                           const std::stop_token &abandoned = {}, Network network = Network::All);
    ~ZRConvertHTML() override;

    /// Loads and captures the document on the main thread; done by the constructor. \return true
    bool work();

    /// Load into the web view; without effect outside `work()`.
    void useHTML(const QString &html);
    void useURL(const QUrl &url);
    void useData(const QByteArray &data);

    /// Stores the document as PDF, unless loading has ended before.
    void extractPDFAsOnePage();

    /// Log what they are told, and end the work if the frame is the main one. Any of the arguments may be nil.
    void webViewDidFailProvisionalLoadWithError(WebView *sender, const NSError &error,
                                                WebFrame *frame) override;
    void webViewDidFailLoadWithError(WebView *sender, const NSError &error, WebFrame *frame) override;
    void webViewDidFinishLoadForFrame(WebView *sender, WebFrame *frame) override;

    /// Whether the document's type is one of these or builds on one of them; false for no types.
    bool conformsToUTITypes(const QStringList &utiTypes) const;

    /// nil if the document could not be loaded or captured; error() then says why.
    QByteArray pdfData() const { return m_pdfData; }
    void setPdfData(const QByteArray &pdfData) { m_pdfData = pdfData; }

    /// The engine's error for the document that could not be loaded or captured: NSURLErrorDomain, a code of that domain,
    /// a description and, if it had one, the document's address. nil after a success.
    NSError error() const { return m_error; }

private:
    void endWithError(const NSError &error, const WebFrame *frame);

    const QVariant m_data;
    const QString m_utiType;
    const bool m_tagged;
    const std::stop_token m_abandoned;
    const Network m_network;
    std::unique_ptr<WebView> m_webView;
    bool m_done = false;
    QByteArray m_pdfData;
    NSError m_error;
};
