// SPDX-License-Identifier: MIT
#include "platform/text/NSJSONSerialization.h"

#include "platform/text/JSONReader.h"
#include "platform/text/JSONWriter.h"
#include "platform/values/NSLog.h"

namespace {

constexpr qint64 CorruptText = 3840;

NSError readingError(const QByteArray &data, const JSONReader &reader) {
    const QByteArrayView before(data.constData(), reader.position());
    const qsizetype line = before.count('\n') + 1;
    const qsizetype column = before.size() - (before.lastIndexOf('\n') + 1) + 1;
    return NSError(NSCocoaErrorDomain, CorruptText,
                   {{NSLocalizedDescriptionKey, NSFormat("The text is not JSON: %s (line %d, byte %d)",
                                                         {reader.problem(), line, column})}});
}

} // namespace

QVariant NSJSONSerialization::JSONObjectWithData(const QByteArray &data, NSJSONReadingOptions options,
                                                 NSError *error) {
    JSONReader reader(data);
    QVariant value;
    if (reader.read(value, options & NSJSONReadingFragmentsAllowed))
        return value;
    if (error)
        *error = readingError(data, reader);
    return {};
}

QByteArray NSJSONSerialization::dataWithJSONObject(const QVariant &object, NSJSONWritingOptions options) {
    return JSONWriter(options).write(object);
}

bool NSJSONSerialization::isValidJSONObject(const QVariant &object) {
    try {
        JSONWriter(0).write(object);
        return true;
    } catch (const NSException &) {
        return false;
    }
}
