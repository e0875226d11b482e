// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QByteArray>
#include <QVariantMap>

/// An XMP packet (ISO 16684-1) with exactly these attributes of a document, everything else as it was; nil
/// where the packet is not well-formed or holds no RDF.
QByteArray PDFMetadataWith(const QByteArray &packet, const QVariantMap &attributes);
