// SPDX-License-Identifier: MIT
#pragma once

class NSError;
class WebFrame;
class WebView;

/// Is told how the loading of a web view's frames goes, on the main thread. For every load of the main frame
/// one of these is called exactly once, unless the load is stopped.
class WebFrameLoadDelegate {
public:
    virtual ~WebFrameLoadDelegate() = default;

    /// Nothing of the document has arrived: the server or file could not be reached, it is a download, or of
    /// a type that cannot be shown.
    virtual void webViewDidFailProvisionalLoadWithError(WebView *sender, const NSError &error,
                                                        WebFrame *frame) = 0;
    /// The document had begun to arrive, and its connection or process was lost.
    virtual void webViewDidFailLoadWithError(WebView *sender, const NSError &error, WebFrame *frame) = 0;
    /// The document is there, with its pictures, style sheets, fonts and frames, as far as they can be had.
    virtual void webViewDidFinishLoadForFrame(WebView *sender, WebFrame *frame) = 0;
};
