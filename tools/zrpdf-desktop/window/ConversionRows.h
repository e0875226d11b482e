// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSArrayController.h"
#include "tools/zrpdf-desktop/model/Conversion.h"

#include <QIdentityProxyModel>

/// The history's conversions as a list shows them and screen readers say them. Main thread.
class ConversionRows : public QIdentityProxyModel {
    Q_OBJECT

public:
    /// How a conversion stands, in words and as a Conversion::State.
    static constexpr int DetailRole = Qt::UserRole + 1000;
    static constexpr int StateRole = Qt::UserRole + 1001;

    /// The conversions stay the controller's, which must outlive the rows.
    void setConversions(NSArrayController &conversions) { setSourceModel(&conversions); }
    /// nullptr if the index is none of a row.
    Conversion *conversionAt(const QModelIndex &index) const;

    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
};
