// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

/// The documents that an application has open, of whatever class it has for them. Main thread only.
class NSDocumentController : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The one that an application uses. Lives as long as the process.
    static NSDocumentController *sharedDocumentController();

    /// In the order in which they were opened. Documents that were deleted are left out.
    QObjectList documents() const;
    /// Adds a document, which isn't kept alive; nothing happens for nil or for one that is there.
    void addDocument(QObject *document);
    void removeDocument(QObject *document);

private:
    QList<QPointer<QObject>> m_documents;
};
