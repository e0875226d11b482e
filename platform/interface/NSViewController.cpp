// SPDX-License-Identifier: MIT
#include "platform/interface/NSViewController.h"

#include "platform/interface/NSResponder.h"
#include "platform/interface/NSView.h"
#include "platform/interface/NibLoading.h"

using namespace zr;

NSViewController::NSViewController(const QString &nibName)
    : NSViewController(nibName, NSBundle::mainBundle()) {
}

NSViewController::NSViewController(const QString &nibName, const NSBundle &bundle)
    : m_nibName(nibName), m_bundle(bundle) {
}

NSViewController::~NSViewController() {
    if (m_view && !m_view->parent())
        delete m_view;
}

QWidget *NSViewController::view() {
    if (!m_view) {
        loadView();
        viewDidLoad();
    }
    return m_view;
}

void NSViewController::setView(QWidget *view) {
    if (view == m_view)
        return;
    if (m_view && !m_view->parent())
        m_view->deleteLater();
    m_view = view;
}

void NSViewController::loadView() {
    const QString name = nibName();
    setView(name.isNull() ? new NSView : loadedView(name, m_bundle, this).release());
}

QObject *NSViewController::nextResponder() const {
    return NSResponderNext(this);
}

void NSViewController::setNextResponder(QObject *responder) {
    NSResponderSetNext(this, responder);
}

#include "moc_NSViewController.cpp"
