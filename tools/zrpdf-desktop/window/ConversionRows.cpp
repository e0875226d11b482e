// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/ConversionRows.h"

#include "tools/zrpdf-desktop/window/ConversionText.h"

using namespace Qt::StringLiterals;

Conversion *ConversionRows::conversionAt(const QModelIndex &index) const {
    return static_cast<Conversion *>(NSManagedObject::from(QIdentityProxyModel::data(index, Qt::UserRole)));
}

QVariant ConversionRows::data(const QModelIndex &index, int role) const {
    if (role == Qt::UserRole)
        return QIdentityProxyModel::data(index, role);
    const Conversion *const conversion = conversionAt(index);
    if (!conversion)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return ConversionText::headline(*conversion);
    case DetailRole:
        return ConversionText::state(*conversion);
    case StateRole:
        return int(conversion->state());
    case Qt::ToolTipRole:
        return conversion->label().isEmpty()
                   ? ConversionText::state(*conversion)
                   : conversion->label() + u'\n' + ConversionText::state(*conversion);
    case Qt::AccessibleTextRole:
        return ConversionText::headline(*conversion) + u", "_s + ConversionText::state(*conversion);
    default:
        return {};
    }
}

Qt::ItemFlags ConversionRows::flags(const QModelIndex &index) const {
    return QIdentityProxyModel::flags(index) & ~Qt::ItemIsEditable;
}
