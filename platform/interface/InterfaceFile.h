// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <functional>

struct QMetaObject;

namespace zr {

/// An interface file as Qt Designer writes it, checked and prepared for Qt's loader, which drops silently what it doesn't know.
class InterfaceFile {
public:
    struct Classes {
        /// The class that a widget of that name can be made of; nullptr if there is none.
        std::function<const QMetaObject *(const QString &name)> widgetNamed;
        QStringList layouts;
    };

    /// Reads a file. Raises NSGenericException with line and reason if it is no XML, if one of its classes is neither known
    /// nor said to extend a known one, or if an action, or either end of a connection, isn't there.
    InterfaceFile(const QByteArray &contents, const Classes &classes);

    /// What Qt's loader is to load. No text is translated, because the kit's own localisation does that; and what would be an
    /// enumerator or flags of a property that the class doesn't declare is the enumerator's name as a text, which Qt would
    /// drop.
    QByteArray prepared() const { return m_prepared; }

    /// The known class that stands for one of the file: itself, or what the file says that it extends.
    QString knownClass(const QString &name) const { return m_knownClasses.value(name, name); }

private:
    struct Reader;

    QByteArray m_prepared;
    QHash<QString, QString> m_knownClasses;
};

} // namespace zr
