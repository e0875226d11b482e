// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSAutoresizingMask.h"
#include "platform/web/WebFrame.h"
#include "platform/web/WebFrameLoadDelegate.h"
#include "platform/web/WebPreferences.h"

#include <QRectF>

/// An off-screen view of web documents.
///
/// \code
/// WebView view(QRectF(0, 0, 800, 1131));
/// view.setFrameLoadDelegate(&delegate);
/// view.mainFrame()->loadHTMLString(QStringLiteral("<h1>Hello</h1>"));
/// \endcode
///
/// The documents are laid out 800 pixels wide, as for a screen, at one device pixel to a CSS pixel and
/// without scroll bars. Views share the process's browser, and nothing else: see WebEngine. Main thread only.
class WebView {
public:
    /// Starts the browser, so that it comes up while its user does; any later web view finds it there. May be
    /// called before there is a QCoreApplication, as the very first thing in main().
    static void prepare();

    /// \param frame  in the superview's coordinates, in CSS pixels
    explicit WebView(const QRectF &frame);
    ~WebView();
    WebView(const WebView &) = delete;
    WebView &operator=(const WebView &) = delete;

    QRectF frame() const { return m_frame; }

    WebPreferences &preferences() { return m_preferences; }
    void setPreferences(const WebPreferences &preferences) { m_preferences = preferences; }

    /// The delegate stays the caller's; nullptr for none.
    WebFrameLoadDelegate *frameLoadDelegate() const { return m_delegate; }
    void setFrameLoadDelegate(WebFrameLoadDelegate *delegate) { m_delegate = delegate; }

    /// Whether documents that were loaded before can be gone back to; no view here does that.
    bool maintainsBackForwardList() const { return m_maintainsBackForwardList; }
    void setMaintainsBackForwardList(bool flag) { m_maintainsBackForwardList = flag; }

    /// A mask of NSAutoresizingMaskOptions.
    unsigned autoresizingMask() const { return m_autoresizingMask; }
    void setAutoresizingMask(unsigned mask) { m_autoresizingMask = mask; }

    /// The main frame; the same object as long as the view lives.
    WebFrame *mainFrame();
    /// Ends loading without telling the delegate. A PDF that is being made of the document becomes null at once.
    void stopLoading();

private:
    QRectF m_frame;
    WebPreferences m_preferences;
    WebFrameLoadDelegate *m_delegate = nullptr;
    bool m_maintainsBackForwardList = true;
    unsigned m_autoresizingMask = NSViewNotSizable;
    const std::unique_ptr<zr::WebViewLoader> m_loader;
};
