// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

/// The null marker: a value that stands for "no value" inside collections, which can't hold nil. Everything
/// here: any thread.
inline QVariant NSNull() {
    return QVariant::fromValue(nullptr);
}

/// True for the null marker only, be it in a QJsonValue: nil (an invalid variant) and empty values are
/// something else.
bool NSIsNull(const QVariant &value);

/// True for nil only: an invalid variant, or the typed nil of a string, data, date, URL, error, object
/// pointer or QJsonValue.
bool NSIsNil(const QVariant &value);

/// The text of any value for log lines, as NSObjectRuntime::description() gives it: "(null)" for nil,
/// "<null>" for the null marker, the text itself for strings.
QString NSDescription(const QVariant &value);
