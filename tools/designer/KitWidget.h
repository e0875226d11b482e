// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QList>
#include <QRect>
#include <QWidget>
#include <QtUiPlugin/QDesignerCustomWidgetInterface>
#include <variant>

namespace zr {

/// An attribute that an interface file may set, with the value that changes nothing.
struct KitAttribute {
    const char *name;
    std::variant<bool, double, const char *> value;
};

/// One of the kit's classes for Designer's widget box. Its attributes are dynamic properties of a new widget: Designer shows
/// them in the property editor and writes them into the file, as the kit's loader takes them.
class KitWidget : public QDesignerCustomWidgetInterface {
public:
    struct Description {
        const char *className;
        const char *toolTip;
        bool isContainer;
        QSize size;
        QList<KitAttribute> attributes;
        /// What stands inside a new widget in the file, behind its properties.
        const char *inside = "";
        QWidget *(*maker)(QWidget *parent);
    };

    explicit KitWidget(const Description &description) : m_description(description) {}

    QString name() const override { return QString::fromLatin1(m_description.className); }
    QString group() const override { return QStringLiteral("ZRKit"); }
    QString toolTip() const override { return QString::fromLatin1(m_description.toolTip); }
    QString whatsThis() const override;
    QString includeFile() const override { return QStringLiteral("ZRKit/Interface/%1.h").arg(name()); }
    QIcon icon() const override;
    bool isContainer() const override { return m_description.isContainer; }
    QWidget *createWidget(QWidget *parent) override { return m_description.maker(parent); }
    bool isInitialized() const override { return true; }
    QString domXml() const override;

private:
    const Description m_description;
};

} // namespace zr
