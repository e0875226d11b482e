// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>

class QWidget;

/// What a control's text stands on, which decides how it is set off.
enum NSBackgroundStyle : int {
    NSBackgroundStyleNormal = 0,
    NSBackgroundStyleDark = 1,    ///< light text
    NSBackgroundStyleRaised = 2,  ///< a light shadow below the text
    NSBackgroundStyleLowered = 3, ///< light text with a dark shadow above it
};

/// How a control looks. Main thread only.
class NSCell {
public:
    explicit NSCell(QWidget *controlView) : m_controlView(controlView) {}

    /// Normal at first.
    NSBackgroundStyle backgroundStyle() const { return m_backgroundStyle; }
    /// Redraws the control.
    void setBackgroundStyle(NSBackgroundStyle style);

    QWidget *controlView() const { return m_controlView; }

private:
    const QPointer<QWidget> m_controlView;
    NSBackgroundStyle m_backgroundStyle = NSBackgroundStyleNormal;
};
