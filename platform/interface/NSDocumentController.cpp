// SPDX-License-Identifier: MIT
#include "platform/interface/NSDocumentController.h"

#include "platform/base/NeverDestroyed.h"

NSDocumentController *NSDocumentController::sharedDocumentController() {
    static zr::NeverDestroyed<NSDocumentController> shared;
    return &*shared;
}

QObjectList NSDocumentController::documents() const {
    QObjectList documents;
    documents.reserve(m_documents.size());
    for (const QPointer<QObject> &document : m_documents)
        if (document)
            documents.append(document);
    return documents;
}

void NSDocumentController::addDocument(QObject *document) {
    if (document && !m_documents.contains(document))
        m_documents.append(document);
}

void NSDocumentController::removeDocument(QObject *document) {
    m_documents.removeIf([&](const QPointer<QObject> &known) { return known.isNull() || known == document; });
}

#include "moc_NSDocumentController.cpp"
