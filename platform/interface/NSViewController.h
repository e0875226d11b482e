// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QVariant>
#include <QWidget>

class NSBundle;

/// Owns a view, which it loads from an interface file when it is first asked for. Main thread only.
class NSViewController : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant representedObject READ representedObject WRITE setRepresentedObject)

public:
    /// \param nibName  the interface file (NSNib) whose outermost view is the controller's, and whose owner the controller is;
    ///                 nil if the view is made in another way: by loadView(), or by setView()
    explicit NSViewController(const QString &nibName = {});
    NSViewController(const QString &nibName, const NSBundle &bundle);
    /// The view goes too, unless it has a superview, which owns it then.
    ~NSViewController() override;

    virtual QString nibName() const { return m_nibName; }
    const NSBundle &nibBundle() const { return m_bundle; }

    bool isViewLoaded() const { return m_view; }
    /// The view, which is loaded at the first call, or again if it died with its superview meanwhile.
    virtual QWidget *view();
    /// Takes over a view in place of the one that there was, which is deleted if it has no superview.
    void setView(QWidget *view);

    /// Any object that the controller stands for; nil at first.
    QVariant representedObject() const { return m_representedObject; }
    virtual void setRepresentedObject(const QVariant &object) { m_representedObject = object; }

    QObject *nextResponder() const;
    void setNextResponder(QObject *responder);

protected:
    /// Makes the view and gives it to setView(): loads it from the interface file, or makes an empty one if there is none.
    /// Raises NSInternalInconsistencyException if the file can't be loaded.
    virtual void loadView();
    /// Called when the view has been made.
    virtual void viewDidLoad() {}

private:
    const QString m_nibName;
    const NSBundle &m_bundle;
    QPointer<QWidget> m_view;
    QVariant m_representedObject;
};
