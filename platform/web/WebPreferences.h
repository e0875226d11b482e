// SPDX-License-Identifier: MIT
#pragma once

#include "platform/web/WebNetworkPolicy.h"

/// How a web view lays out and loads. A value; the defaults are those of an ordinary web view.
///
/// The engine is made for documents: whatever is asked for, it runs no scripts, no Java and no plug-ins,
/// opens no windows and keeps no page in a page cache.
class WebPreferences {
public:
    /// Of proportional text, in CSS pixels.
    int defaultFontSize() const { return m_defaultFontSize; }
    void setDefaultFontSize(int size) { m_defaultFontSize = size; }
    /// Of fixed-pitch text, in CSS pixels.
    int defaultFixedFontSize() const { return m_defaultFixedFontSize; }
    void setDefaultFixedFontSize(int size) { m_defaultFixedFontSize = size; }

    /// 0 for a viewer of single documents, 1 for a browser of documents, 2 for a primary web browser.
    /// Whatever it is, what a page has loaded is kept in memory, for that page alone.
    int cacheModel() const { return m_cacheModel; }
    void setCacheModel(int model) { m_cacheModel = model; }
    bool usesPageCache() const { return m_usesPageCache; }
    void setUsesPageCache(bool flag) { m_usesPageCache = flag; }

    bool arePlugInsEnabled() const { return m_plugInsEnabled; }
    void setPlugInsEnabled(bool flag) { m_plugInsEnabled = flag; }
    bool isJavaEnabled() const { return m_javaEnabled; }
    void setJavaEnabled(bool flag) { m_javaEnabled = flag; }
    bool isJavaScriptEnabled() const { return m_javaScriptEnabled; }
    void setJavaScriptEnabled(bool flag) { m_javaScriptEnabled = flag; }
    bool javaScriptCanOpenWindowsAutomatically() const { return m_javaScriptCanOpenWindows; }
    void setJavaScriptCanOpenWindowsAutomatically(bool flag) { m_javaScriptCanOpenWindows = flag; }

    /// Whether PDF data carries structure tags for screen readers; they cost time and bytes.
    bool tagsPDF() const { return m_tagsPDF; }
    void setTagsPDF(bool flag) { m_tagsPDF = flag; }

    /// What the document may reach, and how much of it. Documents from bytes or text reach no files anyhow.
    const zr::WebNetworkPolicy &networkPolicy() const { return m_networkPolicy; }
    void setNetworkPolicy(const zr::WebNetworkPolicy &policy) { m_networkPolicy = policy; }

private:
    int m_defaultFontSize = 16;
    int m_defaultFixedFontSize = 13;
    int m_cacheModel = 0;
    bool m_usesPageCache = true;
    bool m_plugInsEnabled = true;
    bool m_javaEnabled = true;
    bool m_javaScriptEnabled = true;
    bool m_javaScriptCanOpenWindows = true;
    bool m_tagsPDF = false;
    zr::WebNetworkPolicy m_networkPolicy;
};
