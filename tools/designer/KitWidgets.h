// SPDX-License-Identifier: MIT
#pragma once

#include "tools/designer/KitWidget.h"

#include <QObject>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>
#include <memory>
#include <vector>

namespace zr {

/// The plugin: the kit's views as Designer has them in its widget box.
class KitWidgets : public QObject, public QDesignerCustomWidgetCollectionInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QDesignerCustomWidgetCollectionInterface_iid)
    Q_INTERFACES(QDesignerCustomWidgetCollectionInterface)

public:
    explicit KitWidgets(QObject *parent = nullptr);

    QList<QDesignerCustomWidgetInterface *> customWidgets() const override;

private:
    std::vector<std::unique_ptr<KitWidget>> m_widgets;
};

} // namespace zr
