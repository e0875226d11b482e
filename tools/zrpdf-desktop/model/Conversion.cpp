// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/Conversion.h"

#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"

using namespace Qt::StringLiterals;

namespace {

/// In bytes of UTF-8: what file systems take, less the suffix and a number before it.
constexpr qsizetype longestStem = 240;

} // namespace

Conversion *Conversion::make(NSManagedObjectContext &context, qint64 number, const Source &source,
                             const QString &title, const QString &creator) {
    Conversion *const made = ZRKit::makeWithMOC<Conversion>(context);
    made->setValueForKey(number, u"number"_s);
    made->setValueForKey(QDateTime::currentDateTimeUtc(), u"created"_s);
    made->setValueForKey(source.name(), u"label"_s);
    made->setValueForKey(int(source.kind()), u"kind"_s);
    made->setValueForKey(source.location(), u"location"_s);
    made->setValueForKey(title, u"title"_s);
    made->setValueForKey(creator, u"creator"_s);
    if (!source.content().isEmpty()) {
        NSManagedObject *const content = ZRKit::object(context, u"ConversionContent"_s);
        content->setValueForKey(source.content(), u"bytes"_s);
        made->setValueForKey(QVariant::fromValue<QObject *>(content), u"content"_s);
    }
    return made;
}

Source Conversion::source() const {
    const NSManagedObject *const content = from(valueForKey(u"content"_s));
    return Source::stored(kind(), valueForKey(u"location"_s).toByteArray(),
                          content ? content->valueForKey(u"bytes"_s).toByteArray() : QByteArray(), label());
}

void Conversion::setError(const QString &error, const QString &cause) {
    setValueForKey(error.isNull() ? QVariant() : error, u"error"_s);
    setValueForKey(cause.isNull() ? QVariant() : cause, u"cause"_s);
}

void Conversion::setOutput(const QString &name, qint64 size) {
    setValueForKey(name.isNull() ? QVariant() : name, u"output"_s);
    setValueForKey(size, u"size"_s);
}

QString Conversion::suggestedFileName() const {
    QString stem = title().simplified();
    if (stem.isEmpty())
        stem = Source::stored(kind(), valueForKey(u"location"_s).toByteArray(), {}, label()).stem();
    stem.removeIf([](QChar c) { return c.category() == QChar::Other_Control; });
    stem.replace(u'/', u'_');
    while (stem.startsWith(u'.') || stem.startsWith(u'-'))
        stem.remove(0, 1);
    while (stem.toUtf8().size() > longestStem)
        stem.chop(stem.size() > 1 && stem.back().isLowSurrogate() ? 2 : 1);
    return (stem.isEmpty() ? u"document"_s : stem) + u".pdf"_s;
}
